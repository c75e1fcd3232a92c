#ifndef CORVANE_APPLE_AUDIOTOOLBOX_H
#define CORVANE_APPLE_AUDIOTOOLBOX_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <AudioToolbox/AUComponent.h>
#include <AudioToolbox/AudioComponent.h>
#include <AudioToolbox/AudioOutputUnit.h>
#include <AudioToolbox/AudioUnitProperties.h>
#include <CoreAudioTypes/CoreAudioTypes.h>

#endif
