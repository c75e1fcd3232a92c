#ifndef CORVANE_TESTS_SOAK_H
#define CORVANE_TESTS_SOAK_H

#include "Verdict.h"
#include "Work.h"

#include <chrono>
#include <memory>
#include <vector>

namespace corvane::test {

/// Does all kinds of work at once, in rounds, and notes down what the process holds after each.
class Soak {
public:
    explicit Soak(std::vector<Work *> works);

    /// Rounds in which nothing has been done yet. All of them are made before the first is done, so
    /// that notes are nothing that grows.
    QVector<Round> newRounds(int count);
    /// Works, and notes down what that has left once everything is idle again.
    void doRound(Round &round, std::chrono::milliseconds length);
    /// What went wrong so far.
    QStringList failures() const;

private:
    void noteDone(Round &round);
    bool isIdle() const;
    /// Waits until the process holds what it held after the first round, or stays as it is.
    ProcessState settle();

    std::vector<Work *> m_works;
    ProcessState m_first;
    bool m_isFirst = true;
};

/// The head of the table, and one line of it.
QString tableHead(const Round &round);
QString tableLine(const QString &name, const Round &round);

} // namespace corvane::test

#endif
