#ifndef LIBCORVANE_COREAUDIOCAPTURE_H
#define LIBCORVANE_COREAUDIOCAPTURE_H

#include <LibCorvane/Export.h>
#include <LibCorvane/audioCapturers/IAudioCapture.h>

#include <AudioToolbox/AudioToolbox.h>

#include <memory>

namespace corvane {
class CoreAudioSink;
}

/// Records from the system's default input with Core Audio, at 44100 Hz, 16 bit. macOS only.
///
/// There is no choice of device, and AudioCapManagerMac does not make this class: a host that wants
/// it constructs it, connects to spectrumsChanged(), calls init(), and deletes it to stop. Sound is
/// read from the buffers that the unit hands to its callback and never fetched with
/// AudioUnitRender(): a unit that hands over none brings no spectra.
///
/// \par Spectra
/// The unit delivers stereo frames, which are analysed as if each were two successive mono samples.
/// This is deliberate. A block is thus complete after 1024 frames, its two channels are identical,
/// and what is the same on both sides of the input appears at half its frequency.
///
/// \par The dump
/// All sound is appended to the file "audio.pcm" in the working directory of the process, as it
/// comes: interleaved, signed 16 bit. The file only grows. Where it cannot be written, its bytes
/// are lost without a log line; the analysis does not mind.
///
/// \par Threads
/// The constructor, init() and the destructor belong to one thread, the owner's. Sound is written
/// and analysed on Core Audio's thread. spectrumsChanged() is emitted on a worker of
/// QThreadPool::globalInstance(), block by block in the order of the sound, and never twice at the
/// same time; channelsPeakValuesChanged() is never emitted. Receivers connect with
/// Qt::QueuedConnection, which is also what Qt chooses by itself for receivers of other threads. A
/// direct receiver may delete the capturer inside its slot. A receiver must not wait for the thread
/// that deletes the capturer, as one with Qt::BlockingQueuedConnection does: the destructor waits
/// for it.
class LIBCORVANE_EXPORT CoreAudioCapture : public IAudioCapture {
    Q_OBJECT
public:
    /// Makes a silent capturer: Core Audio is not asked for anything before init(). Registers the
    /// meta-type "QVector<SoundChannel>".
    /// \param parent the usual QObject owner, or null.
    explicit CoreAudioCapture(QObject *parent = nullptr);

    /// Stops the unit and disposes of it. Waits for a running callback and for a running emission,
    /// if that is not what deletes the capturer; drops the blocks that are not emitted yet. Once it
    /// has returned nothing is emitted or written any more, and late callbacks do nothing.
    ~CoreAudioCapture() override;

    /// Makes, configures and starts the audio unit.
    ///
    /// \returns true when sound is on its way. False after a failure, which is logged as critical
    /// with its OSStatus in decimal. What was done before the failure is left as it is until the
    /// destructor or another init() releases it:
    /// - "[CoreAudioCapture]: Failed to new audio unit instance, errCode" (−50 also
    ///   where the system has no such component)
    /// - "[CoreAudioCapture]: Failed to set the EnableIO property of the audio unit, errCode"
    /// - "[CoreAudioCapture]: Failed to set the callback property of the audio unit, errCode"
    /// - "[CoreAudioCapture]: Failed to set the StreamFormat property of the audio unit, errCode"
    /// - "[CoreAudioCapture]: Failed to init audio unit, errCode"
    /// - "[CoreAudioCapture]: Failed to start audio output unit, errCode"
    ///
    /// Another call, after a failure or while recording, first stops and disposes of the unit that
    /// is there and then starts anew with an empty block.
    bool init();

    /// The unit's input callback; Core Audio calls it, on its own thread.
    ///
    /// \param inRefCon the capturer; one that is gone, or null, is permitted and ignored.
    /// \param ioActionFlags not looked at.
    /// \param inTimeStamp not looked at.
    /// \param inBusNumber not looked at.
    /// \param inNumberFrames not looked at: the buffers tell their sizes.
    /// \param ioData the buffers to append to the dump and to analyse, in order; not kept. Null
    ///        means none.
    /// \returns noErr always.
    static OSStatus captureCallback(void *inRefCon, AudioUnitRenderActionFlags *ioActionFlags,
                                    const AudioTimeStamp *inTimeStamp, UInt32 inBusNumber,
                                    UInt32 inNumberFrames, AudioBufferList *ioData);

private:
    void releaseUnit();

    const std::shared_ptr<corvane::CoreAudioSink> m_sink;
    AudioComponentInstance m_audioUnit = nullptr;
};

#endif
