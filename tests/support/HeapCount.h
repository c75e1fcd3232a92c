#ifndef CORVANE_TESTS_HEAPCOUNT_H
#define CORVANE_TESTS_HEAPCOUNT_H

#include <cstddef>

namespace corvane::test {

/// The bytes that this program, libraries included, has asked the heap for so far, on all threads.
/// Memory that was given back counts all the same.
std::size_t bytesAskedFor();

} // namespace corvane::test

#endif
