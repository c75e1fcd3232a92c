#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>

namespace {

int check(bool holds, const char *what)
{
    if (!holds)
        std::fprintf(stderr, "failed: %s\n", what);
    return holds ? 0 : 1;
}

// A listener in the host gets what the library's signal carries.
bool signalArrives()
{
    IAudioCapture capture;
    int channels = 0;
    QObject::connect(&capture, &IAudioCapture::spectrumsChanged,
                     [&channels](const QVector<SoundChannel> &block) { channels = block.size(); });
    emit capture.spectrumsChanged(QVector<SoundChannel>(2));
    return channels == 2;
}

// Settings written through the library are read back from the file.
bool settingsAreKept()
{
    const QTemporaryDir directory;
    ConfigurationManager::setConfigPath(directory.path());
    auto *settings = ConfigurationManager::instance();
    settings->setGlobalValue("strip.leds", 60);
    settings->save();
    const auto stored =
        ConfigurationManager::loadJsonObjectFromFile(directory.filePath("global.json"));
    return ConfigurationManager::valWithXPath(stored, "strip.leds") == QJsonValue(60);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const auto *manager = AudioCapManagerMac::instance();

    return check(settingsAreKept(), "settings are kept")
        + check(signalArrives(), "a signal of the library arrives in the host")
        + check(manager->capturer("no such device").isNull(), "an unknown device has no capturer")
        + check(manager->defaultCapturer() == manager->allCapturers().value(0),
                "the default device is the first of all");
}
