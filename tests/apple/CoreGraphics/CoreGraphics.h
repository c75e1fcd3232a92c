#ifndef CORVANE_TESTS_APPLE_COREGRAPHICS_H
#define CORVANE_TESTS_APPLE_COREGRAPHICS_H

// The part of Core Graphics that the library calls; plain C.

#include <stdbool.h>
#include <stdint.h>

// GNUstep declares the geometry itself since its Base 1.31.
#if __has_include(<CoreFoundation/CFCGTypes.h>)
#include <CoreFoundation/CFCGTypes.h>
#else
typedef double CGFloat;

struct CGPoint {
    CGFloat x;
    CGFloat y;
};
typedef struct CGPoint CGPoint;

struct CGSize {
    CGFloat width;
    CGFloat height;
};
typedef struct CGSize CGSize;

struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef struct CGRect CGRect;
#endif

static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    CGRect rect;
    rect.origin.x = x;
    rect.origin.y = y;
    rect.size.width = width;
    rect.size.height = height;
    return rect;
}

typedef uint32_t CGDirectDisplayID;

#ifdef __cplusplus
extern "C" {
#endif

CGFloat CGRectGetWidth(CGRect rect);
CGFloat CGRectGetHeight(CGRect rect);

CGDirectDisplayID CGMainDisplayID(void);
CGRect CGDisplayBounds(CGDirectDisplayID display);

bool CGPreflightScreenCaptureAccess(void);
bool CGRequestScreenCaptureAccess(void);

#ifdef __cplusplus
}
#endif

#endif
