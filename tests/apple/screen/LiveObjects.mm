#include "LiveObjects.h"
#include "Simulation.h"

#include <mutex>

#import <objc/runtime.h>

// LeakSanitizer's; absent without it.
extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace {

/// What this thread allocates while it lives is not reported as a leak.
class LeaksIgnored {
public:
    LeaksIgnored()
    {
        if (__lsan_disable)
            __lsan_disable();
    }
    LeaksIgnored(const LeaksIgnored &) = delete;
    LeaksIgnored &operator=(const LeaksIgnored &) = delete;
    ~LeaksIgnored()
    {
        if (__lsan_enable)
            __lsan_enable();
    }
};

struct Counters {
    std::mutex mutex;
    QMap<QString, int> live;
};

Counters &counters()
{
    static Counters instance;
    return instance;
}

void change(Class objects, int difference)
{
    const QString name = QLatin1String(class_getName(objects));
    const std::lock_guard lock(counters().mutex);
    int &live = counters().live[name];
    live += difference;
    if (live == 0)
        counters().live.remove(name);
}

} // namespace

// Once in a process, GNUstep loses an object in doing so, which is not ours to be reported.
void corvane::test::prepareArrays()
{
    static const bool prepared = [] {
        const LeaksIgnored scope;
        return [[NSMutableArray array] count] == 0;
    }();
    Q_UNUSED(prepared)
}

void corvane::test::noteAllocated(Class objects)
{
    change(objects, 1);
}

void corvane::test::noteDeallocated(id object)
{
    change([object class], -1);
}

QMap<QString, int> corvane::test::liveObjects()
{
    const std::lock_guard lock(counters().mutex);
    QMap<QString, int> live = counters().live;
    live.detach(); // while no other thread can change what is shared
    return live;
}

// The library's own class, as it declares it; it has neither of these methods itself.
@interface VideoFrameReceiver : NSObject {
    AVFoundationCaptureImpl *impl;
}
@end

@implementation VideoFrameReceiver (Counting)

CORVANE_COUNT_ALLOCATIONS

- (void)dealloc
{
    corvane::test::noteDeallocated(self);
    [super dealloc];
}

@end
