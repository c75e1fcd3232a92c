// Sanitizers have a heap of their own.
#include "HeapInUse.h"

#include <sanitizer/allocator_interface.h>

qint64 corvane::test::heapInUse()
{
    return qint64(__sanitizer_get_current_allocated_bytes());
}
