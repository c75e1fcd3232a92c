#include "CoreAudioRoom.h"
#include "SpectraListener.h"

#include <LibCorvane/audioCapturers/CoreAudioCapture.h>
#include <LibCorvane/audioCapturers/SpectrumAnalyzer.h>
#include <audioCapturers/PcmSignals.h>
#include <support/ConfigurationSupport.h>

#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <memory>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

using namespace corvane::test;

namespace {

constexpr int kRate = 44100;
constexpr int kBlockBytes = 4096;

/// What an analyser makes of the bytes when it takes them for mono.
QVector<Block> analysedAsMono(const QByteArray &bytes)
{
    SpectrumAnalyzer analyzer;
    analyzer.setInputFormat(AV_SAMPLE_FMT_S16, kRate, AV_CH_LAYOUT_MONO);
    return analyzer.handle(reinterpret_cast<const unsigned char *>(bytes.constData()),
                           bytes.size());
}

void finishEmissions()
{
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace

class TestCoreAudioCapture : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void secondInitDropsAPartialBlock();
    void buffersAreAppendedToTheDump();
    void dumpGrowsFromRunToRun();
    void unwritableDumpIsIgnored();
    void fullDiskIsIgnored();
    void shortCallbacksEmitNothing();
    void stereoIsReadAsMono();
    void leftAndRightAreSuccessiveSamples();
    void blocksFollowTheStream();
    void oddBuffers_data();
    void oddBuffers();
    void callbackWithoutBuffers();
    void callbackBeforeTheFormatIsSet();
    void callbackWithoutCapturer();
    void peaksAreNotEmitted();
    void queuedReceiverGetsBlocksOnItsThread();

private:
    std::unique_ptr<CoreAudioRoom> m_room;
};

void TestCoreAudioCapture::init()
{
    m_room = std::make_unique<CoreAudioRoom>();
}

void TestCoreAudioCapture::cleanup()
{
    const QStringList leftovers = m_room->leftovers();
    m_room.reset();
    QCOMPARE(leftovers, QStringList());
}

void TestCoreAudioCapture::secondInitDropsAPartialBlock()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 1);
    deliver(core().callback(), {bytes.mid(100)});
    QVERIFY(capture.init());
    deliver(core().callback(), {bytes});
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 1);
    QVERIFY(isSame(listener.blocks().first(), analysedAsMono(bytes).first()));
}

void TestCoreAudioCapture::buffersAreAppendedToTheDump()
{
    CoreAudioCapture capture;
    QVERIFY(capture.init());
    QByteArray expected;
    for (const int size : {4096, 0, 3, 10000, 1}) {
        const QByteArray first = noise<uint8_t>(size, unsigned(size));
        const QByteArray second = noise<uint8_t>(17, unsigned(size) + 1);
        QCOMPARE(deliver(core().callback(), {first, second}), OSStatus(noErr));
        expected += first + second;
        QCOMPARE(dump(), expected);
    }
}

void TestCoreAudioCapture::dumpGrowsFromRunToRun()
{
    QFile file("audio.pcm");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("earlier sound");
    file.close();
    for (int run = 0; run < 2; ++run) {
        CoreAudioCapture capture;
        QVERIFY(capture.init());
        deliver(core().callback(), {"1\n2\r\n"});
    }
    QCOMPARE(dump(), QByteArray("earlier sound1\n2\r\n1\n2\r\n"));
}

void TestCoreAudioCapture::unwritableDumpIsIgnored()
{
    QVERIFY(QDir().mkdir("audio.pcm"));
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 2);
    QCOMPARE(deliver(core().callback(), {bytes}), OSStatus(noErr));
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 1);
    QVERIFY(isSame(listener.blocks().first(), analysedAsMono(bytes).first()));
    QVERIFY(QDir("audio.pcm").isEmpty());
}

void TestCoreAudioCapture::fullDiskIsIgnored()
{
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 2);
    for (const int room : {0, 1, kBlockBytes - 1, kBlockBytes, kBlockBytes + 1}) {
        QFile::remove("audio.pcm");
        CoreAudioCapture capture;
        const SpectraListener listener(&capture);
        QVERIFY(capture.init());
        {
            const LowLimit fileSize(RLIMIT_FSIZE, rlim_t(room));
            for (int callbacks = 0; callbacks < 2; ++callbacks)
                QCOMPARE(deliver(core().callback(), {bytes}), OSStatus(noErr));
        }
        finishEmissions();
        QCOMPARE(listener.blocks().size(), 2);
        QVERIFY(isSame(listener.blocks().first(), analysedAsMono(bytes).first()));
        QCOMPARE(dump(), (bytes + bytes).left(room));
    }
}

void TestCoreAudioCapture::shortCallbacksEmitNothing()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 3);
    deliver(core().callback(), {bytes.left(kBlockBytes - 1)});
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 0);
    deliver(core().callback(), {bytes.right(1)});
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 1);
    QVERIFY(isSame(listener.blocks().first(), analysedAsMono(bytes).first()));
}

void TestCoreAudioCapture::stereoIsReadAsMono()
{
    constexpr double kBinHz = kRate / 2048.0;
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    const QByteArray sine = stereoSine(1024, kRate, 20 * kBinHz, 20 * kBinHz);
    deliver(core().callback(), {sine});
    finishEmissions();
    const QVector<Block> blocks = listener.blocks();
    QCOMPARE(blocks.size(), 1);
    QVERIFY(isSame(blocks.first(), analysedAsMono(sine).first()));
    // Two samples a frame: the tone takes twice as long.
    QCOMPARE(loudestBin(blocks.first()), 10);

    const Block block = blocks.first();
    QCOMPARE(block.size(), 2);
    QCOMPARE(block[0].channel, quint64(1));
    QCOMPARE(block[1].channel, quint64(2));
    QCOMPARE(block[0].spectrums.size(), 46);
    const SoundChannel right{block[1].spectrums, 1};
    QVERIFY(isSame({block[0]}, {right}));
}

void TestCoreAudioCapture::leftAndRightAreSuccessiveSamples()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    // Opposite channels are a tone at the Nyquist frequency, far above the bins, with side bands.
    QByteArray opposite = stereoSine(1024, kRate, 430, 430);
    auto *samples = reinterpret_cast<int16_t *>(opposite.data());
    for (int i = 1; i < 2048; i += 2)
        samples[i] = int16_t(-samples[i]);
    deliver(core().callback(), {opposite, stereoSine(1024, kRate, 430, 430)});
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 2);
    const auto loudest = [&](int block) {
        const Block channels = listener.blocks().at(block);
        return channels[0].spectrums[loudestBin(channels)].amplitude;
    };
    QVERIFY(loudest(0) < loudest(1) / 50);
}

void TestCoreAudioCapture::blocksFollowTheStream()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    const QByteArray bytes = noise<int16_t>(30 * kBlockBytes / 2 + 100, 4);
    // Blocks begin and end anywhere in buffers and callbacks.
    for (int at = 0; at < bytes.size(); at += 9000)
        deliver(core().callback(), {bytes.mid(at, 5000), bytes.mid(at + 5000, 4000)});
    finishEmissions();
    const QVector<Block> expected = analysedAsMono(bytes);
    QCOMPARE(expected.size(), 30);
    QCOMPARE(listener.blocks().size(), expected.size());
    for (int i = 0; i < expected.size(); ++i)
        QVERIFY2(isSame(listener.blocks().at(i), expected[i]), qPrintable(QString::number(i)));
}

void TestCoreAudioCapture::oddBuffers_data()
{
    QTest::addColumn<QVector<QByteArray>>("buffers");
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 5);
    QTest::newRow("a buffer without data is passed over")
        << QVector<QByteArray>{bytes.left(1000), {}, bytes.mid(1000)};
    QTest::newRow("an empty buffer is nothing")
        << QVector<QByteArray>{"", bytes.left(3), "", bytes.mid(3), ""};
    QTest::newRow("many buffers are one stream")
        << QVector<QByteArray>{bytes.left(1),     bytes.mid(1, 1),    bytes.mid(2, 2),
                               bytes.mid(4, 512), bytes.mid(516, 99), bytes.mid(615)};
}

void TestCoreAudioCapture::oddBuffers()
{
    QFETCH(QVector<QByteArray>, buffers);
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 5);
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    QCOMPARE(deliver(core().callback(), buffers), OSStatus(noErr));
    finishEmissions();
    QCOMPARE(dump(), bytes);
    QCOMPARE(listener.blocks().size(), 1);
    QVERIFY(isSame(listener.blocks().first(), analysedAsMono(bytes).first()));
}

void TestCoreAudioCapture::callbackWithoutBuffers()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    QCOMPARE(deliver(core().callback(), {}), OSStatus(noErr));
    QCOMPARE(CoreAudioCapture::captureCallback(&capture, nullptr, nullptr, 1, 512, nullptr),
             OSStatus(noErr));
    finishEmissions();
    QVERIFY(QFile::exists("audio.pcm"));
    QCOMPARE(dump(), QByteArray());
    QCOMPARE(listener.blocks().size(), 0);
}

void TestCoreAudioCapture::callbackBeforeTheFormatIsSet()
{
    const QByteArray bytes = noise<int16_t>(kBlockBytes / 2, 6);
    core().duringCall("AudioOutputUnitStart", [&] { deliver(core().callback(), {bytes}); });
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    finishEmissions();
    QCOMPARE(dump(), bytes);
    QCOMPARE(listener.blocks().size(), 0);
}

void TestCoreAudioCapture::callbackWithoutCapturer()
{
    QCOMPARE(deliver({&CoreAudioCapture::captureCallback, nullptr}, {"sound"}), OSStatus(noErr));
    auto capture = std::make_unique<CoreAudioCapture>();
    QVERIFY(capture->init());
    capture.reset();
    QCOMPARE(deliver(core().callback(), {"sound"}), OSStatus(noErr));
    QVERIFY(!QFile::exists("audio.pcm"));
}

void TestCoreAudioCapture::peaksAreNotEmitted()
{
    CoreAudioCapture capture;
    const QSignalSpy peaks(&capture, &IAudioCapture::channelsPeakValuesChanged);
    const SpectraListener listener(&capture);
    QVERIFY(capture.init());
    deliver(core().callback(), {noise<int16_t>(kBlockBytes, 7)});
    finishEmissions();
    QCOMPARE(listener.blocks().size(), 2);
    QCOMPARE(peaks.size(), 0);
}

void TestCoreAudioCapture::queuedReceiverGetsBlocksOnItsThread()
{
    CoreAudioCapture capture;
    const SpectraListener listener(&capture);
    QVector<Block> blocks;
    connect(&capture, &IAudioCapture::spectrumsChanged, this, [&](const Block &block) {
        QCOMPARE(QThread::currentThread(), thread());
        blocks << block;
    });
    QVERIFY(capture.init());
    const QByteArray bytes = noise<int16_t>(2 * kBlockBytes / 2, 8);
    deliver(core().callback(), {bytes});
    finishEmissions();
    QCOMPARE(blocks.size(), 0);
    QTRY_COMPARE(blocks.size(), 2);
    const QVector<Block> expected = analysedAsMono(bytes);
    QVERIFY(isSame(blocks[0], expected[0]));
    QVERIFY(isSame(blocks[1], expected[1]));
    QVERIFY(!listener.threads().contains(thread()));
}

QTEST_GUILESS_MAIN(TestCoreAudioCapture)
#include "tst_coreaudiocapture.moc"
