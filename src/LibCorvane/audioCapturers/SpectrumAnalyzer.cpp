#include "SpectrumAnalyzer.h"

#include "../common/FFmpegHandles_p.h"
#include "../common/FFmpegLayout_p.h"
#include "AudioFFT.h"
#include "SpectrumMath_p.h"

#include <QByteArray>
#include <QDebug>

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <vector>

using corvane::kBlockFrames;

namespace {

constexpr uint64_t kStereoLayout = AV_CH_LAYOUT_STEREO;
constexpr AVSampleFormat kOutputFormat = AV_SAMPLE_FMT_FLTP;
constexpr int kLowFrequencyHz = 20;
constexpr int kHighFrequencyHz = 1000;

struct InputFormat {
    int sampleFormat; // an AVSampleFormat, unchecked
    int sampleRate;
    uint64_t layout;
};

/// The line that the operation logs for a step that failed, and FFmpeg's code if it gave one.
struct SetupError {
    QByteArray text;
    std::optional<int> code;
};

using SetupResult = std::optional<SetupError>;

SetupError optionError(const char *option, int code)
{
    return {QByteArray("[SpectrumAnalyzer]: Failed to set swrContext ") + option + ", errCode: 0x",
            code};
}

/// FFmpeg refuses what is no format, but only the enumeration's own numbers may become one of it.
AVSampleFormat sampleFormatOf(int number)
{
    const bool isFormat = number >= AV_SAMPLE_FMT_NONE && number < AV_SAMPLE_FMT_NB;
    return isFormat ? static_cast<AVSampleFormat>(number) : AV_SAMPLE_FMT_NB;
}

SetupResult setOptions(SwrContext *context, const InputFormat &input)
{
    using corvane::ResamplerSide;
    using corvane::setResamplerLayout;

    if (const int code = setResamplerLayout(context, ResamplerSide::Input, input.layout); code < 0)
        return optionError("in_channel_layout", code);
    if (const int code = av_opt_set_int(context, "in_sample_rate", input.sampleRate, 0); code < 0)
        return optionError("in_sample_rate", code);
    const AVSampleFormat format = sampleFormatOf(input.sampleFormat);
    if (const int code = av_opt_set_sample_fmt(context, "in_sample_fmt", format, 0); code < 0)
        return optionError("in_sample_fmt", code);
    if (const int code = setResamplerLayout(context, ResamplerSide::Output, kStereoLayout);
        code < 0)
        return optionError("out_channel_layout", code);
    if (const int code = av_opt_set_int(context, "out_sample_rate", input.sampleRate, 0); code < 0)
        return optionError("out_sample_rate", code);
    if (const int code = av_opt_set_sample_fmt(context, "out_sample_fmt", kOutputFormat, 0);
        code < 0)
        return optionError("out_sample_fmt", code);
    return std::nullopt;
}

SetupResult createResampler(corvane::ResamplerHandle &resampler, const InputFormat &input)
{
    corvane::ResamplerHandle context(swr_alloc());
    if (!context)
        return SetupError{"[SpectrumAnalyzer]: Failed to create swrContext", std::nullopt};
    if (SetupResult error = setOptions(context.get(), input))
        return error;
    if (const int code = swr_init(context.get()); code < 0)
        return SetupError{"[SpectrumAnalyzer]: Failed to init swrContext: 0x", code};
    resampler = std::move(context);
    return std::nullopt;
}

SetupResult createCacheFrame(corvane::FrameHandle &cacheFrame, const InputFormat &input)
{
    cacheFrame.reset();
    corvane::FrameHandle frame(av_frame_alloc());
    if (!frame)
        return SetupError{"[SpectrumAnalyzer]: Failed to call av_frame_alloc", std::nullopt};
    frame->sample_rate = input.sampleRate;
    frame->nb_samples = kBlockFrames;
    frame->format = input.sampleFormat;
    corvane::setFrameLayout(frame.get(), input.layout);
    if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0)
        return SetupError{"[SpectrumAnalyzer]: Failed to get cache frame buffer: 0x", code};
    if (const int code = av_frame_make_writable(frame.get()); code < 0)
        return SetupError{"[SpectrumAnalyzer]: Failed to make cache frame writable: 0x", code};
    cacheFrame = std::move(frame);
    return std::nullopt;
}

/// Whether every sample of a frame lies in its first plane, the only one that is filled.
bool isInterleaved(const AVFrame *frame)
{
    return !av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame->format))
        || corvane::frameChannelCount(frame) == 1;
}

qint64 blockBytes(const AVFrame *cacheFrame)
{
    const auto format = static_cast<AVSampleFormat>(cacheFrame->format);
    return qint64(corvane::frameChannelCount(cacheFrame)) * av_get_bytes_per_sample(format)
        * kBlockFrames;
}

} // namespace

struct Q_DECL_HIDDEN SpectrumAnalyzer::Private {
    std::unique_ptr<audiofft::AudioFFT> fft = std::make_unique<audiofft::AudioFFT>();
    std::vector<float> window = corvane::hannWindow();
    std::vector<float> samples = std::vector<float>(kBlockFrames);
    int lowFrequency = kLowFrequencyHz;
    int highFrequency = kHighFrequencyHz;
    corvane::ResamplerHandle swrContext;
    corvane::FrameHandle cacheFrame;
    int cacheFill = 0; // bytes
    double strength = 1.0;

    corvane::FrameHandle stereoFrame; // one resampled block, made with the first of a format
    std::vector<float> re = std::vector<float>(corvane::kBinCount);
    std::vector<float> im = std::vector<float>(corvane::kBinCount);

    SetupResult setUp(const InputFormat &input);
    /// Takes what fits of the bytes into the block; returns how many that were.
    int fill(const unsigned char *data, qint64 size, qint64 capacity);
    void transformChannel(const float *channel);
};

SetupResult SpectrumAnalyzer::Private::setUp(const InputFormat &input)
{
    swrContext.reset();
    stereoFrame.reset();
    corvane::ResamplerHandle resampler;
    if (SetupResult error = createResampler(resampler, input))
        return error;
    if (SetupResult error = createCacheFrame(cacheFrame, input))
        return error;
    if (!isInterleaved(cacheFrame.get()))
        return SetupError{"[SpectrumAnalyzer]: Planar sample formats are not supported",
                          std::nullopt};
    swrContext = std::move(resampler);
    cacheFill = 0;
    return std::nullopt;
}

int SpectrumAnalyzer::Private::fill(const unsigned char *data, qint64 size, qint64 capacity)
{
    const int taken = static_cast<int>(std::min(size, capacity - cacheFill));
    std::memcpy(cacheFrame->data[0] + cacheFill, data, static_cast<size_t>(taken));
    cacheFill += taken;
    return taken;
}

void SpectrumAnalyzer::Private::transformChannel(const float *channel)
{
    std::transform(channel, channel + kBlockFrames, window.data(), samples.data(),
                   std::multiplies<float>());
    fft->fft(samples.data(), re.data(), im.data());
}

SpectrumAnalyzer::SpectrumAnalyzer()
    : d(std::make_unique<Private>())
{
    d->fft->init(kBlockFrames);
}

SpectrumAnalyzer::~SpectrumAnalyzer() = default;

void SpectrumAnalyzer::setInputFormat(int sampleFormat, int sampleRate, uint64_t channelLayout)
{
    const SetupResult error = d->setUp({sampleFormat, sampleRate, channelLayout});
    if (!error)
        return;
    if (error->code)
        qCritical() << error->text.constData() << QString::number(*error->code, 16);
    else
        qCritical() << error->text.constData();
}

QVector<QVector<SoundChannel>> SpectrumAnalyzer::handle(const unsigned char *data, qint64 size)
{
    QVector<QVector<SoundChannel>> blocks;
    if (!d->cacheFrame || size < 1 || !data || !d->swrContext)
        return blocks;

    const qint64 capacity = blockBytes(d->cacheFrame.get());
    while (size > 0) {
        const int taken = d->fill(data, size, capacity);
        data += taken;
        size -= taken;
        if (d->cacheFill < capacity)
            break;
        d->cacheFill = 0;
        if (const AVFrame *stereo = resample(d->cacheFrame.get()))
            blocks.append(translate(stereo));
    }
    return blocks;
}

void SpectrumAnalyzer::setStrength(double strength)
{
    d->strength = corvane::clampedStrength(strength);
}

const AVFrame *SpectrumAnalyzer::resample(const AVFrame *input)
{
    if (!d->stereoFrame) {
        corvane::FrameHandle frame(av_frame_alloc());
        if (!frame) {
            qCritical() << "[SpectrumAnalyzer]: Failed to call av_frame_alloc in resample";
            return nullptr;
        }
        frame->nb_samples = kBlockFrames;
        frame->format = kOutputFormat;
        frame->sample_rate = input->sample_rate;
        corvane::setFrameLayout(frame.get(), kStereoLayout);
        if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0) {
            qCritical() << "[SpectrumAnalyzer]: Failed to get frame buffer, errCode:" << code;
            return nullptr;
        }
        if (const int code = av_frame_make_writable(frame.get()); code < 0) {
            qCritical() << "[SpectrumAnalyzer]: Failed to make frame writable, errCode:" << code;
            return nullptr;
        }
        d->stereoFrame = std::move(frame);
    }

    // Up to FFmpeg 6 the argument has one const less; the cast suits both.
    const auto source = const_cast<const uint8_t **>(input->extended_data);
    const int code = swr_convert(d->swrContext.get(), d->stereoFrame->data, kBlockFrames, source,
                                 input->nb_samples);
    if (code < 0) {
        qCritical() << "[SpectrumAnalyzer]: Failed to resample the input data, errCode:" << code;
        return nullptr;
    }
    return d->stereoFrame.get();
}

QVector<SoundChannel> SpectrumAnalyzer::translate(const AVFrame *frame)
{
    const int sampleRate = frame->sample_rate;
    const int low = corvane::binBelow(d->lowFrequency, sampleRate);
    const int high = corvane::binBelow(d->highFrequency, sampleRate);

    QVector<SoundChannel> channels(2);
    channels[0].channel = AV_CH_FRONT_LEFT;
    channels[1].channel = AV_CH_FRONT_RIGHT;
    for (int c = 0; c < channels.size(); ++c) {
        d->transformChannel(reinterpret_cast<const float *>(frame->data[c]));
        QVector<Spectrum> &spectrums = channels[c].spectrums;
        spectrums.resize(high - low);
        Spectrum *bins = spectrums.data();
        for (int bin = low; bin < high; ++bin) {
            const auto index = static_cast<size_t>(bin);
            bins[bin - low] =
                corvane::spectrumOfBin(bin, d->re[index], d->im[index], sampleRate, d->strength);
        }
    }
    return channels;
}
