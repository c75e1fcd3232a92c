// A display that changes its size all the time while its frames are made and read.

#include "CaptureRecord.h"

#include "support/Interpose.h"
#include "support/LogCapture.h"
#include "support/XClient.h"
#include "support/XServer.h"

#include <xcb/randr.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <thread>
#include <utility>

using namespace corvane::test;

namespace {

std::atomic<bool> interrupts{false};
/// Called once, when a list of monitors is asked for and all before it has been answered.
std::function<void()> interruption;

} // namespace

// Stands before XCB's own function.
extern "C" xcb_randr_get_monitors_cookie_t xcb_randr_get_monitors(xcb_connection_t *connection,
                                                                  xcb_window_t window,
                                                                  uint8_t active)
{
    if (interrupts.exchange(false)) {
        const auto barrier = xcb_get_input_focus(connection);
        std::free(xcb_get_input_focus_reply(connection, barrier, nullptr));
        interruption();
    }
    return nextFunction<decltype(xcb_randr_get_monitors)>("xcb_randr_get_monitors")(connection,
                                                                                    window, active);
}

namespace {

constexpr int kResizes = 150;
constexpr QSize kScreens[] = {{1200, 900}, {640, 480}, {1600, 900}, {500, 1000}, {800, 800}};
/// Of frames 300 pixels wide.
constexpr QSize kFrames[] = {{300, 225}, {300, 225}, {300, 168}, {300, 600}, {300, 300}};

bool isOneOf(const QSize &size)
{
    return std::find(std::begin(kFrames), std::end(kFrames), size) != std::end(kFrames);
}

/// Only green is drawn; what has just come to the screen is black. Nothing else may be seen, not
/// even in mixtures.
bool isGreenOrBlack(const QImage &frame)
{
    for (int y = 0; y < frame.height(); ++y) {
        for (int x = 0; x < frame.width(); ++x) {
            const QRgb pixel = frame.pixel(x, y);
            if (qRed(pixel) != 0 || qBlue(pixel) != 0 || qAlpha(pixel) != 255)
                return false;
        }
    }
    return true;
}

/// Reads frames on a thread of its own, as fast as it can.
class Reader {
public:
    explicit Reader(AVFoundationCaptureImpl *record)
        : m_record(record)
        , m_thread([this] { readOn(); })
    {
    }
    ~Reader() { stop(); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    void stop()
    {
        m_isOver = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    std::atomic<int> frames{0};
    std::atomic<int> badSizes{0};
    std::atomic<int> badPixels{0};

private:
    void readOn()
    {
        qint64 lastKey = 0;
        while (!m_isOver) {
            const QImage frame = AVCaptureNextFrame(m_record);
            if (frame.isNull() || std::exchange(lastKey, frame.cacheKey()) == frame.cacheKey())
                continue;
            ++frames;
            badSizes += isOneOf(frame.size()) ? 0 : 1;
            badPixels += isGreenOrBlack(frame) ? 0 : 1;
        }
    }

    AVFoundationCaptureImpl *m_record;
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};

} // namespace

class TestX11Resizing : public QObject {
    Q_OBJECT
private slots:
    void framesStayWholeWhileTheScreenChanges();
    void aScreenThatChangesBetweenTwoAnswersHasOneSize();
    void aCaptureMayEndWhileTheScreenChanges();

private:
    void resize(XClient &client, int step);
};

void TestX11Resizing::resize(XClient &client, int step)
{
    const QSize screen = kScreens[step % int(std::size(kScreens))];
    QVERIFY(client.resizeScreen(screen));
    client.fill(QRect(QPoint(0, 0), screen), Qt::green);
    QVERIFY(client.sync());
}

void TestX11Resizing::framesStayWholeWhileTheScreenChanges()
{
    XServer server(XServerOptions{{1600, 1000}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    resize(client, 0);
    const CaptureRecord record = captureOf(1);
    QVERIFY(!firstFrame(record).isNull());
    const LogCapture log;
    Reader reader(record.get());
    QTRY_VERIFY(reader.frames > 0);
    int step = 0;
    // At least so many changes, and some frames between them, however slow the machine is.
    while (step < kResizes || reader.frames < 10) {
        resize(client, ++step);
        if (step % 10 == 0) {
            const int seen = reader.frames;
            QTRY_VERIFY_WITH_TIMEOUT(reader.frames > seen, 20000);
        }
    }
    reader.stop();
    QCOMPARE(reader.badSizes.load(), 0);
    QCOMPARE(reader.badPixels.load(), 0);

    for (int end = 0; end < int(std::size(kScreens)); ++end) {
        resize(client, end);
        const QImage frame = frameThat(record, [&record, end](const QImage &image) {
            return AVCaptureOriginSize(record.get()) == kScreens[end]
                && image.size() == kFrames[end] && isFilled(image, Qt::green);
        });
        QCOMPARE(frame.size(), kFrames[end]);
        QVERIFY(isFilled(frame, Qt::green));
        QCOMPARE(AVCaptureOriginSize(record.get()), kScreens[end]);
    }
    QCOMPARE(log.messages(), QStringList());
}

void TestX11Resizing::aScreenThatChangesBetweenTwoAnswersHasOneSize()
{
    XServer server(XServerOptions{{1600, 1000}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    resize(client, 4);
    const CaptureRecord record = captureOf(1);
    QVERIFY(!firstFrame(record).isNull());
    Reader reader(record.get());
    // Narrow and high by the time of the second answer.
    interruption = [&server] { XClient(server.display()).resizeScreen(kScreens[3]); };
    interrupts = true;
    client.resizeScreen(kScreens[2]); // wide and low, which the capture hears of
    const QImage frame =
        frameThat(record, [](const QImage &image) { return image.size() == kFrames[3]; });
    reader.stop();
    QCOMPARE(frame.size(), kFrames[3]);
    QVERIFY(!interrupts);
    QCOMPARE(reader.badSizes.load(), 0);
}

void TestX11Resizing::aCaptureMayEndWhileTheScreenChanges()
{
    XServer server(XServerOptions{{1600, 1000}, 24, {}});
    QVERIFY2(server.isRunning(), qPrintable(server.log()));
    server.useForThisProcess();
    XClient client(server.display());
    const LogCapture log;
    for (int step = 0; step < 40; ++step) {
        const CaptureRecord record = captureOf(1);
        QVERIFY(record);
        if (step % 4 == 0)
            QVERIFY(!firstFrame(record).isNull());
        AVCaptureNextFrame(record.get());
        resize(client, step);
        AVCaptureNextFrame(record.get());
        resize(client, step + 1);
    }
    QCOMPARE(log.messages(), QStringList());
}

QTEST_GUILESS_MAIN(TestX11Resizing)
#include "tst_x11resizing.moc"
