// FFmpeg's functions that the analyser calls are replaced by ones that fail where a test says so.

#include "PcmSignals.h"

#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>

#include <QTest>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

using namespace corvane::test;

namespace {

constexpr int kCode = -0x1a2b;
constexpr int kFrames = 2048;

/// The call that fails, as "function" or "function option"; empty when none does.
QString failingCall;

bool fails(const char *function)
{
    return failingCall == QLatin1String(function);
}

bool fails(const char *function, const char *option)
{
    return failingCall == QLatin1String(function) + ' ' + QLatin1String(option);
}

// More const since FFmpeg 7.
using ConvertOut = ArgumentOf<decltype(swr_convert), 1>;
using ConvertIn = ArgumentOf<decltype(swr_convert), 3>;

} // namespace

#define REAL(function) nextFunction<decltype(function)>(#function)

extern "C" {

SwrContext *swr_alloc()
{
    return fails("swr_alloc") ? nullptr : REAL(swr_alloc)();
}

int swr_init(SwrContext *context)
{
    return fails("swr_init") ? kCode : REAL(swr_init)(context);
}

int swr_convert(SwrContext *context, ConvertOut out, int outCount, ConvertIn in, int inCount)
{
    return fails("swr_convert") ? kCode : REAL(swr_convert)(context, out, outCount, in, inCount);
}

int av_opt_set_int(void *object, const char *name, int64_t value, int flags)
{
    return fails("av_opt_set_int", name) ? kCode : REAL(av_opt_set_int)(object, name, value, flags);
}

int av_opt_set_sample_fmt(void *object, const char *name, AVSampleFormat format, int flags)
{
    return fails("av_opt_set_sample_fmt", name)
        ? kCode
        : REAL(av_opt_set_sample_fmt)(object, name, format, flags);
}

AVFrame *av_frame_alloc()
{
    return fails("av_frame_alloc") ? nullptr : REAL(av_frame_alloc)();
}

int av_frame_get_buffer(AVFrame *frame, int align)
{
    return fails("av_frame_get_buffer") ? kCode : REAL(av_frame_get_buffer)(frame, align);
}

int av_frame_make_writable(AVFrame *frame)
{
    return fails("av_frame_make_writable") ? kCode : REAL(av_frame_make_writable)(frame);
}

} // extern "C"

// A layout is set as a structure since FFmpeg 5.1, and as a number before.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 28, 100)

#define INPUT_LAYOUT_CALL "av_opt_set_chlayout in_chlayout"
#define OUTPUT_LAYOUT_CALL "av_opt_set_chlayout out_chlayout"

extern "C" int av_opt_set_chlayout(void *object, const char *name, const AVChannelLayout *layout,
                                   int flags)
{
    return fails("av_opt_set_chlayout", name)
        ? kCode
        : REAL(av_opt_set_chlayout)(object, name, layout, flags);
}

#else

#define INPUT_LAYOUT_CALL "av_opt_set_int in_channel_layout"
#define OUTPUT_LAYOUT_CALL "av_opt_set_int out_channel_layout"

#endif

class TestSpectrumAnalyzerFaults : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void failedSetUpIsLoggedAndLeavesTheAnalyserIdle_data();
    void failedSetUpIsLoggedAndLeavesTheAnalyserIdle();
    void failedBlockIsLoggedAndLeftOut_data();
    void failedBlockIsLoggedAndLeftOut();

private:
    int completedBlocks(int count);

    SpectrumAnalyzer *m_analyzer = nullptr;
};

void TestSpectrumAnalyzerFaults::init()
{
    m_analyzer = new SpectrumAnalyzer;
}

void TestSpectrumAnalyzerFaults::cleanup()
{
    failingCall.clear();
    delete m_analyzer;
}

int TestSpectrumAnalyzerFaults::completedBlocks(int count)
{
    const QByteArray bytes = noise<int16_t>(count * 2 * kFrames, 1);
    return m_analyzer
        ->handle(reinterpret_cast<const unsigned char *>(bytes.constData()), bytes.size())
        .size();
}

void TestSpectrumAnalyzerFaults::failedSetUpIsLoggedAndLeavesTheAnalyserIdle_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("message");

    // −0x1a2b in base 16 is written as 64-bit two's complement.
    const QString code = " \"ffffffffffffe5d5\"";
    const auto option = [&](const QString &call, const QString &name) {
        return "[SpectrumAnalyzer]: Failed to set swrContext " + call + ", errCode: 0x" + name;
    };
    QTest::newRow("no resampler") << "swr_alloc"
                                  << "[SpectrumAnalyzer]: Failed to create swrContext";
    QTest::newRow("input layout") << INPUT_LAYOUT_CALL << option("in_channel_layout", code);
    QTest::newRow("input rate") << "av_opt_set_int in_sample_rate"
                                << option("in_sample_rate", code);
    QTest::newRow("input format") << "av_opt_set_sample_fmt in_sample_fmt"
                                  << option("in_sample_fmt", code);
    QTest::newRow("output layout") << OUTPUT_LAYOUT_CALL << option("out_channel_layout", code);
    QTest::newRow("output rate") << "av_opt_set_int out_sample_rate"
                                 << option("out_sample_rate", code);
    QTest::newRow("output format")
        << "av_opt_set_sample_fmt out_sample_fmt" << option("out_sample_fmt", code);
    QTest::newRow("initialisation") << "swr_init"
                                    << "[SpectrumAnalyzer]: Failed to init swrContext: 0x" + code;
    QTest::newRow("no cache frame") << "av_frame_alloc"
                                    << "[SpectrumAnalyzer]: Failed to call av_frame_alloc";
    QTest::newRow("cache frame's buffer")
        << "av_frame_get_buffer"
        << "[SpectrumAnalyzer]: Failed to get cache frame buffer: 0x" + code;
    QTest::newRow("read-only cache frame")
        << "av_frame_make_writable"
        << "[SpectrumAnalyzer]: Failed to make cache frame writable: 0x" + code;
}

void TestSpectrumAnalyzerFaults::failedSetUpIsLoggedAndLeavesTheAnalyserIdle()
{
    QFETCH(QString, call);
    QFETCH(QString, message);
    LogCapture log;
    m_analyzer->setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QCOMPARE(completedBlocks(1), 1);
    QCOMPARE(log.messages(), QStringList());

    failingCall = call;
    m_analyzer->setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    failingCall.clear();
    QCOMPARE(log.messages(), QStringList(message));
    QCOMPARE(log.lines().first().type, QtCriticalMsg);
    QVERIFY(log.lines().first().function.contains("SpectrumAnalyzer::setInputFormat("));
    log.clear();
    QCOMPARE(completedBlocks(2), 0);

    m_analyzer->setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QCOMPARE(completedBlocks(2), 2);
    QCOMPARE(log.messages(), QStringList());
}

void TestSpectrumAnalyzerFaults::failedBlockIsLoggedAndLeftOut_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("message");

    QTest::newRow("no frame") << "av_frame_alloc"
                              << "[SpectrumAnalyzer]: Failed to call av_frame_alloc in resample";
    QTest::newRow("no buffer") << "av_frame_get_buffer"
                               << "[SpectrumAnalyzer]: Failed to get frame buffer, errCode: -6699";
    QTest::newRow("read-only frame")
        << "av_frame_make_writable"
        << "[SpectrumAnalyzer]: Failed to make frame writable, errCode: -6699";
    QTest::newRow("conversion")
        << "swr_convert"
        << "[SpectrumAnalyzer]: Failed to resample the input data, errCode: -6699";
}

void TestSpectrumAnalyzerFaults::failedBlockIsLoggedAndLeftOut()
{
    QFETCH(QString, call);
    QFETCH(QString, message);
    LogCapture log;
    m_analyzer->setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    failingCall = call;
    QCOMPARE(completedBlocks(2), 0);
    failingCall.clear();
    QCOMPARE(log.messages(), QStringList({message, message}));
    QCOMPARE(log.lines().first().type, QtCriticalMsg);
    QVERIFY(log.lines().first().function.contains("SpectrumAnalyzer::resample("));
    log.clear();
    QCOMPARE(completedBlocks(2), 2);
    QCOMPARE(log.messages(), QStringList());
}

QTEST_APPLESS_MAIN(TestSpectrumAnalyzerFaults)
#include "tst_spectrumanalyzer_faults.moc"
