#ifndef CORVANE_TESTS_STARTEDTIMERS_H
#define CORVANE_TESTS_STARTEDTIMERS_H

#include <QVector>

QT_BEGIN_NAMESPACE
class QObject;
QT_END_NAMESPACE

namespace corvane::test {

struct StartedTimer {
    int interval;
    Qt::TimerType type;
};

inline bool operator==(const StartedTimer &a, const StartedTimer &b)
{
    return a.interval == b.interval && a.type == b.type;
}

/// Notes the timers that an object is asked to start, while this lives; one at a time. Qt itself
/// changes the type of short ones afterwards.
class StartedTimers {
public:
    explicit StartedTimers(const QObject *object);
    ~StartedTimers();
    StartedTimers(const StartedTimers &) = delete;
    StartedTimers &operator=(const StartedTimers &) = delete;

    QVector<StartedTimer> all() const { return m_all; }
    void note(const QObject *object, StartedTimer timer);

private:
    const QObject *m_object;
    QVector<StartedTimer> m_all;
};

} // namespace corvane::test

#endif
