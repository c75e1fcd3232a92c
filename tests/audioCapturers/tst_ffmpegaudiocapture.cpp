// The capturer on sound that FFmpeg really reads and decodes, in place of a device's.

#include "AudioCaptureFixture.h"
#include "PcmSignals.h"

#include <support/LogCapture.h>
#include <support/MediaFiles.h>
#include <support/ScriptedInput.h>
#include <support/StartedTimers.h>

#include <QTest>
#include <QtEndian>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

using namespace corvane::test;

namespace {

constexpr int kRate = 44100;

/// Has the decoder go on with another rate from this packet on.
int changeRate(AVPacket *packet, int sampleRate)
{
    uint8_t *data = av_packet_new_side_data(packet, AV_PKT_DATA_PARAM_CHANGE, 8);
    if (!data)
        return AVERROR(ENOMEM);
    qToLittleEndian<quint32>(AV_SIDE_DATA_PARAM_CHANGE_SAMPLE_RATE, data);
    qToLittleEndian<quint32>(quint32(sampleRate), data + 4);
    return 0;
}

/// False after an error of the decoder.
bool readAll(FFMpegAudioCapture &capture, int packets)
{
    for (int i = 0; i < packets; ++i) {
        if (!capture.nextFrame())
            return false;
    }
    return true;
}

} // namespace

class TestFFMpegAudioCapture : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void deviceIsAskedForByItsIndex();
    void timerTicksOnceTheDeviceIsOpen();
    void blocksAreThoseOfTheDecodedSamples_data();
    void blocksAreThoseOfTheDecodedSamples();
    void toneIsFollowedByTheTimer();
    void oneTickReadsOnePacket();
    void allFramesOfAPacketAreAnalysed();
    void framesThatComeLateAreAnalysedToo();
    void packetsOfOtherStreamsAreLeftOut();
    void streamThatEndsIsSilent();
    void readErrorIsNotFatal();
    void streamMayGoOnInAnotherFormat();
    void planarSoundOfOneChannelIsAnalysed();
    void planarSoundOfTwoChannelsIsRefused();

private:
    InputScript wav(const QByteArray &pcm, int channels, int sampleRate = kRate) const;
    InputScript mp2(const QVector<QByteArray> &packets) const;

    std::unique_ptr<NestedDirectory> m_directory;
    std::unique_ptr<LogCapture> m_log;
};

void TestFFMpegAudioCapture::init()
{
    m_directory = std::make_unique<NestedDirectory>();
    m_log = std::make_unique<LogCapture>();
}

void TestFFMpegAudioCapture::cleanup()
{
    const QStringList lines = logged(*m_log);
    m_log.reset();
    m_directory.reset();
    QCOMPARE(lines, QStringList());
}

InputScript TestFFMpegAudioCapture::wav(const QByteArray &pcm, int channels, int sampleRate) const
{
    const QString path = m_directory->filePath("device.wav");
    return {writtenTo(path, wavFile(pcm, channels, sampleRate)), "wav"};
}

/// Its decoder gives planar sound.
InputScript TestFFMpegAudioCapture::mp2(const QVector<QByteArray> &packets) const
{
    QByteArray file;
    for (const QByteArray &packet : packets)
        file += packet;
    InputScript script{writtenTo(m_directory->filePath("device.mp2"), file), "mp3", true};
    script.read = reading(packets);
    return script;
}

void TestFFMpegAudioCapture::deviceIsAskedForByItsIndex()
{
    const ScriptedInput input({"sine=frequency=440"});
    ListenedCapture capture;
    QVERIFY(capture.init(3).result());
    QCOMPARE(input.formatName(), QString("avfoundation"));
    QCOMPARE(input.deviceName(), QString(":3"));
    QVERIFY(input.options().isEmpty());
    const QStringList setUp{"avformat_alloc_context",
                            "av_find_input_format",
                            "avformat_open_input",
                            "av_find_best_stream",
                            "avcodec_find_decoder",
                            "avcodec_alloc_context3",
                            "avcodec_parameters_to_context",
                            "avcodec_open2",
                            "av_frame_alloc",
                            "av_frame_get_buffer"};
    QCOMPARE(input.calls(), setUp);
}

void TestFFMpegAudioCapture::timerTicksOnceTheDeviceIsOpen()
{
    const ScriptedInput input({"sine=frequency=440"});
    ListenedCapture capture;
    const StartedTimers started(&capture);
    capture.init(0).waitForFinished();
    QVERIFY(timersOf(&capture).isEmpty()); // the event loop has not told of it
    QTRY_COMPARE(timersOf(&capture).size(), 1);
    QCOMPARE(started.all(), QVector<StartedTimer>({{15, Qt::CoarseTimer}}));
}

void TestFFMpegAudioCapture::blocksAreThoseOfTheDecodedSamples_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<int>("sampleRate");
    QTest::addColumn<quint64>("layout");

    QTest::newRow("mono") << 1 << 44100 << quint64(AV_CH_LAYOUT_MONO);
    QTest::newRow("stereo") << 2 << 48000 << quint64(AV_CH_LAYOUT_STEREO);
    // Packets of 682 and of 341 frames: the decoder's buffers end with padding.
    QTest::newRow("three channels, with padding") << 3 << 44100 << quint64(AV_CH_LAYOUT_2POINT1);
    QTest::newRow("six channels, with padding") << 6 << 8000 << quint64(AV_CH_LAYOUT_5POINT1_BACK);
}

void TestFFMpegAudioCapture::blocksAreThoseOfTheDecodedSamples()
{
    QFETCH(int, channels);
    QFETCH(int, sampleRate);
    QFETCH(quint64, layout);
    const QByteArray pcm = noise<int16_t>(channels * 10240, 1);
    const ScriptedInput input(wav(pcm, channels, sampleRate));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, 40));

    QCOMPARE(m_directory->dump(0), pcm);
    QCOMPARE(capture.blocks.size(), 5);
    QCOMPARE(values(capture.blocks), values(analysed(pcm, AV_SAMPLE_FMT_S16, sampleRate, layout)));
}

void TestFFMpegAudioCapture::toneIsFollowedByTheTimer()
{
    const ScriptedInput input({"sine=frequency=440:sample_rate=44100"});
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(capture.blocks.size() >= 3);
    for (const QVector<SoundChannel> &block : capture.blocks) {
        QCOMPARE(block.size(), 2);
        const auto louder = [](const Spectrum &a, const Spectrum &b) {
            return a.amplitude < b.amplitude;
        };
        const QVector<Spectrum> &bins = block[1].spectrums;
        // 440 ÷ 44100 · 2048 = 20.4
        QCOMPARE(std::max_element(bins.cbegin(), bins.cend(), louder) - bins.cbegin(), 20);
    }
}

void TestFFMpegAudioCapture::oneTickReadsOnePacket()
{
    const ScriptedInput input({"sine=frequency=440:samples_per_frame=4096"});
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(capture.nextFrame());
    QCOMPARE(input.calls().count("av_read_frame"), 1);
    QCOMPARE(capture.blocks.size(), 2);
    QVERIFY(capture.nextFrame());
    QCOMPARE(input.calls().count("av_read_frame"), 2);
    QCOMPARE(capture.blocks.size(), 4);
}

void TestFFMpegAudioCapture::allFramesOfAPacketAreAnalysed()
{
    const QVector<QByteArray> packets = encodedSilence(1, kRate, 8);
    QByteArray joined;
    for (const QByteArray &packet : packets)
        joined += packet;
    InputScript script = mp2(packets);
    script.read = reading({joined});
    const ScriptedInput input(script);
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(capture.nextFrame());
    QCOMPARE(packets.size(), 8);
    QCOMPARE(capture.blocks.size(), 8 * 1152 / 2048);
    QVERIFY(capture.nextFrame()); // nothing is left
    QCOMPARE(capture.blocks.size(), 8 * 1152 / 2048);
}

void TestFFMpegAudioCapture::framesThatComeLateAreAnalysedToo()
{
    const QByteArray pcm = noise<int16_t>(4 * 2048, 1);
    ScriptedInput input(wav(pcm, 1));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    input.fail("avcodec_receive_frame", AVERROR(EAGAIN));
    QVERIFY(capture.nextFrame());
    QCOMPARE(m_directory->dump(0), QByteArray("(no file)"));
    input.fail({}, 0);
    QVERIFY(readAll(capture, 4));
    QCOMPARE(m_directory->dump(0), pcm);
    QCOMPARE(capture.blocks.size(), 4);
}

void TestFFMpegAudioCapture::packetsOfOtherStreamsAreLeftOut()
{
    const QByteArray pcm = noise<int16_t>(2048, 1);
    InputScript script = wav(pcm, 1);
    int packets = 0;
    script.read = [&](AVPacket *packet) {
        const int code = fill(packet, pcm);
        packet->stream_index = packets++ % 2;
        return code;
    };
    const ScriptedInput input(script);
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, 6));
    QCOMPARE(input.calls().count("avcodec_send_packet"), 3);
    QCOMPARE(capture.blocks.size(), 3);
}

void TestFFMpegAudioCapture::streamThatEndsIsSilent()
{
    const ScriptedInput input(wav(noise<int16_t>(2048, 1), 1));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, 5));
    QCOMPARE(capture.blocks.size(), 1);
    QCOMPARE(input.openInputs(), 1);
}

void TestFFMpegAudioCapture::readErrorIsNotFatal()
{
    ScriptedInput input({"sine=samples_per_frame=2048"});
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QTRY_VERIFY(!capture.blocks.isEmpty());
    input.clearCalls();
    input.fail("av_read_frame", AVERROR(EIO));
    QTRY_VERIFY(input.calls().count("av_read_frame") >= 2);
    QCOMPARE(timersOf(&capture).size(), 1);
    input.fail({}, 0);
    const int before = capture.blocks.size();
    QTRY_VERIFY(capture.blocks.size() > before);
}

void TestFFMpegAudioCapture::streamMayGoOnInAnotherFormat()
{
    const QByteArray pcm = noise<int16_t>(5 * 1024, 1);
    InputScript script = wav(pcm, 1);
    int packets = 0;
    script.read = [&](AVPacket *packet) {
        const int code = fill(packet, pcm);
        return code == 0 && ++packets == 2 ? changeRate(packet, 48000) : code;
    };
    const ScriptedInput input(script);
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, 2));
    // The half of a block that the change cuts off is dropped.
    const Blocks before = analysed(pcm, AV_SAMPLE_FMT_S16, kRate, AV_CH_LAYOUT_MONO);
    const Blocks after = analysed(pcm, AV_SAMPLE_FMT_S16, 48000, AV_CH_LAYOUT_MONO);
    QCOMPARE(capture.blocks.size(), 4);
    QCOMPARE(values(capture.blocks), values(before) + values(after));
    QCOMPARE(m_directory->dump(0), pcm + pcm);
}

void TestFFMpegAudioCapture::planarSoundOfOneChannelIsAnalysed()
{
    const QVector<QByteArray> packets = encodedSilence(1, kRate, 8);
    const ScriptedInput input(mp2(packets));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, packets.size()));
    QCOMPARE(capture.blocks.size(), packets.size() * 1152 / 2048);
    const int bytesPerSample = m_directory->dump(0).size() / (packets.size() * 1152);
    QCOMPARE(m_directory->dump(0), QByteArray(packets.size() * 1152 * bytesPerSample, 0));
}

void TestFFMpegAudioCapture::planarSoundOfTwoChannelsIsRefused()
{
    const ScriptedInput input(mp2(encodedSilence(2, kRate, 8)));
    ListenedCapture capture;
    QVERIFY(capture.init(0).result());
    QVERIFY(readAll(capture, 8));
    QCOMPARE(capture.blocks.size(), 0);
    QCOMPARE(logged(*m_log),
             QStringList("critical|default|SpectrumAnalyzer::setInputFormat|"
                         "[SpectrumAnalyzer]: Planar sample formats are not "
                         "supported"));
    m_log->clear();
}

QTEST_GUILESS_MAIN(TestFFMpegAudioCapture)
#include "tst_ffmpegaudiocapture.moc"
