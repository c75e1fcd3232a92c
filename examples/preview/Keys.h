#ifndef CORVANE_PREVIEW_KEYS_H
#define CORVANE_PREVIEW_KEYS_H

#include <QString>

// The keys of the window, in the words of QKeySequence.
namespace keys {

constexpr char kFollowScreen[] = "Ctrl+1";
constexpr char kFollowSound[] = "Ctrl+2";
constexpr char kDisplay[] = "Alt+D";
constexpr char kDevice[] = "Alt+V";
constexpr char kFullScreen[] = "F11";
constexpr char kLeaveFullScreen[] = "Esc";
constexpr char kHelp[] = "F1";
constexpr char kQuit[] = "Ctrl+Q";

/// A line on each: the key, then what it does.
QString list();

} // namespace keys

#endif
