#include "QtAudioCapture.h"
#include "SpectrumMath_p.h"

AudioReader::AudioReader(QtAudioCapture *capture, QObject *parent)
    : QIODevice(parent)
    , m_capture(capture)
{
    qRegisterMetaType<QVector<SoundChannel>>("QVector<SoundChannel>");
}

AudioReader::~AudioReader() = default;

SpectrumAnalyzer &AudioReader::analyzer()
{
    return m_analyzer;
}

qint64 AudioReader::readData(char *, qint64)
{
    return 0;
}

qint64 AudioReader::writeData(const char *data, qint64 len)
{
    if (!data || len < 1 || m_isStopped)
        return 0;
    if (m_capture->isEmptyConnection())
        return len;

    QVector<QVector<QString>> peaks;
    const auto blocks = m_analyzer.handle(reinterpret_cast<const unsigned char *>(data), len);
    for (const QVector<SoundChannel> &block : blocks) {
        for (const SoundChannel &channel : block)
            peaks.append(corvane::peakTexts(channel));
        emit spectrumChanged(block);
    }
    emit channelPeakValuesChanged(peaks);
    return len;
}
