// The capturer on pictures that FFmpeg really reads and decodes, in place of a screen's.

#include "ScreenReader.h"

#include <support/LogCapture.h>
#include <support/MediaFiles.h>
#include <support/ScriptedInput.h>
#include <support/StartedTimers.h>

#include <opencv2/core.hpp>

#include <QTemporaryDir>
#include <QTest>

extern "C" {
#include <libavcodec/avcodec.h>
}

using namespace corvane::test;

namespace {

const QByteArray kTestPicture = "testsrc2=size=320x180:rate=25";

QString started(int device)
{
    return QString("debug|default|FFMpegCapture::init|[FFMpegCapture]: The screen capture  %1  "
                   "started capture")
        .arg(device);
}

/// Luma and chroma of red, green and blue, as BT.601 has them.
const QByteArray kRed = QByteArray::fromHex("515af0");
const QByteArray kGreen = QByteArray::fromHex("913622");
const QByteArray kBlue = QByteArray::fromHex("29f06e");

/// "r", "g", "b", "?" for another colour, or "-" for no frame.
QChar colourOf(const cv::Mat &frame)
{
    if (frame.empty())
        return '-';
    const auto pixel = frame.at<cv::Vec4b>(frame.rows / 2, frame.cols / 2);
    const auto isNear = [&](int r, int g, int b) { // the coding is lossy
        return qAbs(pixel[0] - r) < 8 && qAbs(pixel[1] - g) < 8 && qAbs(pixel[2] - b) < 8
            && pixel[3] == 255;
    };
    return isNear(255, 0, 0) ? 'r' : isNear(0, 255, 0) ? 'g' : isNear(0, 0, 255) ? 'b' : '?';
}

} // namespace

class TestFFMpegCapture : public QObject {
    Q_OBJECT
private slots:
    void deviceIsAskedForByItsIndexWith25FramesASecond();
    void sizesAreTheScreensFirst();
    void timerTicksEvery40Milliseconds();
    void foreignTimersAreLeftAlone();
    void framesComeAndHaveTheOutputSize();
    void framesAreSnapshots();
    void eachTickReadsOnePacket();
    void realDecodersOpenTwice();
    void pictureOfSeveralPacketsReplacesTheOneBeforeWhenComplete();
    void pictureStaysWhenReadingFails();
    void pictureStaysWhenDecodingFails();
    void packetsOfOtherStreamsAreLeftOut();
    void streamMayChangeItsSize();
    void anotherScreenTakesThePlaceOfTheFirst();

private:
    InputScript video(const char *codec, const char *format, const QVector<VideoStretch> &stretches,
                      int bFrames = 0) const;

    QTemporaryDir m_directory;
};

InputScript TestFFMpegCapture::video(const char *codec, const char *format,
                                     const QVector<VideoStretch> &stretches, int bFrames) const
{
    const QByteArray bytes = encodedVideo(codec, stretches, bFrames);
    return {writtenTo(m_directory.filePath("screen.video"), bytes), format, true};
}

void TestFFMpegCapture::deviceIsAskedForByItsIndexWith25FramesASecond()
{
    const ScriptedInput input({kTestPicture});
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(capture.init(3));
    QCOMPARE(input.formatName(), QString("avfoundation"));
    QCOMPARE(input.deviceName(), QString("3"));
    QCOMPARE(input.options(), (QMap<QString, QString>{{"r", "25"}}));
    const QStringList setUp{"avformat_alloc_context",
                            "av_find_input_format",
                            "av_dict_set",
                            "avformat_open_input",
                            "av_find_best_stream",
                            "avcodec_find_decoder",
                            "avcodec_alloc_context3",
                            "avcodec_parameters_to_context",
                            "avcodec_open2",
                            "avcodec_open2",
                            "av_frame_alloc",
                            "av_frame_get_buffer",
                            "sws_getContext"};
    QCOMPARE(input.calls(), setUp);
    QCOMPARE(logged(log), QStringList(started(3)));
}

void TestFFMpegCapture::sizesAreTheScreensFirst()
{
    const ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QCOMPARE(capture.outputSize(), QSize(-1, -1));
    capture.setOutputSize({10, 10});
    QVERIFY(capture.init(0));
    QCOMPARE(capture.outputSize(), QSize(320, 180));
    QCOMPARE(capture.originSize(), QSize(320, 180));
    QVERIFY(capture.nextFrame().empty()); // nothing has been read
    capture.setOutputSize({64, 36});
    QCOMPARE(capture.outputSize(), QSize(64, 36));
    QCOMPARE(capture.originSize(), QSize(320, 180));
}

void TestFFMpegCapture::timerTicksEvery40Milliseconds()
{
    const ScriptedInput input({kTestPicture});
    ScreenReader capture;
    const StartedTimers started(&capture);
    QVERIFY(capture.init(0));
    QCOMPARE(started.all(), QVector<StartedTimer>({{40, Qt::PreciseTimer}}));
    QCOMPARE(timersOf(&capture).size(), 1);
    QTRY_VERIFY(!capture.nextFrame().empty());
}

void TestFFMpegCapture::foreignTimersAreLeftAlone()
{
    const ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QVERIFY(capture.init(0));
    const int own = timersOf(&capture).first().timerId;
    QTimerEvent foreign(own + 1000);
    QCoreApplication::sendEvent(&capture, &foreign);
    QVERIFY(!input.calls().contains("av_read_frame"));
    QTimerEvent tick(own);
    QCoreApplication::sendEvent(&capture, &tick);
    QCOMPARE(input.calls().count("av_read_frame"), 1);
}

void TestFFMpegCapture::framesComeAndHaveTheOutputSize()
{
    const ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.tick();
    const cv::Mat whole = capture.nextFrame();
    QCOMPARE(whole.type(), CV_8UC4);
    QCOMPARE(QSize(whole.cols, whole.rows), QSize(320, 180));
    for (const QSize size : {QSize(300, 168), QSize(640, 360), QSize(17, 9), QSize(1, 1)}) {
        capture.setOutputSize(size);
        capture.tick();
        const QImage image = capture.resize(capture.decodedFrame().get());
        QCOMPARE(image.size(), size);
        QCOMPARE(image.format(), QImage::Format_RGBA8888);
        const cv::Mat frame = capture.nextFrame();
        QCOMPARE(QSize(frame.cols, frame.rows), size);
    }
}

void TestFFMpegCapture::framesAreSnapshots()
{
    const ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.tick();
    const auto held = capture.decodedFrame();
    cv::Mat first = capture.nextFrame();
    const cv::Mat before = first.clone();
    const cv::Mat second = capture.nextFrame();
    capture.ticks(5);
    QCOMPARE(cv::norm(first, before, cv::NORM_INF), 0.0);
    first = cv::Scalar::all(7);
    QCOMPARE(cv::norm(second, before, cv::NORM_INF), 0.0);
    // The picture that is held stays, too.
    const QImage again = capture.resize(held.get());
    const cv::Mat still(again.height(), again.width(), CV_8UC4,
                        const_cast<uchar *>(again.constBits()), size_t(again.bytesPerLine()));
    QCOMPARE(cv::norm(still, before, cv::NORM_INF), 0.0);
    QVERIFY(cv::norm(capture.nextFrame(), before, cv::NORM_INF) > 0);
}

void TestFFMpegCapture::eachTickReadsOnePacket()
{
    ScriptedInput input({kTestPicture});
    ScreenReader capture;
    QVERIFY(capture.init(0));
    input.clearCalls();
    capture.ticks(3);
    QCOMPARE(input.calls().count("av_read_frame"), 3);
    QCOMPARE(input.calls().count("avcodec_send_packet"), 3);
    QCOMPARE(input.calls().count("avcodec_receive_frame"), 3);
}

void TestFFMpegCapture::realDecodersOpenTwice()
{
    for (const AVCodecID id : {AV_CODEC_ID_RAWVIDEO, AV_CODEC_ID_H264, AV_CODEC_ID_MPEG4}) {
        const AVCodec *codec = avcodec_find_decoder(id);
        AVCodecContext *decoder = avcodec_alloc_context3(codec);
        decoder->width = decoder->height = 16;
        decoder->pix_fmt = AV_PIX_FMT_YUV420P;
        const int first = avcodec_open2(decoder, codec, nullptr);
        const int second = avcodec_open2(decoder, codec, nullptr);
        avcodec_free_context(&decoder);
        QCOMPARE(first, 0);
        QCOMPARE(second, 0);
    }
}

void TestFFMpegCapture::pictureOfSeveralPacketsReplacesTheOneBeforeWhenComplete()
{
    // With B-frames the decoder holds pictures back.
    const ScriptedInput input(
        video("mpeg4", "m4v", {{{64, 48}, {kRed, kRed, kRed, kGreen, kGreen, kGreen, kBlue}}}, 2));
    ScreenReader capture;
    QVERIFY(capture.init(0));
    QString seen;
    for (int i = 0; i < 7; ++i) {
        capture.tick();
        seen.append(colourOf(capture.nextFrame()));
    }
    QCOMPARE(input.calls().count("avcodec_receive_frame"), 7);
    QVERIFY2(seen.startsWith("-r"), qPrintable(seen)); // the first packet gives nothing
    QVERIFY2(seen.indexOf('r') < seen.indexOf('g'), qPrintable(seen));
    QVERIFY2(!seen.mid(1).contains('-') && !seen.contains('?'), qPrintable(seen));
}

void TestFFMpegCapture::pictureStaysWhenReadingFails()
{
    // Three pictures, and then the end of the file.
    const LogCapture log;
    const ScriptedInput input(
        video("mpeg2video", "mpegvideo", {{{64, 48}, {kRed, kGreen, kBlue}}}));
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.ticks(3);
    const QChar last = colourOf(capture.nextFrame());
    QVERIFY(QString("rgb").contains(last));
    capture.ticks(4);
    QCOMPARE(colourOf(capture.nextFrame()), last);
    QCOMPARE(logged(log), QStringList(started(0)));
    QCOMPARE(timersOf(&capture).size(), 1);
}

void TestFFMpegCapture::pictureStaysWhenDecodingFails()
{
    ScriptedInput input({"color=c=red:size=64x48:rate=25"});
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.tick();
    const auto picture = capture.decodedFrame();
    QVERIFY(picture);
    for (const char *call : {"av_read_frame", "avcodec_send_packet", "avcodec_receive_frame",
                             "av_packet_alloc", "av_frame_alloc"}) {
        input.fail(call, AVERROR_INVALIDDATA);
        capture.ticks(2);
        QCOMPARE(capture.decodedFrame(), picture);
        input.fail({}, 0);
    }
    capture.ticks(2);
    QVERIFY(capture.decodedFrame() != picture);
    QCOMPARE(logged(log), QStringList(started(0)));
}

void TestFFMpegCapture::packetsOfOtherStreamsAreLeftOut()
{
    InputScript script{kTestPicture};
    script.read = [](AVPacket *packet) {
        const int code = av_new_packet(packet, 100);
        packet->stream_index = 1;
        return code;
    };
    const ScriptedInput input(script);
    ScreenReader capture;
    QVERIFY(capture.init(0));
    capture.ticks(3);
    QCOMPARE(input.calls().count("av_read_frame"), 3);
    QVERIFY(!input.calls().contains("avcodec_send_packet"));
    QVERIFY(!capture.decodedFrame());
}

void TestFFMpegCapture::streamMayChangeItsSize()
{
    const ScriptedInput input(video(
        "mpeg2video", "mpegvideo",
        {{{64, 48}, QVector<QByteArray>(4, kRed)}, {{320, 176}, QVector<QByteArray>(6, kBlue)}}));
    ScreenReader capture;
    QVERIFY(capture.init(0));
    QCOMPARE(capture.originSize(), QSize(64, 48));
    capture.setOutputSize({100, 50});
    for (int i = 0; i < 12; ++i) {
        capture.tick();
        const cv::Mat frame = capture.nextFrame();
        if (frame.empty())
            continue;
        QCOMPARE(QSize(frame.cols, frame.rows), QSize(100, 50));
        QCOMPARE(colourOf(frame), QChar(capture.originSize().width() == 64 ? 'r' : 'b'));
    }
    QCOMPARE(capture.originSize(), QSize(320, 176));
    QCOMPARE(colourOf(capture.nextFrame()), QChar('b'));
    QCOMPARE(capture.outputSize(), QSize(100, 50));
}

void TestFFMpegCapture::anotherScreenTakesThePlaceOfTheFirst()
{
    const ScriptedInput input({kTestPicture});
    const LogCapture log;
    ScreenReader capture;
    QVERIFY(capture.init(1));
    capture.tick();
    QVERIFY(capture.init(2));
    QCOMPARE(input.openInputs(), 1);
    QCOMPARE(timersOf(&capture).size(), 1);
    QVERIFY(!capture.decodedFrame());
    capture.tick();
    QVERIFY(capture.decodedFrame());
    QCOMPARE(logged(log), QStringList({started(1), started(2)}));
}

QTEST_GUILESS_MAIN(TestFFMpegCapture)
#include "tst_ffmpegcapture.moc"
