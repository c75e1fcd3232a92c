#ifndef CORVANE_TESTS_LOGCAPTURE_H
#define CORVANE_TESTS_LOGCAPTURE_H

#include <QString>
#include <QStringList>
#include <QVector>

namespace corvane::test {

/// One line of Qt's message log, as the handler got it.
struct LogLine {
    QtMsgType type;
    QString category;
    /// The signature of the function that logged; empty when the context was compiled out.
    QString function;
    QString message;
};

/// Collects every line logged by any thread while it lives, instead of printing it. One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QVector<LogLine> lines() const;
    /// The texts of the lines of one level, in order.
    QStringList messages(QtMsgType type) const;
    /// The texts of all lines, in order.
    QStringList messages() const;
    void clear();

private:
    QtMessageHandler m_previous;
};

/// One "level|category|Class::function|message" per captured line.
QStringList logged(const LogCapture &log);

} // namespace corvane::test

#endif
