#ifndef CORVANE_TESTS_WORK_H
#define CORVANE_TESTS_WORK_H

#include <QMap>
#include <QString>

namespace corvane::test {

/// A kind of work that the soak does in rounds, beside others.
class Work {
public:
    Work() = default;
    virtual ~Work() = default;
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;

    /// Starts the work; it goes on by threads and timers of its own.
    virtual void begin() = 0;
    /// Ends it, and gives back what the work has taken since begin().
    virtual void end() = 0;
    /// Between rounds: keeps up what the work holds all the time, without doing more.
    virtual void idle() { }
    /// Whether that is as it is between all rounds.
    virtual bool isIdle() const { return true; }

    /// What was done since the last call, by what it is called.
    virtual QMap<QString, qint64> takeDone() = 0;
    /// What went wrong so far, if anything did.
    virtual QString failure() const { return {}; }
};

} // namespace corvane::test

#endif
