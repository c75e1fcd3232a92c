#ifndef CORVANE_TESTS_SOAKLOG_H
#define CORVANE_TESTS_SOAKLOG_H

#include <QStringList>

namespace corvane::test {

/// Takes the log while it lives: keeps the first warnings and errors, drops everything else, so
/// that it does not grow itself.
class SoakLog {
public:
    SoakLog();
    ~SoakLog();
    SoakLog(const SoakLog &) = delete;
    SoakLog &operator=(const SoakLog &) = delete;

    QStringList complaints() const;
    /// Of the preparations, say.
    void forget();

private:
    QtMessageHandler m_previous;
};

} // namespace corvane::test

#endif
