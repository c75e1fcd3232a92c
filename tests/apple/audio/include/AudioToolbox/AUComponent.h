#ifndef CORVANE_APPLE_AUCOMPONENT_H
#define CORVANE_APPLE_AUCOMPONENT_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <AudioToolbox/AudioComponent.h>

using AudioUnit = AudioComponentInstance;
using AudioUnitPropertyID = UInt32;
using AudioUnitScope = UInt32;
using AudioUnitElement = UInt32;

enum : UInt32 {
    kAudioUnitType_Output = 0x61756f75, // 'auou'
};

enum : UInt32 {
    kAudioUnitManufacturer_Apple = 0x6170706c, // 'appl'
};

enum : UInt32 {
    kAudioUnitSubType_DefaultOutput = 0x64656620, // 'def '
};

using AudioUnitRenderActionFlags = UInt32;

enum : AudioUnitRenderActionFlags {
    kAudioUnitRenderAction_PreRender = 1U << 2,
    kAudioUnitRenderAction_PostRender = 1U << 3,
};

enum : OSStatus {
    kAudioUnitErr_InvalidProperty = -10879,
    kAudioUnitErr_InvalidElement = -10877,
    kAudioUnitErr_FailedInitialization = -10875,
    kAudioUnitErr_FormatNotSupported = -10868,
};

using AURenderCallback = OSStatus (*)(void *inRefCon, AudioUnitRenderActionFlags *ioActionFlags,
                                      const AudioTimeStamp *inTimeStamp, UInt32 inBusNumber,
                                      UInt32 inNumberFrames, AudioBufferList *ioData);

extern "C" {
OSStatus AudioUnitInitialize(AudioUnit inUnit);
OSStatus AudioUnitUninitialize(AudioUnit inUnit);
OSStatus AudioUnitSetProperty(AudioUnit inUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
                              AudioUnitElement inElement, const void *inData, UInt32 inDataSize);
}

#endif
