#ifndef CORVANE_TESTS_XREPLY_H
#define CORVANE_TESTS_XREPLY_H

#include <cstdlib>
#include <memory>

namespace corvane::test {

/// Frees what XCB allocated with malloc().
struct Free {
    void operator()(void *memory) const { std::free(memory); }
};

/// Takes over a reply, an error or an event; null when there is none.
template <typename Reply>
std::unique_ptr<Reply, Free> owned(Reply *reply)
{
    return std::unique_ptr<Reply, Free>(reply);
}

} // namespace corvane::test

#endif
