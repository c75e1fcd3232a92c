#include "PreviewProgram.h"

#include "PictureProbe.h"
#include "PreviewWindow.h"
#include "StripView.h"

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>

namespace corvane::test {

Outcome runPreview(const QStringList &arguments)
{
    QProcess preview;
    preview.start(CORVANE_PREVIEW_PROGRAM, arguments);
    if (!preview.waitForFinished(kTimeoutMs) || preview.exitStatus() != QProcess::NormalExit)
        return {-1, {}, preview.errorString() + '\n' + preview.readAllStandardError()};
    return {preview.exitCode(),
            QString::fromUtf8(preview.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
            QString::fromUtf8(preview.readAllStandardError())};
}

void hideThisMachine(const QString &folder)
{
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_DATA_HOME"})
        qunsetenv(variable);
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        qputenv(variable, QFile::encodeName(folder));
    qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(folder + "/no-server"));
    qputenv("ALSA_CONFIG_PATH", "/dev/null");
}

QRegularExpression statusForm()
{
    return QRegularExpression("^\\d+\\.\\d frames/s, mean (none|#[0-9a-f]{6}), "
                              "\\d+\\.\\d blocks/s, loudest (?:none|(\\d+\\.\\d) Hz), "
                              "peaks left (?:silent|-?\\d+\\.\\d dB), "
                              "right (?:silent|-?\\d+\\.\\d dB)$");
}

StripLayout layoutIn(const QString &folder)
{
    return stripLayout(ConfigurationManager::loadJsonObjectFromFile(
        folder + "/corvane-preview/controler_config/preview.json"));
}

QVector<QColor> ledColours(const QImage &snapshot, const StripLayout &layout, const QSize &shape)
{
    PreviewWindow window(layout);
    window.showPicture(QImage(shape, QImage::Format_RGB32));
    window.grab(); // lays the window out
    auto *strip = window.findChild<StripView *>();
    const QImage part = partOf(snapshot, *strip);
    QVector<QColor> colours;
    for (int key = 0; key < layout.keys.size(); ++key)
        colours.append(colourIn(part, strip->ledArea(key)));
    return colours;
}

void storeSettings(const QString &folder, const QJsonObject &global)
{
    QDir().mkpath(folder);
    QFile file(folder + "/global.json");
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(global).toJson()) < 0)
        qFatal("cannot write the settings");
}

} // namespace corvane::test
