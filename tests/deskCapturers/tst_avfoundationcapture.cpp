#include "ScriptedDisplays.h"

#include <LibCorvane/deskCapturers/AVFoundationCapture.h>
#include <LibCorvane/deskCapturers/DeskCaptureOption.h>
#include <support/LogCapture.h>

#include <opencv2/core.hpp>

#include <QMetaMethod>
#include <QTest>

#include <new>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<IDeskCapture, AVFoundationCapture>);
static_assert(
    std::is_same_v<decltype(&AVFoundationCapture::start), bool (AVFoundationCapture::*)(uint32_t)>);

namespace {

ScriptedDisplays &displays()
{
    return ScriptedDisplays::instance();
}

/// Each pixel differs from all others, and each channel from the others.
QImage gradient(int width, int height)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uchar *pixel = image.scanLine(y) + 4 * x;
            pixel[0] = uchar(x);
            pixel[1] = uchar(y);
            pixel[2] = uchar(x + y);
            pixel[3] = uchar(200 + (x & 7));
        }
    }
    return image;
}

/// Leaves OpenCV without memory while it lives.
class MemoryShortage : public cv::MatAllocator {
public:
    MemoryShortage() { cv::Mat::setDefaultAllocator(this); }
    ~MemoryShortage() override { cv::Mat::setDefaultAllocator(m_previous); }

    cv::UMatData *allocate(int, const int *, int, void *, size_t *, cv::AccessFlag,
                           cv::UMatUsageFlags) const override
    {
        throw std::bad_alloc();
    }
    bool allocate(cv::UMatData *, cv::AccessFlag, cv::UMatUsageFlags) const override
    {
        return false;
    }
    void deallocate(cv::UMatData *) const override { }

private:
    cv::MatAllocator *m_previous = cv::Mat::getDefaultAllocator();
};

} // namespace

class TestAVFoundationCapture : public QObject {
    Q_OBJECT
private slots:
    void init();
    void isBornUnstarted();
    void startsTheDisplay_data();
    void startsTheDisplay();
    void failedStartIsLogged();
    void unstartedGivesNothing_data();
    void unstartedGivesNothing();
    void startedGivesEmptyFramesUntilOneArrives();
    void frameIsTheLatestPicture();
    void framesAreIndependent();
    void frameOutlivesTheCapturer();
    void frameIsEmptyWhenMemoryIsShort();
    void sizesAreAskedOfTheRecord();
    void setOutputSizeIsASlot();
    void recordOutlivesTheCapturer();
};

void TestAVFoundationCapture::init()
{
    displays().reset();
}

void TestAVFoundationCapture::isBornUnstarted()
{
    DeskCaptureOption option(nullptr);
    QObject parent;
    const auto *capture = new AVFoundationCapture(&option, &parent);
    QCOMPARE(capture->parent(), &parent);
    QCOMPARE(displays().takeCalls(), QStringList());
}

void TestAVFoundationCapture::startsTheDisplay_data()
{
    QTest::addColumn<uint>("id");
    QTest::addColumn<QString>("call");
    QTest::newRow("the main display") << 0U << "alloc 0";
    QTest::newRow("a display") << 69734272U << "alloc 69734272";
    QTest::newRow("the largest number") << 4294967295U << "alloc 4294967295";
}

void TestAVFoundationCapture::startsTheDisplay()
{
    QFETCH(uint, id);
    const LogCapture log;
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(id));
    QTEST(displays().takeCalls().join(", "), "call");
    QCOMPARE(logged(log), QStringList());
}

void TestAVFoundationCapture::failedStartIsLogged()
{
    displays().refuse(7);
    const LogCapture log;
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(!capture.start(7));
    QCOMPARE(logged(log),
             QStringList("critical|default|AVFoundationCapture::start|[AVFoundationCapture]: "
                         "Cannot init AVFoundation capture"));
    QVERIFY(capture.nextFrame().empty());
    QCOMPARE(displays().takeCalls(), QStringList("alloc 7"));
}

void TestAVFoundationCapture::unstartedGivesNothing_data()
{
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("before the start") << false;
    QTest::newRow("after a start that failed") << true;
}

void TestAVFoundationCapture::unstartedGivesNothing()
{
    QFETCH(bool, isRefused);
    displays().refuse(7);
    AVFoundationCapture capture(nullptr, nullptr);
    if (isRefused)
        QVERIFY(!capture.start(7));
    displays().takeCalls();
    const LogCapture log;
    QVERIFY(capture.nextFrame().empty());
    capture.setOutputSize({64, 36});
    QCOMPARE(capture.outputSize(), QSize());
    QCOMPARE(capture.originSize(), QSize());
    QCOMPARE(displays().takeCalls(), QStringList());
    QCOMPARE(logged(log), QStringList());
}

void TestAVFoundationCapture::startedGivesEmptyFramesUntilOneArrives()
{
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    QVERIFY(capture.nextFrame().empty());
    displays().setFrame(gradient(30, 20));
    QVERIFY(!capture.nextFrame().empty());
    QCOMPARE(displays().takeCalls(), QStringList({"alloc 2", "next 2", "next 2"}));
}

void TestAVFoundationCapture::frameIsTheLatestPicture()
{
    const QImage picture = gradient(301, 168);
    displays().setFrame(picture);
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    const cv::Mat frame = capture.nextFrame();
    QCOMPARE(frame.type(), CV_8UC4);
    QCOMPARE(QSize(frame.cols, frame.rows), picture.size());
    QVERIFY(frame.step >= 4 * size_t(frame.cols));
    const QImage seen(frame.data, frame.cols, frame.rows, int(frame.step), QImage::Format_RGBA8888);
    QCOMPARE(seen, picture);
    QCOMPARE(frame.at<cv::Vec4b>(50, 100), cv::Vec4b(100, 50, 150, 204));
}

void TestAVFoundationCapture::framesAreIndependent()
{
    const QImage picture = gradient(30, 20);
    displays().setFrame(picture);
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    cv::Mat first = capture.nextFrame();
    const cv::Mat second = capture.nextFrame();
    const cv::Mat before = second.clone();
    first = cv::Scalar(1, 2, 3, 4);
    QCOMPARE(cv::norm(second, before), 0.0);
    QCOMPARE(displays().frame(), picture); // the record's own picture is untouched too
}

void TestAVFoundationCapture::frameOutlivesTheCapturer()
{
    displays().setFrame(gradient(30, 20));
    cv::Mat frame;
    {
        AVFoundationCapture capture(nullptr, nullptr);
        QVERIFY(capture.start(2));
        frame = capture.nextFrame();
    }
    displays().setFrame({});
    QCOMPARE(frame.at<cv::Vec4b>(19, 29), cv::Vec4b(29, 19, 48, 205));
    QVERIFY(frame.u != nullptr); // OpenCV counts the owners of these pixels
}

void TestAVFoundationCapture::frameIsEmptyWhenMemoryIsShort()
{
    displays().setFrame(gradient(30, 20));
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    {
        const MemoryShortage shortage;
        QVERIFY_EXCEPTION_THROWN(cv::Mat(1, 1, CV_8UC4), std::bad_alloc);
        QVERIFY(capture.nextFrame().empty());
    }
    QVERIFY(!capture.nextFrame().empty());
}

void TestAVFoundationCapture::sizesAreAskedOfTheRecord()
{
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    capture.setOutputSize({64, 36});
    QCOMPARE(capture.outputSize(), QSize(1920, 1080));
    QCOMPARE(capture.originSize(), QSize(1920, 1080));
    QCOMPARE(displays().takeCalls(),
             QStringList({"alloc 2", "set 2 64x36", "output 2", "origin 2"}));
}

void TestAVFoundationCapture::setOutputSizeIsASlot()
{
    const QMetaObject &meta = AVFoundationCapture::staticMetaObject;
    const QMetaMethod slot = meta.method(meta.indexOfSlot("setOutputSize(QSize)"));
    QCOMPARE(slot.access(), QMetaMethod::Public);
    QVERIFY(slot.methodIndex() >= meta.methodOffset());
    AVFoundationCapture capture(nullptr, nullptr);
    QVERIFY(capture.start(2));
    displays().takeCalls();
    QMetaObject::invokeMethod(&capture, "setOutputSize", Qt::QueuedConnection,
                              Q_ARG(QSize, QSize(64, 36)));
    QCOMPARE(displays().takeCalls(), QStringList());
    QCoreApplication::processEvents();
    QCOMPARE(displays().takeCalls(), QStringList("set 2 64x36"));
}

void TestAVFoundationCapture::recordOutlivesTheCapturer()
{
    {
        AVFoundationCapture capture(nullptr, nullptr);
        QVERIFY(capture.start(2));
    }
    QCOMPARE(displays().takeCalls(), QStringList("alloc 2"));
}

QTEST_GUILESS_MAIN(TestAVFoundationCapture)
#include "tst_avfoundationcapture.moc"
