#include "CoreAudioSink_p.h"

#include "CoreAudioCapture.h"
#include "SpectrumEmitter_p.h"

#include <fstream>
#include <map>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

namespace corvane {
namespace {

constexpr int kSampleRateHz = 44100;
constexpr const char *kDumpFile = "audio.pcm";

/// The declared array of a list is but the first of its buffers.
template <typename Function>
void forEachBuffer(const AudioBufferList *list, Function function)
{
    const AudioBuffer *const first = list ? list->mBuffers : nullptr;
    const UInt32 count = list ? list->mNumberBuffers : 0;
    for (UInt32 i = 0; i < count; ++i)
        function(first[i]);
}

void appendToDump(const AudioBufferList *buffers)
{
    std::ofstream dump(kDumpFile, std::ios::out | std::ios::app | std::ios::binary);
    forEachBuffer(buffers, [&dump](const AudioBuffer &buffer) {
        if (buffer.mData)
            dump.write(static_cast<const char *>(buffer.mData), buffer.mDataByteSize);
    });
}

struct Registry {
    std::mutex mutex;
    std::map<const void *, std::shared_ptr<CoreAudioSink>> sinks;
};

/// Never deleted: Core Audio's thread may still call while the process ends.
Registry &registry()
{
    static Registry &instance = *new Registry;
    return instance;
}

} // namespace

CoreAudioSink::CoreAudioSink(CoreAudioCapture *capturer)
    : m_emitter(std::make_shared<SpectrumEmitter>(capturer))
{
}

void CoreAudioSink::setInputFormat()
{
    const std::lock_guard lock(m_mutex);
    // Mono, although the unit delivers stereo: hosts are tuned to these spectra, in which a stereo
    // frame is two samples.
    m_analyzer.setInputFormat(AV_SAMPLE_FMT_S16, kSampleRateHz, AV_CH_LAYOUT_MONO);
}

void CoreAudioSink::take(const AudioBufferList *buffers)
{
    const std::lock_guard lock(m_mutex);
    if (m_isClosed)
        return;
    appendToDump(buffers);
    QVector<QVector<SoundChannel>> blocks;
    forEachBuffer(buffers, [this, &blocks](const AudioBuffer &buffer) {
        blocks += m_analyzer.handle(static_cast<const unsigned char *>(buffer.mData),
                                    buffer.mDataByteSize);
    });
    m_emitter->submit(blocks);
}

void CoreAudioSink::close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
    }
    m_emitter->close();
}

void CoreAudioSinks::add(const void *capturer, const std::shared_ptr<CoreAudioSink> &sink)
{
    const std::lock_guard lock(registry().mutex);
    registry().sinks[capturer] = sink;
}

void CoreAudioSinks::remove(const void *capturer)
{
    const std::lock_guard lock(registry().mutex);
    registry().sinks.erase(capturer);
}

std::shared_ptr<CoreAudioSink> CoreAudioSinks::find(const void *capturer)
{
    const std::lock_guard lock(registry().mutex);
    const auto found = registry().sinks.find(capturer);
    return found == registry().sinks.end() ? nullptr : found->second;
}

} // namespace corvane
