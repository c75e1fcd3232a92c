#ifndef CORVANE_TESTS_APPLE_DISPATCH_INTERNAL_H
#define CORVANE_TESTS_APPLE_DISPATCH_INTERNAL_H

#include "SerialQueue.h"

#import <dispatch/dispatch.h>

/// What dispatch_queue_create() makes.
@interface SimulatedQueue : NSObject <OS_dispatch_queue> {
    corvane::test::SerialQueue *m_queue;
}
- (instancetype)initWithLabel:(const char *)label;
- (corvane::test::SerialQueue &)tasks;
@end

namespace corvane::test {

/// One reference to an Objective-C object, for functions that run later.
template <typename Object>
class Reference {
public:
    explicit Reference(Object object)
        : m_object([object retain])
    {
    }
    Reference(const Reference &other)
        : Reference(other.m_object)
    {
    }
    Reference &operator=(const Reference &) = delete;
    ~Reference() { [m_object release]; }

    Object get() const { return m_object; }

private:
    Object m_object;
};

/// Runs the task on the queue, which lives until then.
void runLater(dispatch_queue_t queue, std::function<void()> task);

} // namespace corvane::test

#endif
