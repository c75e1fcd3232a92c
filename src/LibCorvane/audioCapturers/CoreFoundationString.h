#ifndef LIBCORVANE_COREFOUNDATIONSTRING_H
#define LIBCORVANE_COREFOUNDATIONSTRING_H

#include <LibCorvane/Export.h>

#include <QString>

// NOLINTNEXTLINE(bugprone-reserved-identifier): Core Foundation's name for what a CFStringRef is
struct __CFString;

/// The text of a Core Foundation string. macOS only; hosts get it from AudioCapManagerMac.h.
///
/// \param string any CFStringRef, which is neither kept nor released, or null.
/// \returns the text; a null string when \a string is null or cannot be converted.
///
/// Logs nothing. May be called on any thread.
LIBCORVANE_EXPORT QString cfStringToQString(const __CFString *string);

#endif
