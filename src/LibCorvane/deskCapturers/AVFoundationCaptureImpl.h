#ifndef LIBCORVANE_AVFOUNDATIONCAPTUREIMPL_H
#define LIBCORVANE_AVFOUNDATIONCAPTUREIMPL_H

#include <LibCorvane/Export.h>

#include <QImage>
#include <QList>
#include <QSize>

#include <cstdint>

/// \file
/// The screen capture of the operating system, as plain functions over an opaque record. Most hosts
/// want DeskDuplManagerMac; these functions are for one that ends a capture session itself.
///
/// \par Systems
/// On macOS a record is an AVFoundation session. On Linux it captures a monitor of the X server
/// that the environment variable DISPLAY names, while somebody reads: two seconds after the last
/// AVCaptureNextFrame() (or after the start) it lets its thread and its connection go, and the next
/// call brings both back. At most 32 records of a process are awake: further ones put those to
/// sleep that were not read for longest. One that sleeps keeps its last frame until 32 others have
/// fallen asleep after it. A change of the monitor is followed; the output size goes with it,
/// unless it was set.
///
/// A lost X server does not end the process: it is logged as a warning, "[AVFoundationCaptureImpl]:
/// Lost the X server, display:" id, the last frame stays, and the record tries once a second to
/// connect again while it is read. A monitor that cannot be captured for more than a second, as one
/// that was switched off, is treated the same: "[AVFoundationCaptureImpl]: Cannot capture the
/// monitor, display:" id. There is one such line until a frame has been captured again.
///
/// \par Threads
/// All functions may be called from any thread, on one record too, with two exceptions:
/// freeAVFoundationCapture() must be the last on its record, and on macOS availableDisplayIDs()
/// belongs on the main thread, as it asks AppKit.

// NOLINTNEXTLINE(bugprone-reserved-identifier): hosts know this name, too
struct _AVFoundationCaptureImpl;
/// One running capture of one display; see allocAVFoundationCapture().
using AVFoundationCaptureImpl = _AVFoundationCaptureImpl;

/// Starts the capture of a display: frames of 300 pixels width and the display's shape, at most 25
/// a second.
///
/// \param displayId one of availableDisplayIDs(), or 0 for the main display.
/// \return a record for freeAVFoundationCapture(), or null when the display cannot be captured;
///         that is logged as critical, "[AVFoundationCaptureImpl]: Failed to init
///         AVCaptureScreenInput instance".
LIBCORVANE_EXPORT AVFoundationCaptureImpl *allocAVFoundationCapture(uint32_t displayId);

/// Ends the capture and frees the record. Null is permitted. On Linux it waits for the record's
/// thread, which ends at once, unless it is just connecting to an X server that does not answer. On
/// macOS it waits for a frame that is being converted.
/// \param record what allocAVFoundationCapture() gave; not to be used any more.
LIBCORVANE_EXPORT void freeAVFoundationCapture(AVFoundationCaptureImpl *record);

/// Sets the size of the frames that are captured from now on.
/// \param record not null.
/// \param size in pixels. With an empty one, or one of more than 16384 × 16384 pixels in all, no
///        frame is captured until the next call.
LIBCORVANE_EXPORT void AVCaptureSetOutputSize(AVFoundationCaptureImpl *record, const QSize &size);

/// The size of the display.
/// \param record not null.
/// \return in pixels on Linux, in points on macOS.
LIBCORVANE_EXPORT QSize AVCaptureOriginSize(AVFoundationCaptureImpl *record);

/// The size of the display, too: a caller that wants the size of a frame asks the frame.
/// \param record not null.
/// \return the same as AVCaptureOriginSize().
LIBCORVANE_EXPORT QSize AVCaptureOutputSize(AVFoundationCaptureImpl *record);

/// The latest frame, without waiting for one.
/// \param record not null.
/// \return an image in QImage::Format_RGBA8888, which shares its pixels with the record until one
///         of the two changes; null before the first frame. The call that wakes a record on Linux
///         gives the frame of before its sleep, or null if the record has not kept it.
LIBCORVANE_EXPORT QImage AVCaptureNextFrame(AVFoundationCaptureImpl *record);

/// The displays that can be captured.
/// \return their numbers in the system's order; empty when there is none. On Linux they are 1 and
///         up, in the order of the X server's monitors.
LIBCORVANE_EXPORT QList<unsigned int> availableDisplayIDs();

#endif
