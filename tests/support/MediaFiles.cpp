#include "MediaFiles.h"

#include <LibCorvane/common/FFmpegLayout_p.h>

#include <QDataStream>
#include <QFile>
#include <QtDebug>

#include <cstring>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace corvane::test {
namespace {

struct Free {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using Context = std::unique_ptr<AVCodecContext, Free>;
using Frame = std::unique_ptr<AVFrame, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;

// The layout became a structure in FFmpeg 5.1; the library has no encoder to set it for.
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 28, 100)

void setLayout(AVCodecContext *encoder, int channels)
{
    av_channel_layout_default(&encoder->ch_layout, channels);
}

#else

void setLayout(AVCodecContext *encoder, int channels)
{
    encoder->channels = channels;
    encoder->channel_layout = defaultLayoutMask(channels);
}

#endif

/// Sends a frame, or with null the end; appends the packets that come out.
bool encode(AVCodecContext *encoder, const AVFrame *frame, QVector<QByteArray> &packets)
{
    if (avcodec_send_frame(encoder, frame) < 0)
        return false;
    const Packet packet(av_packet_alloc());
    while (avcodec_receive_packet(encoder, packet.get()) == 0) {
        packets.append(QByteArray(reinterpret_cast<const char *>(packet->data), packet->size));
        av_packet_unref(packet.get());
    }
    return true;
}

Frame picture(QSize size, const QByteArray &colour, int number)
{
    Frame frame(av_frame_alloc());
    frame->width = size.width();
    frame->height = size.height();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->pts = number;
    av_frame_get_buffer(frame.get(), 0);
    for (int plane = 0; plane < 3; ++plane) {
        const int lines = plane == 0 ? size.height() : (size.height() + 1) / 2;
        std::memset(frame->data[plane], uchar(colour[plane]),
                    size_t(frame->linesize[plane] * lines));
    }
    return frame;
}

bool encodeStretch(const char *codecName, const VideoStretch &stretch, int bFrames,
                   QVector<QByteArray> &packets)
{
    const AVCodec *codec = avcodec_find_encoder_by_name(codecName);
    const Context encoder(avcodec_alloc_context3(codec));
    encoder->width = stretch.size.width();
    encoder->height = stretch.size.height();
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->time_base = {1, 25};
    encoder->max_b_frames = bFrames;
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = 2 * FF_QP2LAMBDA;
    if (!codec || avcodec_open2(encoder.get(), codec, nullptr) < 0)
        return false;
    for (int i = 0; i < stretch.colours.size(); ++i) {
        const Frame frame = picture(stretch.size, stretch.colours[i], i);
        frame->quality = encoder->global_quality;
        if (!encode(encoder.get(), frame.get(), packets))
            return false;
    }
    return encode(encoder.get(), nullptr, packets);
}

} // namespace

QByteArray wavFile(const QByteArray &pcm, int channels, int sampleRate)
{
    QByteArray file;
    QDataStream out(&file, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + pcm.size());
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(channels) << quint32(sampleRate)
        << quint32(sampleRate * channels * 2) << quint16(channels * 2) << quint16(16);
    out.writeRawData("data", 4);
    out << quint32(pcm.size());
    return file + pcm;
}

QByteArray encodedVideo(const char *codecName, const QVector<VideoStretch> &stretches, int bFrames)
{
    QVector<QByteArray> packets;
    for (const VideoStretch &stretch : stretches) {
        if (!encodeStretch(codecName, stretch, bFrames, packets))
            return {};
    }
    QByteArray bytes;
    for (const QByteArray &packet : packets)
        bytes += packet;
    return bytes;
}

QVector<QByteArray> encodedSilence(int channels, int sampleRate, int packetCount)
{
    constexpr int kPacketFrames = 1152;
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_MP2);
    const Context encoder(avcodec_alloc_context3(codec));
    encoder->sample_rate = sampleRate;
    encoder->sample_fmt = AV_SAMPLE_FMT_S16;
    setLayout(encoder.get(), channels);
    QVector<QByteArray> packets;
    if (!codec || avcodec_open2(encoder.get(), codec, nullptr) < 0)
        return packets;
    const Frame frame(av_frame_alloc());
    frame->nb_samples = kPacketFrames;
    frame->format = AV_SAMPLE_FMT_S16;
    setFrameLayout(frame.get(), defaultLayoutMask(channels));
    av_frame_get_buffer(frame.get(), 0);
    std::memset(frame->data[0], 0, size_t(kPacketFrames * channels * 2));
    for (int i = 0; i < packetCount; ++i) {
        frame->pts = i * kPacketFrames;
        encode(encoder.get(), frame.get(), packets);
    }
    encode(encoder.get(), nullptr, packets);
    return packets;
}

QByteArray writtenTo(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path.toUtf8();
}

} // namespace corvane::test
