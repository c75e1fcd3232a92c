#ifndef CORVANE_APPLE_CFSTRING_H
#define CORVANE_APPLE_CFSTRING_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <CoreFoundation/CFBase.h>

using CFStringEncoding = UInt32;

enum : CFStringEncoding {
    kCFStringEncodingUTF8 = 0x08000100,
};

extern "C" {
CFIndex CFStringGetLength(CFStringRef theString);
const char *CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef theString, char *buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
}

#endif
