#include "FFMpegAudioCapture.h"

#include "../common/FFmpegInput_p.h"
#include "SpectrumAnalyzer.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFile>
#include <QFutureWatcher>
#include <QPointer>
#include <QThreadPool>
#include <QTimerEvent>
#include <QtConcurrentRun>

#include <mutex>

using corvane::MediaInput;

namespace {

constexpr int kTickMs = 15;
constexpr int kNoTimer = -1;
constexpr qint64 kLastDumpedMs = 9999;

/// Hands the opened device from the pool's thread over to the capturer's. Whoever lets go of it
/// last closes a device that nobody has taken.
class Handover {
public:
    void put(std::shared_ptr<MediaInput> media)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_media = std::move(media);
    }
    std::shared_ptr<MediaInput> take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::move(m_media);
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<MediaInput> m_media;
};

struct PcmFormat {
    int sampleFormat = AV_SAMPLE_FMT_NONE;
    int sampleRate = 0;
    uint64_t layout = 0;

    bool operator==(const PcmFormat &other) const noexcept
    {
        return sampleFormat == other.sampleFormat && sampleRate == other.sampleRate
            && layout == other.layout;
    }
};

PcmFormat formatOf(const AVFrame &frame)
{
    return {frame.format, frame.sample_rate, corvane::frameLayoutMask(&frame)};
}

/// The samples in the first plane, without the padding that its line size includes.
qint64 sampleBytes(const AVFrame &frame)
{
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const int channels = av_sample_fmt_is_planar(format) ? 1 : corvane::frameChannelCount(&frame);
    return qint64(frame.nb_samples) * channels * av_get_bytes_per_sample(format);
}

bool openInput(MediaInput &media, int deviceIndex)
{
    corvane::UnopenedInputHandle context(avformat_alloc_context());
    if (!context)
        return false;
    context->iformat = corvane::avfoundationFormat();
    // No video device, and the sound device of that index.
    return corvane::openInput(media, std::move(context), QString(":%1").arg(deviceIndex)) >= 0;
}

/// A frame of the decoder's format. Decoders of PCM name no frame size, and then there is no
/// buffer; only the format is needed.
corvane::FrameHandle makeFrame(const AVCodecContext &decoder)
{
    corvane::FrameHandle frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->sample_rate = decoder.sample_rate;
    corvane::setFrameLayout(frame.get(), corvane::decoderLayoutMask(&decoder));
    frame->format = decoder.sample_fmt;
    frame->nb_samples = decoder.frame_size;
    av_frame_get_buffer(frame.get(), 0);
    return frame;
}

bool openDecoder(MediaInput &media, const AVCodec *codec)
{
    if (corvane::makeDecoder(media, codec) < 0
        || avcodec_open2(media.decoder.get(), codec, nullptr) < 0)
        return false;
    media.frame = makeFrame(*media.decoder);
    return media.frame != nullptr;
}

/// Null, or the line to log for the step that failed.
const char *openDevice(MediaInput &media, int deviceIndex)
{
    if (!openInput(media, deviceIndex))
        return "[FFMpegAudioCapture]: Failed to open avfoundation device";
    if (!corvane::findStream(media, AVMEDIA_TYPE_AUDIO))
        return "[FFMpegAudioCapture]: Failed to find audio stream";
    const AVCodec *codec = corvane::findDecoder(media);
    if (!codec)
        return "[FFMpegAudioCapture]: Not found codec for avfoundation device";
    if (!openDecoder(media, codec))
        return "[FFMpegAudioCapture]: Failed to open codec context for avfoundation device";
    return nullptr;
}

} // namespace

struct Q_DECL_HIDDEN FFMpegAudioCapture::Private {
    int deviceIndex = 0;
    int timerId = kNoTimer;
    SpectrumAnalyzer analyzer;
    PcmFormat format; // of the analyser
    QFile *dumpFile = nullptr;
    QElapsedTimer clock;
    QPointer<QFutureWatcher<bool>> watcher;
    std::shared_ptr<Handover> handover = std::make_shared<Handover>();
    std::shared_ptr<MediaInput> media;

    void takeOpened();
    void useFormat(const PcmFormat &wanted);
    QVector<QVector<SoundChannel>> analyse(const AVFrame &frame);
    bool dump(const AVFrame &frame, QObject *owner);
    void append(const AVFrame &frame, QObject *owner);
    void closeDump();
};

/// Works as soon as the opening's future has its result, before the event loop tells of it.
void FFMpegAudioCapture::Private::takeOpened()
{
    std::shared_ptr<MediaInput> opened = handover->take();
    if (!opened)
        return;
    media = std::move(opened);
    useFormat(formatOf(*media->frame));
}

void FFMpegAudioCapture::Private::useFormat(const PcmFormat &wanted)
{
    format = wanted;
    analyzer.setInputFormat(wanted.sampleFormat, wanted.sampleRate, wanted.layout);
}

QVector<QVector<SoundChannel>> FFMpegAudioCapture::Private::analyse(const AVFrame &frame)
{
    // A stream may go on in another format.
    if (const PcmFormat decoded = formatOf(frame); !(decoded == format))
        useFormat(decoded);
    return analyzer.handle(frame.data[0], sampleBytes(frame));
}

/// \return whether the file has been closed just now, complete.
bool FFMpegAudioCapture::Private::dump(const AVFrame &frame, QObject *owner)
{
    if (!clock.isValid() || clock.elapsed() <= kLastDumpedMs) {
        append(frame, owner);
        return false;
    }
    const bool isComplete = dumpFile && dumpFile->isOpen();
    closeDump();
    return isComplete;
}

void FFMpegAudioCapture::Private::append(const AVFrame &frame, QObject *owner)
{
    if (!dumpFile) {
        dumpFile = new QFile(QString("../../../audioShot_%1.pcm").arg(deviceIndex), owner);
        dumpFile->open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
    if (dumpFile->isOpen())
        dumpFile->write(reinterpret_cast<const char *>(frame.data[0]), sampleBytes(frame));
}

void FFMpegAudioCapture::Private::closeDump()
{
    delete std::exchange(dumpFile, nullptr);
}

FFMpegAudioCapture::FFMpegAudioCapture(QObject *parent)
    : IAudioCapture(parent)
    , d(std::make_unique<Private>())
{
    qRegisterMetaType<QVector<SoundChannel>>("QVector<SoundChannel>");
}

FFMpegAudioCapture::~FFMpegAudioCapture()
{
    delete d->watcher;
}

QFuture<bool> FFMpegAudioCapture::init(int deviceIndex)
{
    stop();
    d->deviceIndex = deviceIndex;
    d->handover = std::make_shared<Handover>();
    d->watcher = new QFutureWatcher<bool>;
    connect(d->watcher, &QFutureWatcherBase::finished, this, &FFMpegAudioCapture::startCapture);

    const auto open = [deviceIndex, handover = d->handover] {
        const auto media = std::make_shared<MediaInput>();
        if (const char *failure = openDevice(*media, deviceIndex)) {
            qCritical() << failure;
            return false;
        }
        handover->put(media);
        return true;
    };
    QFuture<bool> future = QtConcurrent::run(QThreadPool::globalInstance(), open);
    d->watcher->setFuture(future);
    return future;
}

void FFMpegAudioCapture::startCapture()
{
    d->takeOpened();
    if (d->media)
        d->timerId = startTimer(kTickMs, Qt::CoarseTimer);
    d->watcher->deleteLater();
    d->clock.start();
}

void FFMpegAudioCapture::stop()
{
    if (d->timerId != kNoTimer)
        killTimer(std::exchange(d->timerId, kNoTimer));
    delete d->watcher;
    d->handover = std::make_shared<Handover>();
    d->media.reset();
    d->closeDump();
    d->clock.invalidate();
}

bool FFMpegAudioCapture::nextFrame()
{
    d->takeOpened();
    // A slot may destroy the capturer, or give it another device.
    const QPointer<FFMpegAudioCapture> self(this);
    const std::shared_ptr<MediaInput> media = d->media;
    if (!media)
        return true;
    const corvane::PacketHandle packet = corvane::readPacket(*media);
    const corvane::FrameHandle frame(av_frame_alloc());
    if (!packet || !frame)
        return true;

    int code = avcodec_send_packet(media->decoder.get(), packet.get());
    if (code < 0 && code != AVERROR(EAGAIN)) {
        qWarning() << "[FFMpegAudioCapture]: Failed to send packet to avfoundation decodec: "
                   << code;
        return false;
    }
    while ((code = avcodec_receive_frame(media->decoder.get(), frame.get())) == 0) {
        const QVector<QVector<SoundChannel>> blocks = d->analyse(*frame);
        if (d->dump(*frame, this)) {
            qDebug() << "[FFMpegAudioCapture]: The audio capture shot has been written: "
                     << d->deviceIndex;
        }
        for (const QVector<SoundChannel> &block : blocks) {
            emit spectrumsChanged(block);
            if (!self || d->media != media)
                return true;
        }
        av_frame_unref(frame.get());
    }
    if (code < 0 && code != AVERROR(EAGAIN)) {
        qWarning() << "[FFMpegAudioCapture]: Failed to receiv frame from avfoundation decodec: "
                   << code;
        return false;
    }
    return true;
}

void FFMpegAudioCapture::timerEvent(QTimerEvent *event)
{
    const QPointer<FFMpegAudioCapture> self(this);
    if (event->timerId() == d->timerId && !nextFrame()) {
        killTimer(std::exchange(d->timerId, kNoTimer));
        qWarning() << "[FFMpegAudioCapture]: An error occurred while require next frame, the "
                      "output process has been stoped";
    }
    if (self)
        QObject::timerEvent(event);
}
