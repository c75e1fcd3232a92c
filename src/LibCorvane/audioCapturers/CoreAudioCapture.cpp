#include "CoreAudioCapture.h"

#include "CoreAudioSink_p.h"

#include <QDebug>

using corvane::CoreAudioSink;
using corvane::CoreAudioSinks;

namespace {

constexpr AudioUnitElement kOutputElement = 0;
constexpr AudioUnitElement kInputElement = 1;

AudioComponentDescription defaultOutput()
{
    AudioComponentDescription description{};
    description.componentType = kAudioUnitType_Output;
    description.componentSubType = kAudioUnitSubType_DefaultOutput;
    description.componentManufacturer = kAudioUnitManufacturer_Apple;
    return description;
}

AudioStreamBasicDescription stereo16Bit()
{
    AudioStreamBasicDescription format{};
    format.mSampleRate = 44100.0;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
    format.mBytesPerPacket = 4;
    format.mFramesPerPacket = 1;
    format.mBytesPerFrame = 4;
    format.mChannelsPerFrame = 2;
    format.mBitsPerChannel = 16;
    return format;
}

template <typename Value>
OSStatus setProperty(AudioUnit unit, AudioUnitPropertyID property, AudioUnitScope scope,
                     AudioUnitElement element, const Value &value)
{
    return AudioUnitSetProperty(unit, property, scope, element, &value, sizeof value);
}

// The steps of the set-up: each works on the capturer's unit.

OSStatus createUnit(AudioComponentInstance &unit, void *)
{
    const AudioComponentDescription description = defaultOutput();
    const AudioComponent component = AudioComponentFindNext(nullptr, &description);
    if (!component)
        return kAudio_ParamError;
    AudioComponentInstance made = nullptr;
    const OSStatus status = AudioComponentInstanceNew(component, &made);
    unit = status == noErr ? made : nullptr;
    return status;
}

OSStatus enableInput(AudioComponentInstance &unit, void *)
{
    return setProperty(unit, kAudioOutputUnitProperty_EnableIO, kAudioUnitScope_Input,
                       kInputElement, UInt32(1));
}

OSStatus installCallback(AudioComponentInstance &unit, void *capturer)
{
    const AURenderCallbackStruct callback{&CoreAudioCapture::captureCallback, capturer};
    return setProperty(unit, kAudioOutputUnitProperty_SetInputCallback, kAudioUnitScope_Global,
                       kOutputElement, callback);
}

OSStatus setStreamFormat(AudioComponentInstance &unit, void *)
{
    return setProperty(unit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Input, kOutputElement,
                       stereo16Bit());
}

OSStatus initializeUnit(AudioComponentInstance &unit, void *)
{
    return AudioUnitInitialize(unit);
}

OSStatus startUnit(AudioComponentInstance &unit, void *)
{
    return AudioOutputUnitStart(unit);
}

struct Step {
    OSStatus (*perform)(AudioComponentInstance &unit, void *capturer);
    const char *failure;
};

constexpr Step kSteps[] = {
    {createUnit, "[CoreAudioCapture]: Failed to new audio unit instance, errCode"},
    {enableInput,
     "[CoreAudioCapture]: Failed to set the EnableIO property of the audio unit, errCode"},
    {installCallback,
     "[CoreAudioCapture]: Failed to set the callback property of the audio unit, errCode"},
    {setStreamFormat,
     "[CoreAudioCapture]: Failed to set the StreamFormat property of the audio unit, errCode"},
    {initializeUnit, "[CoreAudioCapture]: Failed to init audio unit, errCode"},
    {startUnit, "[CoreAudioCapture]: Failed to start audio output unit, errCode"},
};

} // namespace

CoreAudioCapture::CoreAudioCapture(QObject *parent)
    : IAudioCapture(parent)
    , m_sink(std::make_shared<CoreAudioSink>(this))
{
    qRegisterMetaType<QVector<SoundChannel>>("QVector<SoundChannel>");
    CoreAudioSinks::add(this, m_sink);
}

CoreAudioCapture::~CoreAudioCapture()
{
    // Nothing is locked while the unit stops: it may wait for a callback.
    CoreAudioSinks::remove(this);
    releaseUnit();
    m_sink->close();
}

bool CoreAudioCapture::init()
{
    releaseUnit();
    for (const Step &step : kSteps) {
        if (const OSStatus status = step.perform(m_audioUnit, this); status != noErr) {
            qCritical() << step.failure << status;
            return false;
        }
    }
    m_sink->setInputFormat();
    return true;
}

void CoreAudioCapture::releaseUnit()
{
    if (!m_audioUnit)
        return;
    AudioOutputUnitStop(m_audioUnit);
    AudioUnitUninitialize(m_audioUnit);
    AudioComponentInstanceDispose(m_audioUnit);
    m_audioUnit = nullptr;
}

OSStatus CoreAudioCapture::captureCallback(void *inRefCon, AudioUnitRenderActionFlags *,
                                           const AudioTimeStamp *, UInt32, UInt32,
                                           AudioBufferList *ioData)
{
    if (const auto sink = CoreAudioSinks::find(inRefCon))
        sink->take(ioData);
    return noErr;
}
