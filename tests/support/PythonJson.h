#ifndef CORVANE_TESTS_PYTHONJSON_H
#define CORVANE_TESTS_PYTHONJSON_H

#include <QByteArray>
#include <QString>

namespace corvane::test {

/// A JSON file as Python reads it: one line of JSON with sorted members and no blanks, other
/// letters than ASCII's escaped. Whatever is no proper JSON in UTF-8, members that occur twice
/// included, gives a text that tells what is wrong; so does a machine without python3.
QByteArray pythonJson(const QString &path);

} // namespace corvane::test

#endif
