// Sanitizers have a heap of their own, which tells of each piece.
#include "HeapCount.h"

#include <atomic>
#include <cstddef>

// GCC has the function but not its header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void *,
                                                                          std::size_t),
                                                         void (*onFree)(const volatile void *));

namespace {

std::atomic<std::size_t> asked{0};

void countPiece(const volatile void * /*memory*/, std::size_t size)
{
    asked += size;
}

void ignorePiece(const volatile void * /*memory*/)
{
}

} // namespace

std::size_t corvane::test::bytesAskedFor()
{
    static const int installed = __sanitizer_install_malloc_and_free_hooks(countPiece, ignorePiece);
    return installed != 0 ? std::size_t(asked) : 0;
}
