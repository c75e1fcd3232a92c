#ifndef CORVANE_TESTS_SCRIPTEDSCREEN_H
#define CORVANE_TESTS_SCRIPTEDSCREEN_H

#include <QImage>
#include <QMap>
#include <QVector>

namespace corvane::test {

/// The displays of a test program, in place of the system's: the library's calls to its screen
/// capture end here.
struct ScriptedScreen {
    /// The picture of each display by its id; a null one has not come yet.
    QMap<unsigned int, QImage> displays;
    /// Displays that cannot be captured.
    QVector<unsigned int> broken;
    /// How often a frame was asked for, and a display was listed.
    int reads = 0;
    int listings = 0;
};

ScriptedScreen &screen();

} // namespace corvane::test

#endif
