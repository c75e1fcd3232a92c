#ifndef CORVANE_TESTS_STRINGSYSTEM_H
#define CORVANE_TESTS_STRINGSYSTEM_H

#include <QByteArray>
#include <QList>
#include <QString>

#include <CoreFoundation/CoreFoundation.h>

/// A simulated Core Foundation string.
struct __CFString {
    QString text;
    bool hasDirectPointer = false;
    bool converts = true;
    QByteArray utf8 = text.toUtf8();
};

namespace corvane::test {

/// What the simulated Core Foundation was asked for.
struct StringSystem {
    QList<QByteArray> calls;
    /// The buffer of the last CFStringGetCString().
    const void *buffer = nullptr;
    CFIndex bufferSize = 0;
    /// Given for CFStringGetMaximumSizeForEncoding() instead of the right answer, unless 0.
    CFIndex maximumSize = 0;

    static StringSystem &instance();
};

} // namespace corvane::test

#endif
