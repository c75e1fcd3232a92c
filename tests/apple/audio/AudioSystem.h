#ifndef CORVANE_TESTS_AUDIOSYSTEM_H
#define CORVANE_TESTS_AUDIOSYSTEM_H

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QVector>

#include <AudioToolbox/AudioToolbox.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace corvane::test {

/// One call of a simulated function; what it has no argument for is 0 or empty.
struct AudioCall {
    QByteArray function;
    AudioUnit unit = nullptr;
    AudioComponentDescription description{};
    AudioUnitPropertyID property = 0;
    AudioUnitScope scope = 0;
    AudioUnitElement element = 0;
    QByteArray value{};
};

/// The simulated Core Audio of this process: records the calls and does what a test has scripted.
class AudioSystem {
public:
    static AudioSystem &instance();

    /// Forgets the calls and the script; units that live stay.
    void reset();

    /// Lets the call of that number fail, counted from 1 over all functions; finding a component
    /// then finds none, whatever the status.
    void failCall(int number, OSStatus status);

    /// Runs an action inside each call of a function, before it returns.
    void duringCall(const QByteArray &function, std::function<void()> action);

    QVector<AudioCall> calls() const;
    QList<QByteArray> functions() const;
    /// Functions that were called with a unit that does not live.
    QList<QByteArray> misuses() const;
    int liveUnits() const;
    /// What was installed last, on a unit that may be gone by now.
    AURenderCallbackStruct callback() const;

    // What the simulated functions do.
    OSStatus perform(const AudioCall &call);
    OSStatus makeUnit(AudioComponentInstance *unit);

private:
    void note(const AudioCall &call);
    OSStatus scriptedStatus() const;
    void applyToUnit(const AudioCall &call);

    mutable std::mutex m_mutex;
    QVector<AudioCall> m_calls;
    QHash<int, OSStatus> m_failures;
    QHash<QByteArray, std::function<void()>> m_actions;
    QList<QByteArray> m_misuses;
    QSet<AudioUnit> m_units;
    AURenderCallbackStruct m_callback{};
};

/// Calls the callback once with these buffers, on a thread of its own, and waits for its return.
OSStatus deliver(const AURenderCallbackStruct &callback, const QVector<QByteArray> &buffers);

/// Calls the callback again and again on a thread of its own, whatever becomes of the unit and of
/// the capturer.
class AudioStream {
public:
    AudioStream(const AURenderCallbackStruct &callback, const QVector<QByteArray> &buffers);
    ~AudioStream();
    AudioStream(const AudioStream &) = delete;
    AudioStream &operator=(const AudioStream &) = delete;

    /// The callbacks that have returned.
    int count() const { return m_count; }
    /// Waits until so many more have returned.
    void waitFor(int callbacks) const;

private:
    std::atomic<bool> m_isOver{false};
    std::atomic<int> m_count{0};
    std::thread m_thread;
};

} // namespace corvane::test

#endif
