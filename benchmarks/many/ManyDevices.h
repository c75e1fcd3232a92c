#ifndef CORVANE_BENCHMARKS_MANYDEVICES_H
#define CORVANE_BENCHMARKS_MANYDEVICES_H

#include "Series.h"

namespace corvane::bench {

/// Sound devices of a private server that are listened to at the same time. Before Qt is asked for
/// devices by anybody else.
QVector<Series> manyDevices();

} // namespace corvane::bench

#endif
