#ifndef CORVANE_TESTS_HEAPINUSE_H
#define CORVANE_TESTS_HEAPINUSE_H

#include <QtGlobal>

namespace corvane::test {

/// The bytes that the heap has given out to this program, libraries included, and not got back.
/// Unlike the resident memory they do not count the gaps between pieces that are in use.
qint64 heapInUse();

} // namespace corvane::test

#endif
