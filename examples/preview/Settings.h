#ifndef CORVANE_PREVIEW_SETTINGS_H
#define CORVANE_PREVIEW_SETTINGS_H

#include "Mode.h"

#include <QByteArray>
#include <QString>

/// The user's choices, kept by the library's ConfigurationManager. One for the application, made
/// before anything else asks for the configuration.
///
/// The mode is kept in the library's screen capture option, and so needs a DeskDuplManagerMac.
class Settings {
public:
    /// \param folder for the settings and the strip's layout; empty for the user's own places.
    explicit Settings(const QString &folder);

    /// The chosen display; empty when none was.
    QString display() const;
    void setDisplay(const QString &display);

    /// The chosen sound device; empty when none was.
    QString device() const;
    void setDevice(const QString &device);

    /// Where the window was, as QWidget::saveGeometry() tells it; empty when it never was.
    QByteArray windowGeometry() const;
    void setWindowGeometry(const QByteArray &geometry);

    Mode mode() const;
    void setMode(Mode mode);
};

#endif
