#ifndef CORVANE_BENCHMARKS_MANYSETTINGS_H
#define CORVANE_BENCHMARKS_MANYSETTINGS_H

#include "Series.h"

namespace corvane::bench {

/// Effects with files of their own: loaded, read, written, saved.
QVector<Series> manyEffects();
/// LED strips of many keys.
QVector<Series> manyKeys();

} // namespace corvane::bench

#endif
