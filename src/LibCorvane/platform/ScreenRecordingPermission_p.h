#ifndef LIBCORVANE_SCREENRECORDINGPERMISSION_P_H
#define LIBCORVANE_SCREENRECORDINGPERMISSION_P_H

namespace corvane {

/// Whether this process may record the screen. Never asks the user.
bool mayRecordScreen();

/// Asks the system for the permission, which may show the user a dialog, and returns whether it is
/// granted already. An answer given later shows in mayRecordScreen().
bool requestScreenRecording();

} // namespace corvane

#endif
