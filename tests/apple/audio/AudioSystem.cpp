#include "AudioSystem.h"

#include <cstring>
#include <utility>
#include <vector>

/// Only which units live counts.
struct OpaqueAudioComponentInstance { };

namespace {

/// The one component that there is; only its address counts.
char theComponent;

AudioComponent component()
{
    return reinterpret_cast<AudioComponent>(&theComponent);
}

} // namespace

namespace corvane::test {
namespace {

/// An AudioBufferList with as many buffers as wanted, which its type cannot hold.
class BufferList {
public:
    explicit BufferList(const QVector<QByteArray> &buffers)
        : m_bytes(buffers)
        , m_storage(sizeof(AudioBufferList) + sizeof(AudioBuffer) * std::size_t(buffers.size()))
    {
        list()->mNumberBuffers = UInt32(m_bytes.size());
        AudioBuffer *buffer = list()->mBuffers;
        for (QByteArray &bytes : m_bytes) {
            // A null byte array is a buffer that has a size, but no data.
            *buffer++ = {2, bytes.isNull() ? 16 : UInt32(bytes.size()),
                         bytes.isNull() ? nullptr : bytes.data()};
        }
    }
    AudioBufferList *list() { return reinterpret_cast<AudioBufferList *>(m_storage.data()); }

private:
    QVector<QByteArray> m_bytes;
    std::vector<char> m_storage;
};

OSStatus callBack(const AURenderCallbackStruct &callback, BufferList &buffers)
{
    constexpr UInt32 kInputBus = 1;
    AudioUnitRenderActionFlags flags = 0;
    const AudioTimeStamp time{};
    const UInt32 frames = buffers.list()->mBuffers[0].mDataByteSize / 4;
    return callback.inputProc(callback.inputProcRefCon, &flags, &time, kInputBus, frames,
                              buffers.list());
}

} // namespace

AudioSystem &AudioSystem::instance()
{
    static AudioSystem system;
    return system;
}

void AudioSystem::reset()
{
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
    m_failures.clear();
    m_actions.clear();
    m_misuses.clear();
    m_callback = {};
}

void AudioSystem::failCall(int number, OSStatus status)
{
    const std::lock_guard lock(m_mutex);
    m_failures[number] = status;
}

void AudioSystem::duringCall(const QByteArray &function, std::function<void()> action)
{
    const std::lock_guard lock(m_mutex);
    m_actions[function] = std::move(action);
}

QVector<AudioCall> AudioSystem::calls() const
{
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

QList<QByteArray> AudioSystem::functions() const
{
    QList<QByteArray> names;
    for (const AudioCall &call : calls())
        names << call.function;
    return names;
}

QList<QByteArray> AudioSystem::misuses() const
{
    const std::lock_guard lock(m_mutex);
    return m_misuses;
}

int AudioSystem::liveUnits() const
{
    const std::lock_guard lock(m_mutex);
    return m_units.size();
}

AURenderCallbackStruct AudioSystem::callback() const
{
    const std::lock_guard lock(m_mutex);
    return m_callback;
}

OSStatus AudioSystem::scriptedStatus() const
{
    return m_failures.value(m_calls.size(), noErr);
}

void AudioSystem::note(const AudioCall &call)
{
    m_calls << call;
    const bool isOfUnits =
        call.function != "AudioComponentFindNext" && call.function != "AudioComponentInstanceNew";
    if (isOfUnits && !m_units.contains(call.unit))
        m_misuses << call.function;
}

OSStatus AudioSystem::perform(const AudioCall &call)
{
    std::function<void()> action;
    OSStatus status = noErr;
    {
        const std::lock_guard lock(m_mutex);
        note(call);
        status = scriptedStatus();
        action = m_actions.value(call.function);
        if (status == noErr && m_units.contains(call.unit))
            applyToUnit(call);
    }
    if (action)
        action();
    return status;
}

void AudioSystem::applyToUnit(const AudioCall &call)
{
    if (call.property == kAudioOutputUnitProperty_SetInputCallback)
        std::memcpy(&m_callback, call.value.constData(), sizeof m_callback);
    if (call.function == "AudioComponentInstanceDispose") {
        m_units.remove(call.unit);
        delete call.unit;
    }
}

OSStatus AudioSystem::makeUnit(AudioComponentInstance *unit)
{
    const OSStatus status = perform({"AudioComponentInstanceNew"});
    if (status != noErr) {
        *unit = reinterpret_cast<AudioUnit>(&theComponent); // anything but a unit
        return status;
    }
    *unit = new OpaqueAudioComponentInstance;
    const std::lock_guard lock(m_mutex);
    m_units << *unit;
    return noErr;
}

OSStatus deliver(const AURenderCallbackStruct &callback, const QVector<QByteArray> &buffers)
{
    BufferList list(buffers);
    OSStatus status = kAudio_UnimplementedError;
    std::thread([&] { status = callBack(callback, list); }).join();
    return status;
}

AudioStream::AudioStream(const AURenderCallbackStruct &callback, const QVector<QByteArray> &buffers)
    : m_thread([this, callback, buffers] {
        BufferList list(buffers);
        while (!m_isOver) {
            callBack(callback, list);
            ++m_count;
        }
    })
{
}

AudioStream::~AudioStream()
{
    m_isOver = true;
    m_thread.join();
}

void AudioStream::waitFor(int callbacks) const
{
    for (const int wanted = m_count + callbacks; m_count < wanted;)
        std::this_thread::yield();
}

} // namespace corvane::test

using corvane::test::AudioSystem;

AudioComponent AudioComponentFindNext(AudioComponent inComponent,
                                      const AudioComponentDescription *inDesc)
{
    const OSStatus status =
        AudioSystem::instance().perform({"AudioComponentFindNext", nullptr, *inDesc});
    return inComponent || status != noErr ? nullptr : component();
}

OSStatus AudioComponentInstanceNew(AudioComponent inComponent, AudioComponentInstance *outInstance)
{
    return inComponent == component() ? AudioSystem::instance().makeUnit(outInstance)
                                      : kAudio_ParamError;
}

OSStatus AudioComponentInstanceDispose(AudioComponentInstance inInstance)
{
    return AudioSystem::instance().perform({"AudioComponentInstanceDispose", inInstance});
}

OSStatus AudioUnitInitialize(AudioUnit inUnit)
{
    return AudioSystem::instance().perform({"AudioUnitInitialize", inUnit});
}

OSStatus AudioUnitUninitialize(AudioUnit inUnit)
{
    return AudioSystem::instance().perform({"AudioUnitUninitialize", inUnit});
}

OSStatus AudioUnitSetProperty(AudioUnit inUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
                              AudioUnitElement inElement, const void *inData, UInt32 inDataSize)
{
    const QByteArray value(static_cast<const char *>(inData), int(inDataSize));
    return AudioSystem::instance().perform(
        {"AudioUnitSetProperty", inUnit, {}, inID, inScope, inElement, value});
}

OSStatus AudioOutputUnitStart(AudioUnit ci)
{
    return AudioSystem::instance().perform({"AudioOutputUnitStart", ci});
}

OSStatus AudioOutputUnitStop(AudioUnit ci)
{
    return AudioSystem::instance().perform({"AudioOutputUnitStop", ci});
}
