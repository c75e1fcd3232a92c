#ifndef CORVANE_TESTS_APPLE_COREVIDEO_H
#define CORVANE_TESTS_APPLE_COREVIDEO_H

// The part of Core Video that the library calls; plain C.

#include <stddef.h>
#include <stdint.h>

typedef const struct __CFString *CFStringRef;
typedef uint32_t OSType;

typedef int32_t CVReturn;
enum { kCVReturnSuccess = 0, kCVReturnInvalidArgument = -6661 };

typedef uint64_t CVOptionFlags;
typedef CVOptionFlags CVPixelBufferLockFlags;
enum { kCVPixelBufferLock_ReadOnly = 0x00000001 };

enum {
    kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange = 0x34323076, // 420v
    kCVPixelFormatType_32BGRA = 0x42475241                        // BGRA
};

typedef struct __CVBuffer *CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;

#ifdef __cplusplus
extern "C" {
#endif

extern const CFStringRef kCVPixelBufferPixelFormatTypeKey;

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef pixelBuffer,
                                      CVPixelBufferLockFlags lockFlags);
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef pixelBuffer,
                                        CVPixelBufferLockFlags unlockFlags);
size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer);
size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer);
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixelBuffer);
void *CVPixelBufferGetBaseAddress(CVPixelBufferRef pixelBuffer);
OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef pixelBuffer);

#ifdef __cplusplus
}
#endif

#endif
