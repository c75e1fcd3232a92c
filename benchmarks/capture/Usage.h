#ifndef CORVANE_BENCHMARKS_USAGE_H
#define CORVANE_BENCHMARKS_USAGE_H

#include <QtGlobal>

#include <chrono>

namespace corvane::bench {

/// What this process has used of the processor, and what the calling thread has.
std::chrono::nanoseconds processTime();
std::chrono::nanoseconds threadTime();

/// The memory of a process in bytes; what several share counts for each in its part.
qint64 memoryOf(qint64 processId);

} // namespace corvane::bench

#endif
