#ifndef CORVANE_TESTS_APPLE_LIVEOBJECTS_H
#define CORVANE_TESTS_APPLE_LIVEOBJECTS_H

#import <Foundation/Foundation.h>

namespace corvane::test {

/// To be called before the frameworks' arrays are used: makes GNUstep's ready.
void prepareArrays();

// What liveObjects() tells. An object of the simulated frameworks calls these.
void noteAllocated(Class objects);
void noteDeallocated(id object);

} // namespace corvane::test

/// Counts the objects of a class; stands in its implementation, whose dealloc notes their end.
#define CORVANE_COUNT_ALLOCATIONS                                                                  \
    +(id)allocWithZone : (NSZone *)zone                                                            \
    {                                                                                              \
        corvane::test::noteAllocated(self);                                                        \
        return [super allocWithZone:zone];                                                         \
    }

#endif
