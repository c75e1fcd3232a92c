#include "PcmSignals.h"

#include <LibCorvane/audioCapturers/QtAudioCapture.h>
#include <support/LogCapture.h>

#include <QAudioFormat>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>

extern "C" {
#include <libavutil/channel_layout.h>
}

using namespace corvane::test;
using Peaks = QVector<QVector<QString>>;

namespace {

constexpr int kFrames = 2048;

void ignoreSpectra(QtAudioCapture &capture)
{
    QObject::connect(&capture, &IAudioCapture::spectrumsChanged, &capture,
                     [](const QVector<SoundChannel> &) {});
}

} // namespace

class TestAudioReader : public QObject {
    Q_OBJECT
private slots:
    void signalsAreDeclaredAsHostsKnowThem();
    void metaTypeIsRegisteredByName();
    void nothingIsReadFromIt();
    void emptyChunksAreNotTaken();
    void nobodyListening();
    void peakListenersAloneDoNotCount();
    void shortChunkGivesAnEmptyPeakList();
    void threeBlocksGiveSixPeakPairsInOrder();
    void silenceHasPeakTextsToo();
    void failedAnalyserStillReportsEmptyPeaks();
    void sampleFormats_data();
    void sampleFormats();
};

void TestAudioReader::signalsAreDeclaredAsHostsKnowThem()
{
    const QMetaObject &meta = IAudioCapture::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    const QMetaMethod spectra = meta.method(meta.methodOffset());
    QCOMPARE(spectra.methodSignature(), QByteArray("spectrumsChanged(QVector<SoundChannel>)"));
    QCOMPARE(spectra.parameterNames(), QList<QByteArray>{"spectrums"});
    const QMetaMethod peaks = meta.method(meta.methodOffset() + 1);
    QCOMPARE(peaks.methodSignature(),
             QByteArray("channelsPeakValuesChanged(QVector<QVector<QString> >)"));
    QCOMPARE(peaks.parameterNames(), QList<QByteArray>{"peaks"});
    QCOMPARE(meta.propertyCount(), QObject::staticMetaObject.propertyCount());
}

void TestAudioReader::metaTypeIsRegisteredByName()
{
    QtAudioCapture capture;
    const AudioReader reader(&capture);
    QVERIFY(QMetaType::type("QVector<SoundChannel>") != QMetaType::UnknownType);
}

void TestAudioReader::nothingIsReadFromIt()
{
    QtAudioCapture capture;
    AudioReader reader(&capture);
    char bytes[16];
    QCOMPARE(reader.readData(bytes, sizeof bytes), qint64(0));
    QCOMPARE(reader.readData(nullptr, 0), qint64(0));
}

void TestAudioReader::emptyChunksAreNotTaken()
{
    QtAudioCapture capture;
    ignoreSpectra(capture);
    AudioReader reader(&capture);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    QCOMPARE(reader.writeData(nullptr, 10), qint64(0));
    QCOMPARE(reader.writeData("", 0), qint64(0));
    QCOMPARE(reader.writeData("", -5), qint64(0));
    QCOMPARE(peaks.size(), 0);
}

void TestAudioReader::nobodyListening()
{
    QtAudioCapture capture;
    AudioReader reader(&capture);
    reader.analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const QSignalSpy spectra(&reader, &AudioReader::spectrumChanged);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    const QByteArray bytes = stereoSine(3 * kFrames, 44100, 440, 440);
    QVERIFY(capture.isEmptyConnection());
    QCOMPARE(reader.writeData(bytes.constData(), bytes.size()), qint64(bytes.size()));
    QCOMPARE(spectra.size(), 0);
    QCOMPARE(peaks.size(), 0);
}

void TestAudioReader::peakListenersAloneDoNotCount()
{
    QtAudioCapture capture;
    const QSignalSpy hostPeaks(&capture, &IAudioCapture::channelsPeakValuesChanged);
    AudioReader reader(&capture);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    QVERIFY(capture.isEmptyConnection());
    QCOMPARE(reader.writeData("abcd", 4), qint64(4));
    QCOMPARE(peaks.size(), 0);
    ignoreSpectra(capture);
    QVERIFY(!capture.isEmptyConnection());
    QCOMPARE(reader.writeData("abcd", 4), qint64(4));
    QCOMPARE(peaks.size(), 1);
}

void TestAudioReader::shortChunkGivesAnEmptyPeakList()
{
    QtAudioCapture capture;
    ignoreSpectra(capture);
    AudioReader reader(&capture);
    reader.analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const QSignalSpy spectra(&reader, &AudioReader::spectrumChanged);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    const QByteArray bytes = stereoSine(kFrames - 1, 44100, 440, 440);
    QCOMPARE(reader.writeData(bytes.constData(), bytes.size()), qint64(bytes.size()));
    QCOMPARE(spectra.size(), 0);
    QCOMPARE(peaks.size(), 1);
    QCOMPARE(peaks[0][0].value<Peaks>(), Peaks());
}

void TestAudioReader::threeBlocksGiveSixPeakPairsInOrder()
{
    QtAudioCapture capture;
    ignoreSpectra(capture);
    AudioReader reader(&capture);
    QVERIFY(reader.open(QIODevice::WriteOnly));
    reader.analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    QStringList order;
    QVector<QVector<SoundChannel>> blocks;
    Peaks peaks;
    connect(&reader, &AudioReader::spectrumChanged, this, [&](const QVector<SoundChannel> &block) {
        order << "spectrum";
        blocks << block;
    });
    connect(&reader, &AudioReader::channelPeakValuesChanged, this, [&](const Peaks &values) {
        order << "peaks";
        peaks = values;
    });

    // The second block's right channel and the third block's left channel are silent: above the
    // band.
    const QByteArray bytes = stereoSine(kFrames, 44100, 440, 220)
        + stereoSine(kFrames, 44100, 440, 5000) + stereoSine(kFrames, 44100, 5000, 440);
    QCOMPARE(reader.write(bytes), qint64(bytes.size()));

    QCOMPARE(order, QStringList({"spectrum", "spectrum", "spectrum", "peaks"}));
    QCOMPARE(peaks.size(), 6);
    for (int i = 0; i < 6; ++i) {
        const SoundChannel &channel = blocks[i / 2][i % 2];
        QCOMPARE(channel.channel, quint64(i % 2 + 1));
        float peak = 0;
        for (const Spectrum &spectrum : channel.spectrums)
            peak = qMax(peak, spectrum.amplitude);
        const float level = peak / 100;
        QCOMPARE(peaks[i],
                 (QVector<QString>{QString::number(level, 'f', 3),
                                   QString::number(10 * std::log(level), 'f', 3)}));
        const bool silent = i == 3 || i == 4;
        QCOMPARE(level < 0.01F, silent);
    }
}

void TestAudioReader::silenceHasPeakTextsToo()
{
    QtAudioCapture capture;
    ignoreSpectra(capture);
    AudioReader reader(&capture);
    reader.analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, AV_CH_LAYOUT_STEREO);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    const QByteArray bytes(kFrames * 4, '\0');
    reader.writeData(bytes.constData(), bytes.size());
    const QVector<QString> silent{"0.000", "-inf"};
    QCOMPARE(peaks.size(), 1);
    QCOMPARE(peaks[0][0].value<Peaks>(), Peaks({silent, silent}));
}

void TestAudioReader::failedAnalyserStillReportsEmptyPeaks()
{
    QtAudioCapture capture;
    ignoreSpectra(capture);
    AudioReader reader(&capture);
    {
        const LogCapture log;
        reader.analyzer().setInputFormat(AV_SAMPLE_FMT_S16, 44100, 0);
        QCOMPARE(log.messages(QtCriticalMsg).size(), 1);
    }
    const QSignalSpy spectra(&reader, &AudioReader::spectrumChanged);
    const QSignalSpy peaks(&reader, &AudioReader::channelPeakValuesChanged);
    const QByteArray bytes(3 * kFrames * 4, '\1');
    QCOMPARE(reader.writeData(bytes.constData(), bytes.size()), qint64(bytes.size()));
    QCOMPARE(spectra.size(), 0);
    QCOMPARE(peaks.size(), 1);
    QCOMPARE(peaks[0][0].value<Peaks>(), Peaks());
}

void TestAudioReader::sampleFormats_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("bits");
    QTest::addColumn<int>("expected");

    for (const int type : {QAudioFormat::Unknown, QAudioFormat::SignedInt,
                           QAudioFormat::UnSignedInt, QAudioFormat::Float}) {
        for (const int bits : {-1, 0, 8, 16, 24, 32, 64}) {
            int expected = AV_SAMPLE_FMT_NONE;
            if (type == QAudioFormat::SignedInt && bits == 16)
                expected = AV_SAMPLE_FMT_S16;
            if (type == QAudioFormat::SignedInt && bits == 32)
                expected = AV_SAMPLE_FMT_S32;
            if (type == QAudioFormat::UnSignedInt && bits == 8)
                expected = AV_SAMPLE_FMT_U8;
            if (type == QAudioFormat::Float && bits == 32)
                expected = AV_SAMPLE_FMT_FLT;
            if (type == QAudioFormat::Float && bits == 64)
                expected = AV_SAMPLE_FMT_DBL;
            QTest::addRow("sample type %d with %d bits", type, bits) << type << bits << expected;
        }
    }
}

void TestAudioReader::sampleFormats()
{
    QFETCH(int, type);
    QFETCH(int, bits);
    QAudioFormat format;
    format.setSampleType(static_cast<QAudioFormat::SampleType>(type));
    format.setSampleSize(bits);
    for (const QAudioFormat::Endian order : {QAudioFormat::LittleEndian, QAudioFormat::BigEndian}) {
        format.setByteOrder(order);
        QTEST(int(convertToFFmpegSampleFormat(format)), "expected");
    }
}

QTEST_GUILESS_MAIN(TestAudioReader)
#include "tst_audioreader.moc"
