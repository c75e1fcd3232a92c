#ifndef CORVANE_APPLE_AUDIOCOMPONENT_H
#define CORVANE_APPLE_AUDIOCOMPONENT_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <CoreAudioTypes/CoreAudioTypes.h>

struct AudioComponentDescription {
    OSType componentType;
    OSType componentSubType;
    OSType componentManufacturer;
    UInt32 componentFlags;
    UInt32 componentFlagsMask;
};

using AudioComponent = struct OpaqueAudioComponent *;
using AudioComponentInstance = struct OpaqueAudioComponentInstance *;

extern "C" {
AudioComponent AudioComponentFindNext(AudioComponent inComponent,
                                      const AudioComponentDescription *inDesc);
OSStatus AudioComponentInstanceNew(AudioComponent inComponent, AudioComponentInstance *outInstance);
OSStatus AudioComponentInstanceDispose(AudioComponentInstance inInstance);
}

#endif
