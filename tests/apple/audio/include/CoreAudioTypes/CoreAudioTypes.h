#ifndef CORVANE_APPLE_COREAUDIOTYPES_H
#define CORVANE_APPLE_COREAUDIOTYPES_H

// Simulated: the part of Apple's interface that the library uses, for systems without it.

#include <MacTypes.h>

enum : OSStatus {
    kAudio_UnimplementedError = -4,
    kAudio_ParamError = -50,
    kAudio_MemFullError = -108,
};

using AudioFormatID = UInt32;
using AudioFormatFlags = UInt32;

enum : AudioFormatID {
    kAudioFormatLinearPCM = 0x6c70636d, // 'lpcm'
};

enum : AudioFormatFlags {
    kAudioFormatFlagIsFloat = 1U << 0,
    kAudioFormatFlagIsBigEndian = 1U << 1,
    kAudioFormatFlagIsSignedInteger = 1U << 2,
    kAudioFormatFlagIsPacked = 1U << 3,
};

struct AudioStreamBasicDescription {
    Float64 mSampleRate;
    AudioFormatID mFormatID;
    AudioFormatFlags mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
};

struct AudioBuffer {
    UInt32 mNumberChannels;
    UInt32 mDataByteSize;
    void *mData;
};

struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1]; // in truth as many as the number says
};

struct SMPTETime {
    SInt16 mSubframes;
    SInt16 mSubframeDivisor;
    UInt32 mCounter;
    UInt32 mType;
    UInt32 mFlags;
    SInt16 mHours;
    SInt16 mMinutes;
    SInt16 mSeconds;
    SInt16 mFrames;
};

using AudioTimeStampFlags = UInt32;

enum : AudioTimeStampFlags {
    kAudioTimeStampSampleTimeValid = 1U << 0,
};

struct AudioTimeStamp {
    Float64 mSampleTime;
    UInt64 mHostTime;
    Float64 mRateScalar;
    UInt64 mWordClockTime;
    SMPTETime mSMPTETime;
    AudioTimeStampFlags mFlags;
    UInt32 mReserved;
};

#endif
