// A host that destroys what takes sound with a part of a block in it, at any moment of the writing.

#include <LibCorvane/audioCapturers/QtAudioCapture.h>
#include <support/Destruction.h>

#include <QDeadlineTimer>
#include <QPointer>
#include <QThread>

#include <atomic>
#include <memory>
#include <random>

extern "C" {
#include <libavutil/channel_layout.h>
}

using namespace corvane::test;

namespace {

constexpr int kTimeoutMs = 30000;
constexpr int kBlockBytes = 2048 * 2 * 2; // stereo, 16 bit

/// Writes to a reader on the thread that both live on, until the reader is gone.
class Feeder : public QObject {
public:
    Feeder(AudioReader *reader, unsigned seed)
        : m_reader(reader)
        , m_random(seed)
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { feed(); });
    }

    void start() { m_timer.start(0); }
    qint64 written() const { return m_written; }

private:
    void feed()
    {
        if (!m_reader)
            return m_timer.stop();
        const QByteArray chunk(int(m_random() % (2 * kBlockBytes)), '\1');
        m_reader->write(chunk);
        m_written += chunk.size();
    }

    QPointer<AudioReader> m_reader;
    std::mt19937 m_random;
    QTimer m_timer{this};
    std::atomic<qint64> m_written{0};
};

std::unique_ptr<AudioReader> makeReader(QtAudioCapture &capture)
{
    auto reader = std::make_unique<AudioReader>(&capture);
    reader->analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    reader->open(QIODevice::WriteOnly);
    return reader;
}

/// Or nothing would be analysed.
void listenTo(QtAudioCapture &capture)
{
    QObject::connect(&capture, &IAudioCapture::spectrumsChanged, &capture, [] {});
}

} // namespace

class TestReaderDestruction : public QObject {
    Q_OBJECT
private slots:
    void readerGoesWhileItIsWrittenTo_data() { addSeeds(20); }
    void readerGoesWhileItIsWrittenTo();
    void readerTakesHalfABlockWithIt();
    void analyserTakesHalfABlockWithIt();
};

void TestReaderDestruction::readerGoesWhileItIsWrittenTo()
{
    QFETCH(unsigned, seed);
    QtAudioCapture capture;
    listenTo(capture);
    QPointer<AudioReader> reader(makeReader(capture).release());
    std::atomic<int> blocks{0};
    const int last = 1 + int(seed % 7);
    connect(
        reader, &AudioReader::spectrumChanged, reader,
        [&blocks, last, gone = reader.data(), isInSlot = seed % 2 == 0] {
            if (++blocks == last && isInSlot)
                gone->deleteLater();
        },
        Qt::DirectConnection);
    Feeder feeder(reader, seed);
    QThread thread;
    reader->moveToThread(&thread);
    feeder.moveToThread(&thread);
    connect(&thread, &QThread::started, &feeder, &Feeder::start);
    connect(reader, &QObject::destroyed, &thread, &QThread::quit, Qt::DirectConnection);
    thread.start();
    while (blocks < last)
        QThread::yieldCurrentThread();
    if (seed % 2 == 1)
        reader->deleteLater();
    QVERIFY(thread.wait(QDeadlineTimer(kTimeoutMs)));
    QVERIFY(!reader);
    QCOMPARE(qint64(blocks), feeder.written() / kBlockBytes);
}

void TestReaderDestruction::readerTakesHalfABlockWithIt()
{
    QtAudioCapture capture;
    listenTo(capture);
    const QByteArray half(kBlockBytes / 2, '\1');
    int blocks = 0;
    for (int i = 0; i < 5; ++i) {
        const auto reader = makeReader(capture);
        connect(reader.get(), &AudioReader::spectrumChanged, this, [&] { ++blocks; });
        for (int part = 0; part < 3; ++part)
            reader->write(half);
        QCOMPARE(blocks, i + 1);
    }
}

void TestReaderDestruction::analyserTakesHalfABlockWithIt()
{
    const QByteArray half(kBlockBytes / 2, '\1');
    const auto *bytes = reinterpret_cast<const unsigned char *>(half.constData());
    for (int i = 0; i < 5; ++i) {
        SpectrumAnalyzer analyzer;
        analyzer.setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
        QCOMPARE(analyzer.handle(bytes, half.size()).size(), 0);
        QCOMPARE(analyzer.handle(bytes, half.size()).size(), 1);
        QCOMPARE(analyzer.handle(bytes, half.size()).size(), 0);
    }
}

QTEST_GUILESS_MAIN(TestReaderDestruction)
#include "tst_readerdestruction.moc"
