#ifndef CORVANE_APPLE_COREFOUNDATION_H
#define CORVANE_APPLE_COREFOUNDATION_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

#endif
