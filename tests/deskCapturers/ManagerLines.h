#ifndef CORVANE_TESTS_MANAGERLINES_H
#define CORVANE_TESTS_MANAGERLINES_H

#include <QCoreApplication>
#include <QEvent>
#include <QString>
#include <QStringList>

namespace corvane::test {

/// Lets the event loop delete what is to be deleted later.
inline void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// The screen capturer manager's log lines, as logged() gives them.

inline QString line(const char *level, const char *function, const QString &text)
{
    return QStringList{level, "default", QString("DeskDuplManagerMac::") + function,
                       "[DeskDuplManagerMac]: " + text}
        .join('|');
}

inline QString making(const QString &id)
{
    return line("info", "acquireCapturer", QString("Making capturer  \"%1\"").arg(id));
}

inline QString users(const char *function, const QString &id, int count)
{
    return line(
        "info", function,
        QString("The capturer  \"%1\"  references has already changed to  %2").arg(id).arg(count));
}

inline QString acquired(const QString &id, int count)
{
    return users("acquireCapturer", id, count);
}

inline QStringList released(const QString &id, int count)
{
    QStringList lines(users("releaseCapturer", id, count));
    if (count == 0) {
        lines << line("info", "releaseCapturer",
                      QString("The capturer  \"%1\" does not have any renferences and has been "
                              "released.")
                          .arg(id));
    }
    return lines;
}

} // namespace corvane::test

#endif
