#include "ScreenRecordingPermission_p.h"

// An X server lets every client read its screen.

bool corvane::mayRecordScreen()
{
    return true;
}

bool corvane::requestScreenRecording()
{
    return true;
}
