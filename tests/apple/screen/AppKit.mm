#include "LiveObjects.h"
#include "Simulation.h"

#import <AppKit/AppKit.h>

using corvane::test::noteDeallocated;
using corvane::test::prepareArrays;
using corvane::test::Simulation;

@interface NSScreen ()
- (instancetype)initWithDescription:(NSDictionary *)description;
@end

namespace {

NSDictionary *descriptionOf(std::optional<unsigned int> number)
{
    // Every screen has more entries than the one.
    NSMutableDictionary *description =
        [NSMutableDictionary dictionaryWithObject:@"YES" forKey:@"NSDeviceIsScreen"];
    if (number)
        [description setObject:@(*number) forKey:@"NSScreenNumber"];
    return description;
}

} // namespace

@implementation NSScreen

CORVANE_COUNT_ALLOCATIONS

- (instancetype)initWithDescription:(NSDictionary *)description
{
    self = [super init];
    if (self)
        m_description = [description copy];
    return self;
}

- (void)dealloc
{
    noteDeallocated(self);
    [m_description release];
    [super dealloc];
}

+ (NSArray<NSScreen *> *)screens
{
    prepareArrays();
    NSMutableArray *screens = [NSMutableArray array];
    for (const auto &number : Simulation::instance().screens()) {
        NSScreen *screen = [[NSScreen alloc] initWithDescription:descriptionOf(number)];
        [screens addObject:screen];
        [screen release];
    }
    return screens;
}

- (NSDictionary<NSDeviceDescriptionKey, id> *)deviceDescription
{
    return m_description;
}

@end
