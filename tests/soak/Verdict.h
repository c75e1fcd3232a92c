#ifndef CORVANE_TESTS_VERDICT_H
#define CORVANE_TESTS_VERDICT_H

#include <support/ProcessState.h>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace corvane::test {

/// What one round of work has left, and what was done in it.
struct Round {
    ProcessState state;
    /// By what it is called in the table.
    QMap<QString, qint64> done;
};

/// How much more than after the first round is no growth.
struct Allowance {
    qint64 residentBytes;
    qint64 heapBytes;
};

/// The least-squares slope of evenly spaced values, per step; 0 with fewer than two.
double slopeOf(const QVector<double> &values);

/// Why the rounds are not those of a process that stays as it is; empty when they are. The first
/// round is the measure of the others. Threads and descriptors must be the same at the end. The
/// heap is judged by the line through all rounds, as its rise from the first to the last, so that
/// one round's chance counts little. Everything must have been done in each round.
QStringList complaints(const QVector<Round> &rounds, const Allowance &allowance);

} // namespace corvane::test

#endif
