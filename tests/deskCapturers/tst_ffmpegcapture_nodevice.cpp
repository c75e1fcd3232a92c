// The real FFmpeg of a system whose FFmpeg has no "avfoundation" input.

#include "ScreenReader.h"

#include <support/LogCapture.h>

#include <QDir>
#include <QMetaMethod>
#include <QTemporaryDir>
#include <QTest>

#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<IDeskCapture, FFMpegCapture>);
static_assert(std::is_abstract_v<FFMpegCapture>);

class TestFFMpegCaptureNoDevice : public QObject {
    Q_OBJECT
private slots:
    void missingInputIsReported();
    void fileOfTheDevicesNameIsNotOpened();
    void listingDoesNothing();
    void capturerWithoutDeviceIsHarmless();
    void slotsAreThoseOfTheMetaObject();
    void belongsToItsParent();
};

void TestFFMpegCaptureNoDevice::missingInputIsReported()
{
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(1));
    QCOMPARE(logged(log),
             QStringList("critical|default|FFMpegCapture::init|[FFMpegCapture]: Not "
                         "found input format for AVFoundation"));
    QVERIFY(timersOf(&capture).isEmpty());
    QVERIFY(!capture.originSize().isValid());
    QVERIFY(!capture.outputSize().isValid());
    QVERIFY(capture.nextFrame().empty());
}

void TestFFMpegCaptureNoDevice::fileOfTheDevicesNameIsNotOpened()
{
    const QTemporaryDir directory;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(directory.path()));
    QFile file("1");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("P6 2 1 255\nabcdef"); // a picture that FFmpeg reads
    file.close();
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(1));
    QVERIFY(QDir::setCurrent(before));
}

void TestFFMpegCaptureNoDevice::listingDoesNothing()
{
    const LogCapture log;
    FFMpegCapture::listDevices();
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegCaptureNoDevice::capturerWithoutDeviceIsHarmless()
{
    const LogCapture log;
    ScreenReader capture;
    QCOMPARE(capture.outputSize(), QSize(-1, -1));
    QCOMPARE(capture.originSize(), QSize(-1, -1));
    QVERIFY(!capture.decodedFrame());
    QVERIFY(capture.resize(nullptr).isNull());
    capture.tick();
    capture.setOutputSize({320, 180});
    QCOMPARE(capture.outputSize(), QSize(320, 180));
    QVERIFY(capture.resize(nullptr).isNull());
    QVERIFY(capture.nextFrame().empty());
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegCaptureNoDevice::slotsAreThoseOfTheMetaObject()
{
    const QMetaObject &meta = FFMpegCapture::staticMetaObject;
    const QMetaMethod resizing = meta.method(meta.indexOfSlot("setOutputSize(QSize)"));
    QCOMPARE(resizing.access(), QMetaMethod::Public);
    QVERIFY(resizing.methodIndex() >= meta.methodOffset());
    const QMetaMethod tick = meta.method(meta.indexOfSlot("onTickTimeout()"));
    QCOMPARE(tick.access(), QMetaMethod::Private);
    ScreenReader capture;
    QVERIFY(QMetaObject::invokeMethod(&capture, "setOutputSize", Q_ARG(QSize, QSize(64, 36))));
    QCOMPARE(capture.outputSize(), QSize(64, 36));
}

void TestFFMpegCaptureNoDevice::belongsToItsParent()
{
    QObject parent;
    const auto *capture = new ScreenReader(&parent);
    QCOMPARE(capture->parent(), &parent);
    QVERIFY(capture->inherits("FFMpegCapture"));
}

QTEST_GUILESS_MAIN(TestFFMpegCaptureNoDevice)
#include "tst_ffmpegcapture_nodevice.moc"
