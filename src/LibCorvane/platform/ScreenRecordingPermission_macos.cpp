#include "ScreenRecordingPermission_p.h"

#include <CoreGraphics/CoreGraphics.h>

bool corvane::mayRecordScreen()
{
    return CGPreflightScreenCaptureAccess();
}

bool corvane::requestScreenRecording()
{
    return CGRequestScreenCaptureAccess();
}
