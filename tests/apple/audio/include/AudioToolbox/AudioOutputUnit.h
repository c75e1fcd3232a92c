#ifndef CORVANE_APPLE_AUDIOOUTPUTUNIT_H
#define CORVANE_APPLE_AUDIOOUTPUTUNIT_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <AudioToolbox/AUComponent.h>

extern "C" {
OSStatus AudioOutputUnitStart(AudioUnit ci);
OSStatus AudioOutputUnitStop(AudioUnit ci);
}

#endif
