#ifndef CORVANE_BENCHMARKS_PROCESSCOST_H
#define CORVANE_BENCHMARKS_PROCESSCOST_H

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace corvane::bench {

/// What a program has cost from its start to its end, with the programs that it has started.
struct ProcessCost {
    double seconds;
    double processorSeconds;
    /// Of the largest of them.
    double peakMebibytes;
};

/// Runs a program, in another working folder if one is named, and drops what it prints; throws
/// std::runtime_error when it fails.
ProcessCost costOf(const QStringList &command, const QString &folder = QString());

/// "least (median)".
QString leastAndMedian(std::vector<double> values, int digits);
/// Of one of the figures.
QString leastAndMedian(const std::vector<ProcessCost> &costs, double ProcessCost::*figure,
                       int digits);

/// What a benchmark's main does: 0, or 1 after a std::exception, whose text it prints.
int statusOf(const std::function<void()> &measure);

} // namespace corvane::bench

#endif
