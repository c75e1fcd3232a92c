#include "ScriptedInput.h"

#include "Interpose.h"

#include <LibCorvane/common/FFmpegLayout_p.h>

#include <algorithm>
#include <cstring>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace corvane::test {
namespace {

struct State {
    std::mutex mutex;
    bool isActive = false;
    InputScript script;
    QStringList calls;
    QString formatName;
    QString deviceName;
    QMap<QString, QString> options;
    int opened = 0;
    int closed = 0;

    void reset(InputScript next, bool active)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isActive = active;
        script = std::move(next);
        calls.clear();
        formatName.clear();
        deviceName.clear();
        options.clear();
        opened = closed = 0;
    }
};

State &state()
{
    static State instance;
    return instance;
}

/// Whether an address lies in the library under test: FFmpeg's libraries call each other, too.
bool isOfLibrary(const void *address)
{
    Dl_info info;
    return dladdr(address, &info) && std::strstr(info.dli_fname, "libLibCorvane");
}

/// Notes the call if it is one of the library. \return the code that it fails with, or 0.
int enter(const char *function, const void *caller)
{
    if (!isOfLibrary(caller))
        return 0;
    State &s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.isActive)
        return 0;
    s.calls.append(function);
    return s.script.failingCall == QLatin1String(function) ? s.script.code : 0;
}

QMap<QString, QString> entries(const AVDictionary *dictionary)
{
    QMap<QString, QString> map;
    const AVDictionaryEntry *entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)))
        map.insert(entry->key, entry->value);
    return map;
}

InputScript noteOpening(const char *name, const AVDictionary *options)
{
    State &s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    s.deviceName = name;
    s.options = entries(options);
    return s.script;
}

/// Not a copy: it may count.
const std::function<int(AVPacket *)> &scriptedRead()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().script.read;
}

int nextOpenCode()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    QVector<int> &codes = state().script.openCodes;
    return codes.isEmpty() ? 0 : codes.takeFirst();
}

void count(int State::*counter)
{
    State &s = state();
    const std::lock_guard<std::mutex> lock(s.mutex);
    ++(s.*counter);
}

} // namespace

ScriptedInput::ScriptedInput(InputScript script)
{
    state().reset(std::move(script), true);
}

ScriptedInput::~ScriptedInput()
{
    state().reset({}, false);
}

QStringList ScriptedInput::calls() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().calls;
}

void ScriptedInput::clearCalls()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().calls.clear();
}

void ScriptedInput::fail(const QString &call, int code)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().script.failingCall = call;
    state().script.code = code;
}

QString ScriptedInput::formatName() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().formatName;
}

QString ScriptedInput::deviceName() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().deviceName;
}

QMap<QString, QString> ScriptedInput::options() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().options;
}

int ScriptedInput::openInputs() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().opened - state().closed;
}

int fill(AVPacket *packet, const QByteArray &bytes)
{
    const int code = av_new_packet(packet, bytes.size());
    if (code == 0)
        std::copy(bytes.cbegin(), bytes.cend(), packet->data);
    return code;
}

std::function<int(AVPacket *)> reading(const QVector<QByteArray> &packets)
{
    return [packets, next = 0](AVPacket *packet) mutable {
        return next == packets.size() ? AVERROR_EOF : fill(packet, packets[next++]);
    };
}

int ScriptedInput::openedInputs() const
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().opened;
}

} // namespace corvane::test

using namespace corvane::test;

#define REAL(function) nextFunction<decltype(function)>(#function)
#define ENTER(function) enter(#function, __builtin_return_address(0))

// Const since FFmpeg 5.
using corvane::InputFormat;
using Decoder = std::remove_pointer_t<decltype(avcodec_find_decoder(AV_CODEC_ID_NONE))>;

extern "C" {

InputFormat *av_find_input_format(const char *name)
{
    if (!isOfLibrary(__builtin_return_address(0)))
        return REAL(av_find_input_format)(name);
    if (ENTER(av_find_input_format))
        return nullptr;
    QByteArray format = name;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        if (state().isActive) {
            state().formatName = name;
            format = state().script.format;
        }
    }
    return REAL(av_find_input_format)(format.constData());
}

int avformat_open_input(AVFormatContext **context, const char *url, InputFormat *format,
                        AVDictionary **options)
{
    ENTER(avformat_open_input);
    if (!state().isActive)
        return REAL(avformat_open_input)(context, url, format, options);
    const InputScript script = noteOpening(url, options ? *options : nullptr);
    if (script.whileOpening)
        script.whileOpening();
    if (script.openError != 0) {
        REAL(avformat_free_context)(*context); // as the real one does
        *context = nullptr;
        return script.openError;
    }
    const int code = REAL(avformat_open_input)(context, script.source.constData(), format, options);
    if (code < 0)
        return code;
    count(&State::opened);
    return script.probesStreams ? avformat_find_stream_info(*context, nullptr) : code;
}

void avformat_close_input(AVFormatContext **context)
{
    ENTER(avformat_close_input);
    count(&State::closed);
    REAL(avformat_close_input)(context);
}

AVFormatContext *avformat_alloc_context()
{
    return ENTER(avformat_alloc_context) ? nullptr : REAL(avformat_alloc_context)();
}

void avformat_free_context(AVFormatContext *context)
{
    ENTER(avformat_free_context);
    REAL(avformat_free_context)(context);
}

int av_dict_set(AVDictionary **dictionary, const char *key, const char *value, int flags)
{
    const int code = ENTER(av_dict_set);
    return code ? code : REAL(av_dict_set)(dictionary, key, value, flags);
}

void av_dict_free(AVDictionary **dictionary)
{
    ENTER(av_dict_free);
    REAL(av_dict_free)(dictionary);
}

int av_find_best_stream(AVFormatContext *context, AVMediaType type, int wanted, int related,
                        Decoder **decoder, int flags)
{
    const int code = ENTER(av_find_best_stream);
    return code ? code : REAL(av_find_best_stream)(context, type, wanted, related, decoder, flags);
}

Decoder *avcodec_find_decoder(AVCodecID id)
{
    return ENTER(avcodec_find_decoder) ? nullptr : REAL(avcodec_find_decoder)(id);
}

AVCodecContext *avcodec_alloc_context3(const AVCodec *codec)
{
    return ENTER(avcodec_alloc_context3) ? nullptr : REAL(avcodec_alloc_context3)(codec);
}

int avcodec_parameters_to_context(AVCodecContext *context, const AVCodecParameters *parameters)
{
    const int code = ENTER(avcodec_parameters_to_context);
    return code ? code : REAL(avcodec_parameters_to_context)(context, parameters);
}

void avcodec_free_context(AVCodecContext **context)
{
    ENTER(avcodec_free_context);
    REAL(avcodec_free_context)(context);
}

AVFrame *av_frame_alloc()
{
    return ENTER(av_frame_alloc) ? nullptr : REAL(av_frame_alloc)();
}

int av_frame_get_buffer(AVFrame *frame, int align)
{
    const int code = ENTER(av_frame_get_buffer);
    return code ? code : REAL(av_frame_get_buffer)(frame, align);
}

void av_frame_free(AVFrame **frame)
{
    ENTER(av_frame_free);
    REAL(av_frame_free)(frame);
}

AVPacket *av_packet_alloc()
{
    return ENTER(av_packet_alloc) ? nullptr : REAL(av_packet_alloc)();
}

int av_read_frame(AVFormatContext *context, AVPacket *packet)
{
    const int code = ENTER(av_read_frame);
    if (code)
        return code;
    const auto &read = scriptedRead();
    return read ? read(packet) : REAL(av_read_frame)(context, packet);
}

int avcodec_open2(AVCodecContext *context, const AVCodec *codec, AVDictionary **options)
{
    int code = ENTER(avcodec_open2);
    if (!code && isOfLibrary(__builtin_return_address(0)))
        code = nextOpenCode();
    return code ? code : REAL(avcodec_open2)(context, codec, options);
}

int avcodec_send_packet(AVCodecContext *context, const AVPacket *packet)
{
    const int code = ENTER(avcodec_send_packet);
    return code ? code : REAL(avcodec_send_packet)(context, packet);
}

int avcodec_receive_frame(AVCodecContext *context, AVFrame *frame)
{
    const int code = ENTER(avcodec_receive_frame);
    return code ? code : REAL(avcodec_receive_frame)(context, frame);
}

SwsContext *sws_getContext(int width, int height, AVPixelFormat format, int outWidth, int outHeight,
                           AVPixelFormat outFormat, int flags, SwsFilter *in, SwsFilter *out,
                           const double *parameters)
{
    return ENTER(sws_getContext) ? nullptr
                                 : REAL(sws_getContext)(width, height, format, outWidth, outHeight,
                                                        outFormat, flags, in, out, parameters);
}

void sws_freeContext(SwsContext *context)
{
    ENTER(sws_freeContext);
    REAL(sws_freeContext)(context);
}

} // extern "C"
