#ifndef CORVANE_TESTS_PROCESSSTATE_H
#define CORVANE_TESTS_PROCESSSTATE_H

#include <QtGlobal>

namespace corvane::test {

/// What this process holds of the system at one moment.
struct ProcessState {
    qint64 residentBytes = 0;
    /// heapInUse().
    qint64 heapBytes = 0;
    int threads = 0;
    int descriptors = 0;
};

ProcessState processState();

} // namespace corvane::test

#endif
