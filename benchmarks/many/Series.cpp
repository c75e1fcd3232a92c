#include "Series.h"

#include "../capture/Usage.h"

#include <algorithm>

namespace corvane::bench {
namespace {

constexpr int kRepetitions = 5;
/// Short ones are repeated more often: one of them must miss the neighbours on a shared machine.
constexpr auto kLeastDuration = std::chrono::milliseconds(500);

} // namespace

double costOfOne(const Point &point)
{
    return std::chrono::duration<double, std::micro>(point.cost).count() / point.count;
}

double growth(const Series &series)
{
    return costOfOne(series.points.last()) / costOfOne(series.points.first());
}

QString tableLine(const Series &series)
{
    QString line = "| " + series.name;
    for (const Point &point : series.points)
        line += QString(" | %1: %2").arg(point.count).arg(costOfOne(point), 0, 'g', 3);
    return line + QString(" | %1 |\n").arg(growth(series), 0, 'f', 2);
}

std::chrono::nanoseconds leastTime(const std::function<void()> &operation)
{
    auto least = std::chrono::nanoseconds::max();
    const auto begin = processTime();
    for (int i = 0; i < kRepetitions || processTime() - begin < kLeastDuration; ++i) {
        const auto before = processTime();
        operation();
        least = std::min(least, processTime() - before);
    }
    return least;
}

} // namespace corvane::bench
