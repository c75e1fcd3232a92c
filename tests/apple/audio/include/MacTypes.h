#ifndef CORVANE_APPLE_MACTYPES_H
#define CORVANE_APPLE_MACTYPES_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

using UInt8 = unsigned char;
using SInt16 = signed short;
using UInt32 = unsigned int;
using SInt32 = signed int;
using UInt64 = unsigned long long;
using Float64 = double;
using Boolean = unsigned char;
using OSStatus = SInt32;
using OSType = UInt32;

enum { noErr = 0 };

#endif
