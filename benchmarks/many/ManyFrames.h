#ifndef CORVANE_BENCHMARKS_MANYFRAMES_H
#define CORVANE_BENCHMARKS_MANYFRAMES_H

#include "Series.h"

namespace corvane::bench {

/// Displays that are all captured, on which everything changes, and one reader for each.
QVector<Series> manyDisplays();
/// Readers of one display.
QVector<Series> manyReaders();

} // namespace corvane::bench

#endif
