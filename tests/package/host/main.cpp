#include <LibCorvane/AVAVFoundationFactory.h>
#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>
#include <LibCorvane/audioCapturers/AudioCapManagerMac.h>
#include <LibCorvane/audioCapturers/FFMpegAudioCapture.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>
#include <LibCorvane/common/HardwareInfo.h>
#include <LibCorvane/deskCapturers/AVFoundationCaptureImpl.h>
#include <LibCorvane/deskCapturers/DeskDuplManagerMac.h>
#include <LibCorvane/deskCapturers/FFMpegCapture.h>
#include <LibCorvane/deskCapturers/QtScreenCapture.h>

#include <QCoreApplication>
#include <QFile>
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
bool settingsAreKept(const QTemporaryDir &directory)
{
    ConfigurationManager::setConfigPath(directory.path());
    auto *settings = ConfigurationManager::instance();
    settings->setGlobalValue("strip.leds", 60);
    settings->save();
    const auto stored =
        ConfigurationManager::loadJsonObjectFromFile(directory.filePath("global.json"));
    return ConfigurationManager::valWithXPath(stored, "strip.leds") == QJsonValue(60);
}

bool feedbackIsPacked()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserMsg("The strip stays dark.");
    QFile package(feedback.zipFeedbackFile());
    return package.open(QIODevice::ReadOnly) && package.read(2) == "PK";
}

bool machineIsDescribed()
{
    return HardwareInfo::osVersion().endsWith(" dmkm\\Device0")
        && HardwareInfo::disk().endsWith("G  ") && HardwareInfo::screen().isEmpty();
}

bool devicesAreListed()
{
    const auto *manager = AudioCapManagerMac::instance();
    return manager->capturer("no such device").isNull()
        && manager->defaultCapturer() == manager->allCapturers().value(0);
}

bool displaysAreListed()
{
    DeskDuplManagerMac manager(nullptr);
    return manager.allCapturer().size() == availableDisplayIDs().size()
        && manager.defaultCapturer() == manager.allCapturer().value(0)
        && manager.acquireCapturer("no such display").isNull();
}

// A capturer of the host's own, behind the library's interface.
class Blue : public QtScreenCapture {
public:
    cv::Mat nextFrame() override { return {9, 16, CV_8UC4, cv::Scalar(0, 0, 255, 255)}; }
};

bool framesAreMatrices()
{
    Blue blue;
    IDeskCapture &capturer = blue;
    const cv::Mat frame = capturer.nextFrame();
    cv::Mat copy = frame.clone();
    copy = cv::Scalar::all(0);
    return frame.at<cv::Vec4b>(8, 15) == cv::Vec4b(0, 0, 255, 255)
        && copy.at<cv::Vec4b>(8, 15) == cv::Vec4b();
}

// A capturer of the host's own that reads through FFmpeg.
class Reader : public FFMpegCapture {
public:
    cv::Mat nextFrame() override
    {
        const QImage image = resize(decodedFrame().get());
        return cv::Mat(image.height(), image.width(), CV_8UC4);
    }
};

bool ffmpegIsReached()
{
    AVAVFoundationFactory factory;
    factory.sanDevices();
    Reader reader;
    FFMpegAudioCapture sound;
    return reader.nextFrame().empty() && sound.nextFrame();
}

bool serviceIsConfigured()
{
    const NetRCManager manager(nullptr);
    NetRCManager::setServiceHost("127.0.0.1:1");
    return NetRCManager::serviceHost() == "127.0.0.1:1" && compareVersion("1.10", "1.9")
        && convertDateMacro("Mar 14 2024") == QDate(2024, 3, 14);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QTemporaryDir directory;
    int failures = check(settingsAreKept(directory), "settings are kept");
    failures += check(feedbackIsPacked(), "a feedback package is made");
    failures += check(machineIsDescribed(), "the machine is described");
    failures += check(signalArrives(), "a signal of the library arrives in the host");
    failures += check(devicesAreListed(), "the sound devices are listed");
    failures += check(displaysAreListed(), "the displays are listed");
    failures += check(framesAreMatrices(), "frames are matrices of OpenCV");
    failures += check(ffmpegIsReached(), "FFmpeg's devices are asked for");
    failures += check(serviceIsConfigured(), "the service's client works");
    return failures;
}
