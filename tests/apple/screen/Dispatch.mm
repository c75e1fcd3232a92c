#include "Dispatch.h"
#include "LiveObjects.h"
#include "Simulation.h"

#include <utility>

using corvane::test::Reference;
using corvane::test::SerialQueue;
using corvane::test::noteDeallocated;
using corvane::test::Simulation;

namespace {

SerialQueue &tasksOf(dispatch_queue_t queue)
{
    return [(SimulatedQueue *)queue tasks];
}

} // namespace

@implementation SimulatedQueue

CORVANE_COUNT_ALLOCATIONS

- (instancetype)initWithLabel:(const char *)label
{
    self = [super init];
    if (self)
        m_queue = new SerialQueue(label); // deleted in dealloc
    return self;
}

- (void)dealloc
{
    noteDeallocated(self);
    delete m_queue;
    [super dealloc];
}

- (SerialQueue &)tasks
{
    return *m_queue;
}

@end

void corvane::test::runLater(dispatch_queue_t queue, std::function<void()> task)
{
    const Reference<dispatch_queue_t> reference(queue);
    tasksOf(queue).add([reference, task = std::move(task)] {
        @autoreleasepool {
            task();
        }
    });
}

void corvane::test::waitForQueues()
{
    SerialQueue::waitForAll();
}

dispatch_queue_t dispatch_queue_create(const char *label, dispatch_queue_attr_t attr)
{
    Simulation::instance().call("dispatch_queue_create",
                                QLatin1String(label) + (attr ? " other" : " serial"));
    return [[SimulatedQueue alloc] initWithLabel:label];
}

const char *dispatch_queue_get_label(dispatch_queue_t queue)
{
    return tasksOf(queue).label().c_str();
}

void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block)
{
    Simulation::instance().call("dispatch_sync", dispatch_queue_get_label(queue));
    tasksOf(queue).runAndWait([block] { block(); });
}
