#include "AnalyzedBlocks.h"
#include "PcmSignals.h"

#include <LibCorvane/common/FFmpegHandles_p.h>
#include <LibCorvane/common/FFmpegLayout_p.h>
#include <support/LogCapture.h>

#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

using namespace corvane::test;

static_assert(!std::is_copy_constructible_v<SpectrumAnalyzer>);

namespace {

/// What FFmpeg's resampler says to the format NONE: 5.1 takes it, 7.1 does not.
int initForTheFormatNone()
{
    const corvane::ResamplerHandle resampler(swr_alloc());
    for (const auto side : {corvane::ResamplerSide::Input, corvane::ResamplerSide::Output})
        corvane::setResamplerLayout(resampler.get(), side, AV_CH_LAYOUT_STEREO);
    av_opt_set_int(resampler.get(), "in_sample_rate", 44100, 0);
    av_opt_set_int(resampler.get(), "out_sample_rate", 44100, 0);
    av_opt_set_sample_fmt(resampler.get(), "in_sample_fmt", AV_SAMPLE_FMT_NONE, 0);
    av_opt_set_sample_fmt(resampler.get(), "out_sample_fmt", AV_SAMPLE_FMT_S16, 0);
    return swr_init(resampler.get());
}

bool equal(const Blocks &a, const Blocks &b)
{
    const auto sameSpectrum = [](const Spectrum &x, const Spectrum &y) {
        return x.frequency == y.frequency && x.amplitude == y.amplitude && x.decibel == y.decibel;
    };
    const auto sameChannel = [&](const SoundChannel &x, const SoundChannel &y) {
        return x.channel == y.channel
            && std::equal(x.spectrums.begin(), x.spectrums.end(), y.spectrums.begin(),
                          y.spectrums.end(), sameSpectrum);
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](const auto &x, const auto &y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(), sameChannel);
    });
}

int loudestBin(const SoundChannel &channel)
{
    int loudest = 0;
    for (int i = 0; i < channel.spectrums.size(); ++i) {
        if (channel.spectrums[i].amplitude > channel.spectrums[loudest].amplitude)
            loudest = i;
    }
    return loudest;
}

} // namespace

class TestSpectrumAnalyzer : public QObject {
    Q_OBJECT
private slots:
    void chunkSizeDoesNotMatter_data();
    void chunkSizeDoesNotMatter();
    void incompleteBlockWaitsForTheRest();
    void threeBlocksAtOnceComeInStreamOrder();
    void monoGivesTwoIdenticalChannels();
    void bandAt44100Hz();
    void bandAt48000Hz();
    void rateBelowTheBandIsClamped_data();
    void rateBelowTheBandIsClamped();
    void silenceIsZeroAndMinusInfinity();
    void strengthScalesAmplitudes();
    void newFormatDropsThePartialBlock();
    void formatMayChangeAtAnyTime();
    void withoutFormatNothingIsReturnedOrLogged();
    void badBytesAreIgnored();
    void refusedFormats_data();
    void refusedFormats();
};

void TestSpectrumAnalyzer::chunkSizeDoesNotMatter_data()
{
    QTest::addColumn<int>("chunk");
    constexpr int block = kFrames * 4;
    for (const int chunk :
         {1, 2, 3, 5, 7, 64, 1000, 2048, block - 1, block, block + 1, 2 * block, 3 * block})
        QTest::addRow("%d bytes", chunk) << chunk;
}

void TestSpectrumAnalyzer::chunkSizeDoesNotMatter()
{
    QFETCH(int, chunk);
    constexpr int block = kFrames * 4;
    const QByteArray bytes = noise<int16_t>(7 * kFrames * 2 + 246, 11);

    SpectrumAnalyzer whole;
    whole.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const Blocks expected = analyse(whole, bytes);
    QCOMPARE(expected.size(), 7);

    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    Blocks blocks;
    for (int at = 0; at < bytes.size(); at += chunk) {
        const QByteArray piece = bytes.mid(at, chunk);
        const Blocks completed = analyse(analyzer, piece);
        QCOMPARE(completed.size(), (at + piece.size()) / block - at / block);
        blocks += completed;
    }
    QVERIFY(equal(blocks, expected));
}

void TestSpectrumAnalyzer::incompleteBlockWaitsForTheRest()
{
    const QByteArray bytes = stereoSine(kFrames, 44100, 440, 440);
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QVERIFY(analyse(analyzer, bytes.left(bytes.size() - 1)).isEmpty());
    QCOMPARE(analyse(analyzer, bytes.right(1)).size(), 1);
    QVERIFY(analyse(analyzer, bytes.left(bytes.size() - 1)).isEmpty());
}

void TestSpectrumAnalyzer::threeBlocksAtOnceComeInStreamOrder()
{
    const QByteArray bytes = stereoSine(kFrames, 44100, 220, 880)
        + stereoSine(kFrames, 44100, 440, 660) + stereoSine(kFrames, 44100, 880, 220);
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const Blocks blocks = analyse(analyzer, bytes);
    QCOMPARE(blocks.size(), 3);
    const int expected[3][2] = {{10, 41}, {20, 31}, {41, 10}}; // round(Hz ÷ 44100 · 2048)
    for (int block = 0; block < 3; ++block) {
        QCOMPARE(blocks[block][0].channel, quint64(AV_CH_FRONT_LEFT));
        QCOMPARE(blocks[block][1].channel, quint64(AV_CH_FRONT_RIGHT));
        QCOMPARE(loudestBin(blocks[block][0]), expected[block][0]);
        QCOMPARE(loudestBin(blocks[block][1]), expected[block][1]);
    }
}

void TestSpectrumAnalyzer::monoGivesTwoIdenticalChannels()
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_FRONT_CENTER);
    const Blocks blocks = analyse(analyzer, noise<int16_t>(kFrames, 3));
    QCOMPARE(blocks.size(), 1);
    QVERIFY(blocks[0][0].spectrums[20].amplitude > 0.0F);
    for (int i = 0; i < 46; ++i)
        QCOMPARE(blocks[0][0].spectrums[i].amplitude, blocks[0][1].spectrums[i].amplitude);
}

void TestSpectrumAnalyzer::bandAt44100Hz()
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const Blocks blocks = analyse(analyzer, noise<int16_t>(2 * kFrames, 3));
    const QVector<Spectrum> &spectrums = blocks[0][0].spectrums;
    QCOMPARE(spectrums.size(), 46);
    QCOMPARE(spectrums.first().frequency, 0.0F);
    QVERIFY(std::abs(spectrums.last().frequency - 1936.0976F) < 0.001F);
}

void TestSpectrumAnalyzer::bandAt48000Hz()
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 48000, AV_CH_LAYOUT_STEREO);
    const Blocks blocks = analyse(analyzer, noise<int16_t>(2 * kFrames, 3));
    QCOMPARE(blocks[0][0].spectrums.size(), 42);
}

void TestSpectrumAnalyzer::rateBelowTheBandIsClamped_data()
{
    QTest::addColumn<int>("rate");
    QTest::addColumn<int>("bins");
    QTest::newRow("1999 Hz ends at bin 1024") << 1999 << 1004;
    QTest::newRow("1000 Hz ends at bin 1024") << 1000 << 984;
    QTest::newRow("40 Hz begins and ends at bin 1024") << 40 << 0;
    QTest::newRow("1 Hz lies below the band") << 1 << 0;
}

void TestSpectrumAnalyzer::rateBelowTheBandIsClamped()
{
    QFETCH(int, rate);
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, rate, AV_CH_LAYOUT_STEREO);
    const Blocks blocks = analyse(analyzer, noise<int16_t>(2 * kFrames, 3));
    QCOMPARE(blocks.size(), 1);
    QTEST(blocks[0][0].spectrums.size(), "bins");
    QTEST(blocks[0][1].spectrums.size(), "bins");
}

void TestSpectrumAnalyzer::silenceIsZeroAndMinusInfinity()
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const Blocks blocks = analyse(analyzer, QByteArray(kFrames * 4, '\0'));
    QCOMPARE(blocks.size(), 1);
    for (const SoundChannel &channel : blocks[0]) {
        QCOMPARE(channel.spectrums.size(), 46);
        for (const Spectrum &spectrum : channel.spectrums) {
            QCOMPARE(spectrum.amplitude, 0.0F);
            QCOMPARE(spectrum.decibel, -std::numeric_limits<float>::infinity());
        }
    }
}

void TestSpectrumAnalyzer::strengthScalesAmplitudes()
{
    const QByteArray bytes = noise<int16_t>(2 * kFrames, 3);
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const float plain = analyse(analyzer, bytes)[0][0].spectrums[20].amplitude;
    const auto amplitudeAt = [&](double strength) {
        analyzer.setStrength(strength);
        return analyse(analyzer, bytes)[0][0].spectrums[20].amplitude;
    };
    QVERIFY(plain > 0.0F);
    QCOMPARE(amplitudeAt(0.5), 2 * plain);
    QCOMPARE(amplitudeAt(2.0), plain);
    QCOMPARE(amplitudeAt(0.25), 4 * plain);
    QCOMPARE(amplitudeAt(-1.0), plain);
    QCOMPARE(amplitudeAt(0.0), plain);
}

void TestSpectrumAnalyzer::newFormatDropsThePartialBlock()
{
    const QByteArray bytes = stereoSine(kFrames, 44100, 440, 440);
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QVERIFY(analyse(analyzer, bytes.left(1000)).isEmpty());
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QVERIFY(analyse(analyzer, bytes.mid(1000)).isEmpty());
    QCOMPARE(analyse(analyzer, bytes.left(1000)).size(), 1);
}

void TestSpectrumAnalyzer::formatMayChangeAtAnyTime()
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QCOMPARE(analyse(analyzer, noise<int16_t>(2 * kFrames, 1))[0][0].spectrums.size(), 46);
    analyzer.setInputFormat(AV_SAMPLE_FMT_DBL, 48000, AV_CH_LAYOUT_7POINT1);
    QCOMPARE(analyse(analyzer, noise<double>(8 * kFrames, 1))[0][0].spectrums.size(), 42);
    analyzer.setInputFormat(AV_SAMPLE_FMT_U8, 8000, AV_CH_LAYOUT_MONO);
    QCOMPARE(analyse(analyzer, noise<uint8_t>(kFrames, 1))[0][0].spectrums.size(), 251);
}

void TestSpectrumAnalyzer::withoutFormatNothingIsReturnedOrLogged()
{
    const LogCapture log;
    SpectrumAnalyzer analyzer;
    QVERIFY(analyse(analyzer, noise<int16_t>(4 * kFrames, 1)).isEmpty());
    QCOMPARE(log.messages(), QStringList());
}

void TestSpectrumAnalyzer::badBytesAreIgnored()
{
    const LogCapture log;
    const QByteArray bytes = noise<int16_t>(2 * kFrames, 1);
    const auto *data = reinterpret_cast<const unsigned char *>(bytes.constData());
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QVERIFY(analyzer.handle(nullptr, bytes.size()).isEmpty());
    QVERIFY(analyzer.handle(data, 0).isEmpty());
    QVERIFY(analyzer.handle(data, -1).isEmpty());
    QCOMPARE(analyzer.handle(data, bytes.size()).size(), 1);
    QCOMPARE(log.messages(), QStringList());
}

void TestSpectrumAnalyzer::refusedFormats_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("rate");
    QTest::addColumn<quint64>("layout");
    QTest::addColumn<QString>("message");

    const quint64 stereo = AV_CH_LAYOUT_STEREO;
    const char *const rejecting =
        initForTheFormatNone() < 0 ? "init swrContext" : "get cache frame buffer";
    QTest::newRow("the format NONE is rejected by the cache frame if the resampler takes it")
        << int(AV_SAMPLE_FMT_NONE) << 44100 << stereo
        << QString("[SpectrumAnalyzer]: Failed to %1: 0x \"ffffffffffffffea\"").arg(rejecting);
    QTest::newRow("an unknown format")
        << int(AV_SAMPLE_FMT_NB) << 44100 << stereo
        << "[SpectrumAnalyzer]: Failed to set swrContext in_sample_fmt, errCode: 0x "
           "\"ffffffffffffffde\"";
    for (const int number : {99, -2, std::numeric_limits<int>::max()})
        QTest::addRow("a number that the enumeration of formats cannot hold: %d", number)
            << number << 44100 << stereo
            << "[SpectrumAnalyzer]: Failed to set swrContext in_sample_fmt, errCode: 0x "
               "\"ffffffffffffffde\"";
    QTest::newRow("a negative rate")
        << int(AV_SAMPLE_FMT_S16) << -1 << stereo
        << "[SpectrumAnalyzer]: Failed to set swrContext in_sample_rate, errCode: 0x "
           "\"ffffffffffffffde\"";
    QTest::newRow("no channel") << int(AV_SAMPLE_FMT_S16) << 44100 << quint64(0)
                                << "[SpectrumAnalyzer]: Failed to init swrContext: 0x "
                                   "\"ffffffffffffffea\"";
    QTest::newRow("a layout that cannot be mixed to stereo")
        << int(AV_SAMPLE_FMT_S16) << 44100 << quint64(AV_CH_BACK_LEFT | AV_CH_BACK_RIGHT)
        << "[SpectrumAnalyzer]: Failed to init swrContext: 0x \"ffffffffffffffea\"";
    QTest::newRow("planar stereo") << int(AV_SAMPLE_FMT_FLTP) << 44100 << stereo
                                   << "[SpectrumAnalyzer]: Planar sample formats are not supported";
}

void TestSpectrumAnalyzer::refusedFormats()
{
    QFETCH(int, format);
    QFETCH(int, rate);
    QFETCH(quint64, layout);
    QFETCH(QString, message);
    LogCapture log;
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    analyzer.setInputFormat(format, rate, layout);
    QCOMPARE(log.messages(QtCriticalMsg), QStringList(message));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().category, QString("default"));
    QVERIFY(log.lines().first().function.contains("SpectrumAnalyzer::setInputFormat("));

    log.clear();
    const QByteArray bytes = noise<double>(8 * kFrames, 1);
    QVERIFY(analyse(analyzer, bytes).isEmpty());
    QCOMPARE(log.messages(), QStringList());
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QCOMPARE(analyse(analyzer, bytes.left(4 * kFrames)).size(), 1);
}

QTEST_APPLESS_MAIN(TestSpectrumAnalyzer)
#include "tst_spectrumanalyzer.moc"
