// The C library's heap functions are replaced by ones that count; operator new ends in them too.
#include "HeapCount.h"

#include <atomic>

namespace {

std::atomic<std::size_t> asked{0};

} // namespace

// The C library's own names for what is replaced: dlsym() would itself call malloc().
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_calloc(std::size_t count, std::size_t size);
extern "C" void *__libc_realloc(void *memory, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

extern "C" void *malloc(std::size_t size)
{
    asked += size;
    return __libc_malloc(size);
}

extern "C" void *calloc(std::size_t count, std::size_t size)
{
    asked += count * size;
    return __libc_calloc(count, size);
}

extern "C" void *realloc(void *memory, std::size_t size)
{
    asked += size;
    return __libc_realloc(memory, size);
}

std::size_t corvane::test::bytesAskedFor()
{
    return asked;
}
