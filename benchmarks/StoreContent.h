#ifndef CORVANE_BENCHMARKS_STORECONTENT_H
#define CORVANE_BENCHMARKS_STORECONTENT_H

#include <QJsonObject>

namespace corvane::bench {

/// Where the members are that nobody asks for: beside the value, beside the first step to it, or in
/// a branch of their own.
enum class Shape { LastStep, FirstStep, OtherBranch };

constexpr int kValue = 7;

/// The value as "mode" in the group "options", and so many members where the shape has them.
QJsonObject settings(Shape shape, int count);

/// The same with one step more at the front, "runtime".
QJsonObject globalSettings(Shape shape, int count);

/// Groups of a hundred members, and the value: about 1 MB as indented JSON.
QJsonObject document();

} // namespace corvane::bench

#endif
