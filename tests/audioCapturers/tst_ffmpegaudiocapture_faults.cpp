// Each call of the library to FFmpeg fails in turn.

#include "AudioCaptureFixture.h"

#include <support/LogCapture.h>
#include <support/ScriptedInput.h>

#include <QTest>

extern "C" {
#include <libavutil/error.h>
}

using namespace corvane::test;

namespace {

constexpr int kCode = -1234;
const QByteArray kSine = "sine=frequency=440:samples_per_frame=2048";

QString openingLine(const QString &text)
{
    return "critical|default|FFMpegAudioCapture::init|[FFMpegAudioCapture]: " + text;
}

QString frameLine(const QString &text)
{
    return "warning|default|FFMpegAudioCapture::nextFrame|[FFMpegAudioCapture]: " + text;
}

const QString kStopped =
    "warning|default|FFMpegAudioCapture::timerEvent|[FFMpegAudioCapture]: An error "
    "occurred while require next frame, the output process has been stoped";

} // namespace

class TestFFMpegAudioCaptureFaults : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void failedOpeningIsReportedAndLeavesNothing_data();
    void failedOpeningIsReportedAndLeavesNothing();
    void deviceThatRefusesToOpenIsReported();
    void deviceWithoutSoundIsReported();
    void bufferThatCannotBeMadeIsNoFailure();
    void decoderErrorEndsTheCapture_data();
    void decoderErrorEndsTheCapture();
    void busyDecoderIsNoError_data();
    void busyDecoderIsNoError();
    void deviceStaysOpenAfterADecoderError();
    void everythingIsClosedInOrder();

private:
    std::unique_ptr<NestedDirectory> m_directory;
};

void TestFFMpegAudioCaptureFaults::init()
{
    m_directory = std::make_unique<NestedDirectory>();
}

void TestFFMpegAudioCaptureFaults::cleanup()
{
    m_directory.reset();
}

void TestFFMpegAudioCaptureFaults::failedOpeningIsReportedAndLeavesNothing_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("text");

    const QString device = "Failed to open avfoundation device";
    const QString codec = "Failed to open codec context for avfoundation device";
    QTest::newRow("no context") << "avformat_alloc_context" << device;
    QTest::newRow("no input format") << "av_find_input_format" << device;
    QTest::newRow("no stream") << "av_find_best_stream"
                               << "Failed to find audio stream";
    QTest::newRow("no decoder") << "avcodec_find_decoder"
                                << "Not found codec for avfoundation device";
    QTest::newRow("no decoder context") << "avcodec_alloc_context3" << codec;
    QTest::newRow("parameters the decoder does not take")
        << "avcodec_parameters_to_context" << codec;
    QTest::newRow("decoder that does not open") << "avcodec_open2" << codec;
    QTest::newRow("no frame") << "av_frame_alloc" << codec;
}

void TestFFMpegAudioCaptureFaults::failedOpeningIsReportedAndLeavesNothing()
{
    QFETCH(QString, call);
    QFETCH(QString, text);
    InputScript script{kSine};
    script.failingCall = call;
    script.code = kCode;
    ScriptedInput input(script);
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(!capture.init(0).result());
    QCoreApplication::processEvents();
    QCOMPARE(logged(log), QStringList(openingLine(text)));
    QCOMPARE(input.openInputs(), 0);
    QVERIFY(timersOf(&capture).isEmpty());
    QVERIFY(capture.nextFrame());
    QCOMPARE(m_directory->files(), QStringList());

    // A host may try again.
    input.fail({}, 0);
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(!capture.blocks.isEmpty());
    QCOMPARE(logged(log), QStringList(openingLine(text)));
}

void TestFFMpegAudioCaptureFaults::deviceThatRefusesToOpenIsReported()
{
    InputScript script{kSine};
    script.openError = AVERROR(EACCES);
    const ScriptedInput input(script);
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(!capture.init(0).result());
    QCOMPARE(logged(log), QStringList(openingLine("Failed to open avfoundation device")));
    // The failed call has freed the context itself.
    QVERIFY(!input.calls().contains("avformat_free_context"));
    QVERIFY(!input.calls().contains("avformat_close_input"));
}

void TestFFMpegAudioCaptureFaults::deviceWithoutSoundIsReported()
{
    const ScriptedInput input({"testsrc2"});
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(!capture.init(0).result());
    QCOMPARE(logged(log), QStringList(openingLine("Failed to find audio stream")));
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegAudioCaptureFaults::bufferThatCannotBeMadeIsNoFailure()
{
    // As with PCM, whose frames have no size.
    ScriptedInput input({kSine, "lavfi"});
    input.fail("av_frame_get_buffer", AVERROR(ENOMEM));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    input.fail({}, 0);
    QVERIFY(capture.nextFrame());
    QTRY_VERIFY(!capture.blocks.isEmpty());
}

void TestFFMpegAudioCaptureFaults::decoderErrorEndsTheCapture_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("text");

    QTest::newRow("send") << "avcodec_send_packet"
                          << "Failed to send packet to avfoundation decodec:  -1234";
    QTest::newRow("receive") << "avcodec_receive_frame"
                             << "Failed to receiv frame from avfoundation decodec:  -1234";
}

void TestFFMpegAudioCaptureFaults::decoderErrorEndsTheCapture()
{
    QFETCH(QString, call);
    QFETCH(QString, text);
    ScriptedInput input({kSine});
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(!capture.blocks.isEmpty());
    input.fail(call, kCode);
    QTRY_VERIFY(timersOf(&capture).isEmpty());
    QCOMPARE(logged(log), QStringList({frameLine(text), kStopped}));

    QVERIFY(!capture.nextFrame());
    QCOMPARE(logged(log), QStringList({frameLine(text), kStopped, frameLine(text)}));
}

void TestFFMpegAudioCaptureFaults::busyDecoderIsNoError_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<int>("code");

    QTest::newRow("send") << "avcodec_send_packet" << AVERROR(EAGAIN);
    QTest::newRow("receive") << "avcodec_receive_frame" << AVERROR(EAGAIN);
    QTest::newRow("positive result of receiving") << "avcodec_receive_frame" << 7;
    QTest::newRow("positive result of sending") << "avcodec_send_packet" << 7;
    QTest::newRow("no packet") << "av_packet_alloc" << 1;
    QTest::newRow("no frame") << "av_frame_alloc" << 1;
}

void TestFFMpegAudioCaptureFaults::busyDecoderIsNoError()
{
    QFETCH(QString, call);
    QFETCH(int, code);
    ScriptedInput input({kSine});
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(capture.nextFrame());
    input.fail(call, code);
    QVERIFY(capture.nextFrame());
    QVERIFY(capture.nextFrame());
    const int blocks = capture.blocks.size();
    input.fail({}, 0);
    QVERIFY(capture.nextFrame());
    QVERIFY(capture.blocks.size() > blocks);
    QCOMPARE(logged(log), QStringList());
}

void TestFFMpegAudioCaptureFaults::deviceStaysOpenAfterADecoderError()
{
    ScriptedInput input({kSine});
    const LogCapture log;
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    input.fail("avcodec_send_packet", kCode);
    QTRY_COMPARE(log.messages().size(), 2);
    QCOMPARE(input.openInputs(), 1);
    QVERIFY(timersOf(&capture).isEmpty());
}

void TestFFMpegAudioCaptureFaults::everythingIsClosedInOrder()
{
    ScriptedInput input({kSine});
    auto capture = std::make_unique<ListenedCapture>();
    QVERIFY(capture->init(0).result());
    QTRY_VERIFY(!capture->blocks.isEmpty());
    input.clearCalls();
    capture.reset();
    QStringList calls = input.calls();
    QCOMPARE(calls.mid(0, 3),
             QStringList({"avcodec_free_context", "av_frame_free", "avformat_close_input"}));
    QCOMPARE(input.openInputs(), 0);
}

QTEST_GUILESS_MAIN(TestFFMpegAudioCaptureFaults)
#include "tst_ffmpegaudiocapture_faults.moc"
