#ifndef CORVANE_TESTS_MARKDOWNPAGE_H
#define CORVANE_TESTS_MARKDOWNPAGE_H

#include <QByteArray>
#include <QString>
#include <QVector>

namespace corvane::test {

/// The fenced blocks of a page of the documentation, in its order, without their fences. Ends the
/// test program when there is no such page.
QVector<QByteArray> fencedBlocks(const QString &path);

/// The first of the blocks that begins with the text. Ends the test program when there is none.
QByteArray blockThatBegins(const QVector<QByteArray> &blocks, const QByteArray &text);

} // namespace corvane::test

#endif
