#ifndef CORVANE_APPLE_AUDIOUNITPROPERTIES_H
#define CORVANE_APPLE_AUDIOUNITPROPERTIES_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <AudioToolbox/AUComponent.h>

enum : AudioUnitScope {
    kAudioUnitScope_Global = 0,
    kAudioUnitScope_Input = 1,
    kAudioUnitScope_Output = 2,
};

enum : AudioUnitPropertyID {
    kAudioUnitProperty_StreamFormat = 8,
};

enum : AudioUnitPropertyID {
    kAudioOutputUnitProperty_EnableIO = 2003,
    kAudioOutputUnitProperty_SetInputCallback = 2005,
};

struct AURenderCallbackStruct {
    AURenderCallback inputProc;
    void *inputProcRefCon;
};

#endif
