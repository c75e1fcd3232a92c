// Each call of the library to FFmpeg fails in turn.

#include "ScreenReader.h"

#include <support/LogCapture.h>
#include <support/ScriptedInput.h>

#include <QTest>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/error.h>
}

using namespace corvane::test;

namespace {

constexpr int kCode = -1234;
const QByteArray kTestPicture = "testsrc2=size=320x180:rate=25";

QString line(const QString &text)
{
    return "critical|default|FFMpegCapture::init|[FFMpegCapture]: " + text;
}

} // namespace

class TestFFMpegCaptureFaults : public QObject {
    Q_OBJECT
private slots:
    void failedSetUpIsReportedAndLeavesNothing_data();
    void failedSetUpIsReportedAndLeavesNothing();
    void deviceThatRefusesToOpenIsReported();
    void soundIsNoScreen();
    void decoderThatOpensAtTheFirstTryOnlyIsReported();
    void decoderThatOpensAtTheSecondTryIsGood();
    void bufferThatCannotBeMadeIsNoFailure();
    void missingScalerGivesNullImages();
    void failedSetUpEndsTheCaptureBefore();
    void everythingIsClosedInOrder();
};

void TestFFMpegCaptureFaults::failedSetUpIsReportedAndLeavesNothing_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("text");

    const QString codec = "Failed to open codec context for avfoundation device, errCode:  %1";
    QTest::newRow("no context") << "avformat_alloc_context"
                                << "Failed to alloc AVFormatContext";
    QTest::newRow("no input format") << "av_find_input_format"
                                     << "Not found input format for AVFoundation";
    QTest::newRow("no options") << "av_dict_set"
                                << "Failed to set record options, deviceId:  5";
    QTest::newRow("no stream") << "av_find_best_stream"
                               << "Failed to find video stream";
    QTest::newRow("no decoder") << "avcodec_find_decoder"
                                << "Not found codec for avfoundation device";
    QTest::newRow("no decoder context") << "avcodec_alloc_context3" << codec.arg(AVERROR(ENOMEM));
    QTest::newRow("parameters the decoder does not take")
        << "avcodec_parameters_to_context" << codec.arg(kCode);
    QTest::newRow("decoder that does not open") << "avcodec_open2" << codec.arg(kCode);
    QTest::newRow("no frame") << "av_frame_alloc" << codec.arg(AVERROR(ENOMEM));
}

void TestFFMpegCaptureFaults::failedSetUpIsReportedAndLeavesNothing()
{
    QFETCH(QString, call);
    QFETCH(QString, text);
    InputScript script{kTestPicture};
    script.failingCall = call;
    script.code = kCode;
    ScriptedInput input(script);
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(5));
    QCOMPARE(logged(log), QStringList(line(text)));
    QCOMPARE(input.openInputs(), 0);
    QVERIFY(timersOf(&capture).isEmpty());
    QCOMPARE(capture.outputSize(), QSize(-1, -1));
    QCOMPARE(capture.originSize(), QSize(-1, -1));
    QVERIFY(capture.nextFrame().empty());
    capture.tick();
    QVERIFY(!input.calls().contains("av_read_frame"));

    // A host may try again.
    input.fail({}, 0);
    QVERIFY(capture.init(5));
    capture.tick();
    QVERIFY(!capture.nextFrame().empty());
}

void TestFFMpegCaptureFaults::deviceThatRefusesToOpenIsReported()
{
    InputScript script{kTestPicture};
    script.openError = AVERROR(EIO);
    const ScriptedInput input(script);
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(1));
    QCOMPARE(logged(log),
             QStringList(line("Failed to open avfoundation device, errCode:  "
                              + QString::number(AVERROR(EIO)))));
    QVERIFY(timersOf(&capture).isEmpty());
    // The failed call has freed the context itself.
    QVERIFY(!input.calls().contains("avformat_free_context"));
    QVERIFY(!input.calls().contains("avformat_close_input"));
}

void TestFFMpegCaptureFaults::soundIsNoScreen()
{
    const ScriptedInput input({"sine"});
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(1));
    QCOMPARE(logged(log), QStringList(line("Failed to find video stream")));
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegCaptureFaults::decoderThatOpensAtTheFirstTryOnlyIsReported()
{
    InputScript script{kTestPicture};
    script.openCodes = {0, kCode};
    const ScriptedInput input(script);
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(!capture.init(1));
    // The second try decides, the first one's result is told.
    QCOMPARE(logged(log),
             QStringList(line("Failed to open codec context for avfoundation device, "
                              "errCode:  0")));
    QCOMPARE(input.openInputs(), 0);
}

void TestFFMpegCaptureFaults::decoderThatOpensAtTheSecondTryIsGood()
{
    InputScript script{kTestPicture};
    script.openCodes = {kCode, 0};
    const ScriptedInput input(script);
    ScreenReader capture;
    QVERIFY(capture.init(1));
    capture.tick();
    QVERIFY(!capture.nextFrame().empty());
}

void TestFFMpegCaptureFaults::bufferThatCannotBeMadeIsNoFailure()
{
    InputScript script{kTestPicture};
    script.failingCall = "av_frame_get_buffer";
    script.code = kCode;
    const ScriptedInput input(script);
    ScreenReader capture;
    QVERIFY(capture.init(1));
    capture.tick(); // the decoder brings its own
    QVERIFY(!capture.nextFrame().empty());
}

void TestFFMpegCaptureFaults::missingScalerGivesNullImages()
{
    ScriptedInput input({kTestPicture});
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(capture.init(1));
    capture.tick();
    input.fail("sws_getContext", 1);
    capture.setOutputSize({64, 36});
    QVERIFY(capture.resize(capture.decodedFrame().get()).isNull());
    QVERIFY(capture.nextFrame().empty());
    input.fail({}, 0);
    capture.setOutputSize({64, 36});
    QVERIFY(!capture.nextFrame().empty());
    QCOMPARE(log.messages().size(), 1);
}

void TestFFMpegCaptureFaults::failedSetUpEndsTheCaptureBefore()
{
    ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QVERIFY(capture.init(1));
    capture.tick();
    input.fail("av_find_best_stream", -1);
    QVERIFY(!capture.init(2));
    QCOMPARE(input.openInputs(), 0);
    QVERIFY(timersOf(&capture).isEmpty());
    QVERIFY(capture.nextFrame().empty());
    QVERIFY(!capture.originSize().isValid());
}

void TestFFMpegCaptureFaults::everythingIsClosedInOrder()
{
    ScriptedInput input({kTestPicture});
    auto capture = std::make_unique<ScreenReader>();
    QVERIFY(capture->init(1));
    capture->tick();
    input.clearCalls();
    capture.reset();
    QStringList calls = input.calls();
    calls.removeAll("av_frame_free"); // of the latest picture, and of the decoder's frame
    QCOMPARE(calls,
             QStringList({"sws_freeContext", "avcodec_free_context", "avformat_close_input",
                          "av_dict_free"}));
    QCOMPARE(input.calls().at(input.calls().indexOf("avformat_close_input") - 1),
             QString("av_frame_free"));
    QCOMPARE(input.openInputs(), 0);
}

QTEST_GUILESS_MAIN(TestFFMpegCaptureFaults)
#include "tst_ffmpegcapture_faults.moc"
