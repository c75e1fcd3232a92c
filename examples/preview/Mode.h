#ifndef CORVANE_PREVIEW_MODE_H
#define CORVANE_PREVIEW_MODE_H

/// What lights the strip. The numbers are the preview's reading of the library's screen capture
/// modes, which have no meaning of their own.
enum class Mode { Screen = 0, Sound = 1 };

#endif
