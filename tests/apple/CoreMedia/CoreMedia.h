#ifndef CORVANE_TESTS_APPLE_COREMEDIA_H
#define CORVANE_TESTS_APPLE_COREMEDIA_H

// The part of Core Media that the library calls; plain C.

#include <CoreVideo/CoreVideo.h>

typedef int64_t CMTimeValue;
typedef int32_t CMTimeScale;
typedef int64_t CMTimeEpoch;
typedef uint32_t CMTimeFlags;
enum { kCMTimeFlags_Valid = 1UL << 0 };

#pragma pack(push, 4)
typedef struct {
    CMTimeValue value;
    CMTimeScale timescale;
    CMTimeFlags flags;
    CMTimeEpoch epoch;
} CMTime;
#pragma pack(pop)

typedef struct opaqueCMSampleBuffer *CMSampleBufferRef;

#ifdef __cplusplus
extern "C" {
#endif

CMTime CMTimeMake(int64_t value, int32_t timescale);
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sbuf);

#ifdef __cplusplus
}
#endif

#endif
