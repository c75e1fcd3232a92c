#include "QtAudioCapture.h"

#include "../common/FFmpegLayout_p.h"

#include <QAudioFormat>
#include <QAudioInput>
#include <QDebug>
#include <QMetaMethod>
#include <QPointer>
#include <QThread>

namespace {

/// Small, so that the chunks (and with them the spectra) come often.
constexpr int kInputBufferBytes = 2048;

} // namespace

AVSampleFormat convertToFFmpegSampleFormat(const QAudioFormat &format)
{
    const int bits = format.sampleSize();
    switch (format.sampleType()) {
    case QAudioFormat::SignedInt:
        return bits == 16 ? AV_SAMPLE_FMT_S16 : bits == 32 ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_NONE;
    case QAudioFormat::UnSignedInt:
        return bits == 8 ? AV_SAMPLE_FMT_U8 : AV_SAMPLE_FMT_NONE;
    case QAudioFormat::Float:
        return bits == 32 ? AV_SAMPLE_FMT_FLT : bits == 64 ? AV_SAMPLE_FMT_DBL : AV_SAMPLE_FMT_NONE;
    case QAudioFormat::Unknown:
        break;
    }
    return AV_SAMPLE_FMT_NONE;
}

QtAudioCapture::QtAudioCapture(QObject *parent)
    : IAudioCapture(parent)
    , m_thread(new QThread)
    , m_worker(new QObject)
{
    m_worker->moveToThread(m_thread);
    connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread->start(QThread::InheritPriority);
}

QtAudioCapture::~QtAudioCapture()
{
    stop();
    if (m_thread->isRunning()) {
        m_thread->quit();
        m_thread->wait();
    }
    m_thread->deleteLater();
}

bool QtAudioCapture::start(const QAudioDeviceInfo &device)
{
    m_deviceInfo = device;
    start();
    return true;
}

void QtAudioCapture::start()
{
    stop();
    const QAudioFormat format = m_deviceInfo.preferredFormat();
    createPipeline(format);

    const AVSampleFormat sampleFormat = convertToFFmpegSampleFormat(format);
    if (sampleFormat == AV_SAMPLE_FMT_NONE) {
        qCritical() << "[QtAudioCapture]: Unknown sample format";
        return;
    }
    m_reader->analyzer().setInputFormat(sampleFormat, format.sampleRate(),
                                        corvane::defaultLayoutMask(format.channelCount()));
    if (!m_reader->open(QIODevice::WriteOnly)) {
        // The class has another name; hosts know this text.
        qCritical() << "[QtAudioCapture]: Failed to open the QtAudioReader instance";
        return;
    }
    runOnWorker([this] { m_audioInput->start(m_reader); });
}

void QtAudioCapture::stop()
{
    if (!m_audioInput)
        return;
    // Qt's PulseAudio back-end writes until nothing is left: on a busy machine, without end.
    m_reader->m_isStopped = true;
    runOnWorker([this] { m_audioInput->stop(); });
    m_audioInput->deleteLater();
    m_audioInput = nullptr;
}

bool QtAudioCapture::isEmptyConnection() const
{
    static const QMetaMethod spectra = QMetaMethod::fromSignal(&IAudioCapture::spectrumsChanged);
    return !isSignalConnected(spectra);
}

void QtAudioCapture::createPipeline(const QAudioFormat &format)
{
    // Qt's back-ends keep timers in objects that do not move with the input, so the input is born
    // where it runs.
    runOnWorker([this, &format] {
        m_audioInput = new QAudioInput(m_deviceInfo, format, nullptr);
        m_audioInput->setBufferSize(kInputBufferBytes);
        connect(m_thread, &QThread::finished, m_audioInput, &QObject::deleteLater);
    });

    m_reader = new AudioReader(this);
    m_reader->moveToThread(m_thread);
    connect(m_thread, &QThread::finished, m_reader, &QObject::deleteLater);
    forwardSignals(m_reader);
    releaseWithInput(m_reader);
}

void QtAudioCapture::forwardSignals(AudioReader *reader)
{
    // What was on its way when the recording stopped is dropped: a stopped capturer is silent.
    connect(
        reader, &AudioReader::spectrumChanged, this,
        [this, reader](const QVector<SoundChannel> &spectrums) {
            if (isRecordingInto(reader))
                emit spectrumsChanged(spectrums);
        },
        Qt::QueuedConnection);
    connect(
        reader, &AudioReader::channelPeakValuesChanged, this,
        [this, reader](const QVector<QVector<QString>> &peaks) {
            if (isRecordingInto(reader))
                emit channelsPeakValuesChanged(peaks);
        },
        Qt::QueuedConnection);
}

bool QtAudioCapture::isRecordingInto(const AudioReader *reader) const
{
    return m_audioInput && m_reader == reader;
}

void QtAudioCapture::releaseWithInput(AudioReader *reader)
{
    // By then start() may have made another reader: only the input's own one goes with it.
    connect(
        m_audioInput, &QObject::destroyed, this,
        [this, reader = QPointer<AudioReader>(reader)] {
            if (!reader)
                return;
            reader->close();
            reader->deleteLater();
            if (m_reader == reader)
                m_reader = nullptr;
        },
        Qt::QueuedConnection);
}

void QtAudioCapture::runOnWorker(const std::function<void()> &operation)
{
    QMetaObject::invokeMethod(m_worker, operation, Qt::BlockingQueuedConnection);
}
