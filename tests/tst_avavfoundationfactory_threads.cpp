// FFmpeg logs from many threads while the lists are read.

#include <LibCorvane/AVAVFoundationFactory.h>
#include <support/LogCapture.h>

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

using namespace corvane::test;

namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 300;

void printAndRead(std::atomic<int> &strangers)
{
    AVAVFoundationFactory factory;
    for (int i = 0; i < kRounds; ++i) {
        av_log(nullptr, AV_LOG_INFO, "AVFoundation video devices:\n");
        av_log(nullptr, AV_LOG_INFO, "[%d] Capture screen %d\n", 1, 0);
        av_log(nullptr, AV_LOG_INFO, "AVFoundation audio devices:\n");
        av_log(nullptr, AV_LOG_INFO, "[%d] %s\n", 2, "Microphone");
        for (const DeviceInfo &device : factory.videoDevices())
            strangers += device.name != "Capture screen 0" || device.index != 1;
        for (const DeviceInfo &device : factory.audioDevices())
            strangers += device.name != "Microphone" || device.index != 2;
        factory.sanDevices();
    }
}

} // namespace

class TestAVAVFoundationFactoryThreads : public QObject {
    Q_OBJECT
private slots:
    void listsStayWhole();
};

void TestAVAVFoundationFactoryThreads::listsStayWhole()
{
    const LogCapture log;
    std::atomic<int> strangers{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] { printAndRead(strangers); });
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(strangers.load(), 0);
    QCOMPARE(logged(log), QStringList());

    av_log(nullptr, AV_LOG_INFO, "AVFoundation video devices:\n");
    av_log(nullptr, AV_LOG_INFO, "[%d] Capture screen %d\n", 4, 3);
    const QList<DeviceInfo> screens = AVAVFoundationFactory().videoDevices();
    QCOMPARE(screens.size(), 1);
    QCOMPARE(screens.first().name, QString("Capture screen 3"));
    QCOMPARE(screens.first().index, 4);
}

QTEST_GUILESS_MAIN(TestAVAVFoundationFactoryThreads)
#include "tst_avavfoundationfactory_threads.moc"
