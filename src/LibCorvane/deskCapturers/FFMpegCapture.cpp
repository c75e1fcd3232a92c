#include "FFMpegCapture.h"

#include "../common/FFmpegInput_p.h"
#include "FrameScaler_p.h"

#include <QDebug>
#include <QMutex>
#include <QTimerEvent>

#include <optional>

using corvane::MediaInput;

namespace {

constexpr int kTickMs = 40;
constexpr int kNoTimer = -1;

/// The line that init() logs for a step that failed, and the number after it if there is one.
struct OpenError {
    const char *text;
    std::optional<int> number;
};
using OpenResult = std::optional<OpenError>;

OpenResult openScreen(MediaInput &media, int deviceId)
{
    corvane::UnopenedInputHandle context(avformat_alloc_context());
    if (!context)
        return OpenError{"[FFMpegCapture]: Failed to alloc AVFormatContext", std::nullopt};
    context->iformat = corvane::avfoundationFormat();
    if (!context->iformat)
        return OpenError{"[FFMpegCapture]: Not found input format for AVFoundation", std::nullopt};

    AVDictionary *options = nullptr;
    const int setting = av_dict_set(&options, "r", "25", 0);
    media.options.reset(options);
    if (setting != 0)
        return OpenError{"[FFMpegCapture]: Failed to set record options, deviceId: ", deviceId};

    const int code = corvane::openInput(media, std::move(context), QString("%1").arg(deviceId));
    if (code < 0)
        return OpenError{"[FFMpegCapture]: Failed to open avfoundation device, errCode: ", code};
    return std::nullopt;
}

/// A frame of the decoder's shape. The decoder brings buffers of its own, so one that cannot be
/// made here is no failure.
corvane::FrameHandle makeFrame(const AVCodecContext &decoder)
{
    corvane::FrameHandle frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->width = decoder.width;
    frame->height = decoder.height;
    frame->format = decoder.pix_fmt;
    av_frame_get_buffer(frame.get(), 0);
    return frame;
}

/// Nothing, or the code of what failed.
std::optional<int> openDecoder(MediaInput &media, const AVCodec *codec)
{
    if (const int code = corvane::makeDecoder(media, codec); code < 0)
        return code;
    // Twice on purpose: the first result is told, the second decides. A decoder that is open
    // already stays so, and answers 0.
    const int first = avcodec_open2(media.decoder.get(), codec, nullptr);
    const int second = avcodec_open2(media.decoder.get(), codec, nullptr);
    if (second != 0)
        return first;
    media.frame = makeFrame(*media.decoder);
    return media.frame ? std::nullopt : std::optional<int>(AVERROR(ENOMEM));
}

OpenResult openStream(MediaInput &media)
{
    if (!corvane::findStream(media, AVMEDIA_TYPE_VIDEO))
        return OpenError{"[FFMpegCapture]: Failed to find video stream", std::nullopt};
    const AVCodec *codec = corvane::findDecoder(media);
    if (!codec)
        return OpenError{"[FFMpegCapture]: Not found codec for avfoundation device", std::nullopt};
    if (const auto code = openDecoder(media, codec))
        return OpenError{
            "[FFMpegCapture]: Failed to open codec context for avfoundation device, errCode: ",
            code};
    return std::nullopt;
}

} // namespace

struct Q_DECL_HIDDEN FFMpegCapture::Private {
    int timerId = kNoTimer;
    std::unique_ptr<MediaInput> media;

    QMutex mutex; // over all that follows
    std::shared_ptr<AVFrame> latest;
    corvane::PictureShape source; // what the decoder gives
    QSize outputSize;
    corvane::FrameScaler scaler;
};

FFMpegCapture::FFMpegCapture(QObject *parent)
    : IDeskCapture(parent)
    , d(std::make_unique<Private>())
{
}

FFMpegCapture::~FFMpegCapture() = default;

bool FFMpegCapture::init(int deviceId)
{
    stop();
    auto media = std::make_unique<MediaInput>();
    OpenResult error = openScreen(*media, deviceId);
    if (!error)
        error = openStream(*media);
    if (error) {
        QDebug line = qCritical();
        line << error->text;
        if (error->number)
            line << *error->number;
        return false;
    }

    d->media = std::move(media);
    start();
    qDebug() << "[FFMpegCapture]: The screen capture " << deviceId << " started capture";
    return true;
}

void FFMpegCapture::start()
{
    const corvane::PictureShape source = corvane::shapeOf(*d->media->decoder);
    {
        const QMutexLocker lock(&d->mutex);
        d->source = source;
    }
    setOutputSize({source.width, source.height});
    d->timerId = startTimer(kTickMs, Qt::PreciseTimer);
}

void FFMpegCapture::stop()
{
    if (d->timerId != kNoTimer)
        killTimer(std::exchange(d->timerId, kNoTimer));
    d->media.reset();
    const QMutexLocker lock(&d->mutex);
    d->latest.reset();
    d->source = {};
}

QSize FFMpegCapture::outputSize()
{
    const QMutexLocker lock(&d->mutex);
    return d->outputSize;
}

QSize FFMpegCapture::originSize()
{
    const QMutexLocker lock(&d->mutex);
    const bool isKnown = d->source.width > 0 && d->source.height > 0;
    return isKnown ? QSize(d->source.width, d->source.height) : QSize();
}

void FFMpegCapture::setOutputSize(QSize size)
{
    const QMutexLocker lock(&d->mutex);
    d->outputSize = size;
    d->scaler.prepare(d->source, size);
}

QImage FFMpegCapture::resize(AVFrame *frame)
{
    if (!frame)
        return {};
    const QMutexLocker lock(&d->mutex);
    return d->scaler.scale(*frame);
}

std::shared_ptr<AVFrame> FFMpegCapture::decodedFrame() const
{
    const QMutexLocker lock(&d->mutex);
    return d->latest;
}

void FFMpegCapture::listDevices()
{
    corvane::printDevices();
}

void FFMpegCapture::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == d->timerId)
        onTickTimeout();
    else
        QObject::timerEvent(event);
}

void FFMpegCapture::onTickTimeout()
{
    if (!d->media)
        return;
    const corvane::PacketHandle packet = corvane::readPacket(*d->media);
    if (!packet)
        return;
    avcodec_send_packet(d->media->decoder.get(), packet.get());
    // Gives nothing until the decoder has all packets of a picture, and empties the frame then.
    if (avcodec_receive_frame(d->media->decoder.get(), d->media->frame.get()) == 0)
        publishDecoded();
}

void FFMpegCapture::publishDecoded()
{
    std::shared_ptr<AVFrame> picture = corvane::FrameHandle(av_frame_alloc());
    if (!picture)
        return;
    av_frame_move_ref(picture.get(), d->media->frame.get());
    const corvane::PictureShape source = corvane::shapeOf(*picture);

    const QMutexLocker lock(&d->mutex);
    d->latest.swap(picture);
    d->source = source;
}
