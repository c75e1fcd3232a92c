// Sanitizers have a heap of their own.
#include "HeapInUse.h"

#include <cstddef>

// GCC has the function but not its header.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();

qint64 corvane::test::heapInUse()
{
    return qint64(__sanitizer_get_current_allocated_bytes());
}
