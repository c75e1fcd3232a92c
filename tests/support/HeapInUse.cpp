#include "HeapInUse.h"

#include <malloc.h>

qint64 corvane::test::heapInUse()
{
    const auto heap = mallinfo2();
    return qint64(heap.uordblks + heap.hblkhd);
}
