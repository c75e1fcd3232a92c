#ifndef CORVANE_BENCHMARKS_SERIES_H
#define CORVANE_BENCHMARKS_SERIES_H

#include <QString>
#include <QVector>

#include <chrono>
#include <functional>

namespace corvane::bench {

/// What something costs with so many of a kind.
struct Point {
    int count;
    std::chrono::nanoseconds cost;
};

/// One cost, at growing counts.
struct Series {
    QString name;
    QVector<Point> points;
    /// Whether its growth decides on success. Real time depends on what else the machine does, and
    /// memory that the processor's caches do not hold takes longer.
    bool isJudged = true;
};

/// Microseconds for one of the kind.
double costOfOne(const Point &point);
/// How much more one costs at the largest count than at the smallest: 1 is linear growth.
double growth(const Series &series);
/// Its line in a table: the name, "count: cost of one" for each point, the growth.
QString tableLine(const Series &series);

/// The least processor time of this process that the operation takes, of a few times.
std::chrono::nanoseconds leastTime(const std::function<void()> &operation);

} // namespace corvane::bench

#endif
