#include "FFmpegInput_p.h"

extern "C" {
#include <libavdevice/avdevice.h>
}

namespace corvane {

InputFormat *avfoundationFormat()
{
    avdevice_register_all();
    return av_find_input_format("avfoundation");
}

int openInput(MediaInput &media, UnopenedInputHandle context, const QString &name)
{
    if (!context)
        return AVERROR(ENOMEM);
    InputFormat *format = context->iformat;
    if (!format)
        return AVERROR_DEMUXER_NOT_FOUND;

    AVFormatContext *input = context.release(); // freed by a call that fails
    AVDictionary *options = media.options.release();
    const int code = avformat_open_input(&input, name.toUtf8().constData(), format, &options);
    media.options.reset(options);
    media.input.reset(input);
    return code;
}

bool findStream(MediaInput &media, AVMediaType type)
{
    media.streamIndex = av_find_best_stream(media.input.get(), type, -1, -1, nullptr, 0);
    return media.streamIndex >= 0;
}

const AVCodec *findDecoder(const MediaInput &media)
{
    return avcodec_find_decoder(media.input->streams[media.streamIndex]->codecpar->codec_id);
}

int makeDecoder(MediaInput &media, const AVCodec *codec)
{
    media.decoder.reset(avcodec_alloc_context3(codec));
    if (!media.decoder)
        return AVERROR(ENOMEM);
    return avcodec_parameters_to_context(media.decoder.get(),
                                         media.input->streams[media.streamIndex]->codecpar);
}

PacketHandle readPacket(const MediaInput &media)
{
    PacketHandle packet(av_packet_alloc());
    if (!packet || av_read_frame(media.input.get(), packet.get()) < 0
        || packet->stream_index != media.streamIndex)
        return nullptr;
    return packet;
}

void printDevices()
{
    UnopenedInputHandle context(avformat_alloc_context());
    if (!context)
        return;
    context->iformat = avfoundationFormat();

    MediaInput media;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "list_devices", "true", 0);
    media.options.reset(options);
    openInput(media, std::move(context), QString());
}

} // namespace corvane
