#ifndef LIBCORVANE_COREAUDIOSINK_P_H
#define LIBCORVANE_COREAUDIOSINK_P_H

#include "SpectrumAnalyzer.h"

#include <AudioToolbox/AudioToolbox.h>

#include <memory>
#include <mutex>

class CoreAudioCapture;

namespace corvane {

class SpectrumEmitter;

/// What becomes of the sound of one capturer: a dump, spectra, emissions. Shared with the callbacks
/// that are running, so that it outlives the capturer if it must.
class CoreAudioSink {
public:
    explicit CoreAudioSink(CoreAudioCapture *capturer);

    /// The format that the capturer sets on its unit, as the analyser is to read it.
    void setInputFormat();

    /// Appends the buffers to the dump and analyses them; null means none. Nothing once closed.
    void take(const AudioBufferList *buffers);

    /// Waits for a running take() and for a running emission; neither happens afterwards.
    void close();

private:
    std::mutex m_mutex; // guards what follows: a unit may call before init() is done with it
    bool m_isClosed = false;
    SpectrumAnalyzer m_analyzer;
    const std::shared_ptr<SpectrumEmitter> m_emitter;
};

/// The sinks of the capturers that live. Core Audio knows a capturer by its bare address and may
/// call with it when the capturer is gone.
class CoreAudioSinks {
public:
    static void add(const void *capturer, const std::shared_ptr<CoreAudioSink> &sink);
    static void remove(const void *capturer);
    /// Null for a capturer that is gone.
    static std::shared_ptr<CoreAudioSink> find(const void *capturer);
};

} // namespace corvane

#endif
