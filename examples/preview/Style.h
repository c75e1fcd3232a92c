#ifndef CORVANE_PREVIEW_STYLE_H
#define CORVANE_PREVIEW_STYLE_H

#include <QString>

/// The style sheet of the window and its dialogs, in the colours of the theme.
QString windowStyle();

#endif
