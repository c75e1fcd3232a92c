#ifndef CORVANE_APPLE_CFBASE_H
#define CORVANE_APPLE_CFBASE_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <MacTypes.h>

using CFIndex = signed long;
using CFStringRef = const struct __CFString *;

#endif
