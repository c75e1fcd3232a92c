#ifndef CORVANE_BENCHMARKS_RUNBENCHMARKS_H
#define CORVANE_BENCHMARKS_RUNBENCHMARKS_H

#include <benchmark/benchmark.h>

namespace corvane::bench {

/// What is left to do for a main that has registered its benchmarks itself: returns its status.
inline int runBenchmarks(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace corvane::bench

#endif
