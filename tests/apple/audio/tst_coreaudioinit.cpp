#include "AudioSystem.h"
#include "CoreAudioRoom.h"

#include <LibCorvane/audioCapturers/CoreAudioCapture.h>

#include <QTest>

#include <cstring>
#include <memory>

using namespace corvane::test;
using Functions = QList<QByteArray>;

namespace {

const Functions &initSteps()
{
    static const Functions steps{"AudioComponentFindNext", "AudioComponentInstanceNew",
                                 "AudioUnitSetProperty",   "AudioUnitSetProperty",
                                 "AudioUnitSetProperty",   "AudioUnitInitialize",
                                 "AudioOutputUnitStart"};
    return steps;
}

const Functions &releaseSteps()
{
    static const Functions steps{"AudioOutputUnitStop", "AudioUnitUninitialize",
                                 "AudioComponentInstanceDispose"};
    return steps;
}

template <typename Value>
Value valueOf(const AudioCall &call)
{
    Value value{};
    std::memcpy(&value, call.value.constData(), qMin(sizeof value, std::size_t(call.value.size())));
    return value;
}

} // namespace

class TestCoreAudioInit : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void silentCapturerAsksForNothing();
    void componentIsTheDefaultOutput();
    void properties_data();
    void properties();
    void callbackIsTheCapturersOwn();
    void streamFormatIsStereo16Bit();
    void initStartsTheUnit();
    void failures_data();
    void failures();
    void destructorIgnoresFailures();
    void secondInitReplacesTheUnit();
    void initAfterAFailureStartsAnew();

private:
    std::unique_ptr<CoreAudioRoom> m_room;
};

void TestCoreAudioInit::init()
{
    m_room = std::make_unique<CoreAudioRoom>();
}

void TestCoreAudioInit::cleanup()
{
    const QStringList leftovers = m_room->leftovers();
    m_room.reset();
    QCOMPARE(leftovers, QStringList());
}

void TestCoreAudioInit::silentCapturerAsksForNothing()
{
    {
        CoreAudioCapture capture;
        QVERIFY(QMetaType::type("QVector<SoundChannel>") != QMetaType::UnknownType);
    }
    QCOMPARE(core().functions(), Functions());
    QVERIFY(!QFile::exists("audio.pcm"));
}

void TestCoreAudioInit::componentIsTheDefaultOutput()
{
    CoreAudioCapture capture;
    QVERIFY(capture.init());
    const AudioComponentDescription description = core().calls().first().description;
    QCOMPARE(description.componentType, UInt32('a' << 24 | 'u' << 16 | 'o' << 8 | 'u'));
    QCOMPARE(description.componentSubType, UInt32('d' << 24 | 'e' << 16 | 'f' << 8 | ' '));
    QCOMPARE(description.componentManufacturer, UInt32('a' << 24 | 'p' << 16 | 'p' << 8 | 'l'));
    QCOMPARE(description.componentFlags, 0U);
    QCOMPARE(description.componentFlagsMask, 0U);
}

void TestCoreAudioInit::properties_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<unsigned>("property");
    QTest::addColumn<unsigned>("scope");
    QTest::addColumn<unsigned>("element");
    QTest::addColumn<int>("size");
    QTest::newRow("input is enabled") << 2 << 2003U << 1U << 1U << 4;
    QTest::newRow("the callback is installed") << 3 << 2005U << 0U << 0U << 16;
    QTest::newRow("the stream format is set") << 4 << 8U << 1U << 0U << 40;
}

void TestCoreAudioInit::properties()
{
    QFETCH(int, step);
    CoreAudioCapture capture;
    QVERIFY(capture.init());
    const AudioCall call = core().calls().at(step);
    QTEST(call.property, "property");
    QTEST(call.scope, "scope");
    QTEST(call.element, "element");
    QTEST(call.value.size(), "size");
}

void TestCoreAudioInit::callbackIsTheCapturersOwn()
{
    CoreAudioCapture capture;
    QVERIFY(capture.init());
    QCOMPARE(valueOf<UInt32>(core().calls().at(2)), 1U);
    const auto callback = valueOf<AURenderCallbackStruct>(core().calls().at(3));
    QVERIFY(callback.inputProc == &CoreAudioCapture::captureCallback);
    QCOMPARE(callback.inputProcRefCon, static_cast<void *>(&capture));
}

void TestCoreAudioInit::streamFormatIsStereo16Bit()
{
    CoreAudioCapture capture;
    QVERIFY(capture.init());
    const auto format = valueOf<AudioStreamBasicDescription>(core().calls().at(4));
    QCOMPARE(format.mSampleRate, 44100.0);
    QCOMPARE(format.mFormatID, UInt32('l' << 24 | 'p' << 16 | 'c' << 8 | 'm'));
    QCOMPARE(format.mFormatFlags, 12U);
    QCOMPARE(format.mBytesPerPacket, 4U);
    QCOMPARE(format.mFramesPerPacket, 1U);
    QCOMPARE(format.mBytesPerFrame, 4U);
    QCOMPARE(format.mChannelsPerFrame, 2U);
    QCOMPARE(format.mBitsPerChannel, 16U);
    QCOMPARE(format.mReserved, 0U);
}

void TestCoreAudioInit::initStartsTheUnit()
{
    {
        CoreAudioCapture capture;
        QVERIFY(capture.init());
        QCOMPARE(core().functions(), initSteps());
        QCOMPARE(core().liveUnits(), 1);
    }
    QCOMPARE(core().functions(), initSteps() + releaseSteps());
}

void TestCoreAudioInit::failures_data()
{
    QTest::addColumn<int>("failingCall");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("unitExists");
    QTest::newRow("there is no such component")
        << 1 << 1 << "[CoreAudioCapture]: Failed to new audio unit instance, errCode -50" << false;
    QTest::newRow("no unit can be made")
        << 2 << -108 << "[CoreAudioCapture]: Failed to new audio unit instance, errCode -108"
        << false;
    QTest::newRow("input cannot be enabled")
        << 3 << -10879
        << "[CoreAudioCapture]: Failed to set the EnableIO property of the audio unit, "
           "errCode -10879"
        << true;
    QTest::newRow("the callback cannot be installed")
        << 4 << -10877
        << "[CoreAudioCapture]: Failed to set the callback property of the audio unit, "
           "errCode -10877"
        << true;
    QTest::newRow("the stream format is refused")
        << 5 << -10868
        << "[CoreAudioCapture]: Failed to set the StreamFormat property of the audio unit, "
           "errCode -10868"
        << true;
    QTest::newRow("the unit cannot be initialised")
        << 6 << -10875 << "[CoreAudioCapture]: Failed to init audio unit, errCode -10875" << true;
    QTest::newRow("the unit does not start with a positive status")
        << 7 << 560947818
        << "[CoreAudioCapture]: Failed to start audio output unit, errCode 560947818" << true;
}

void TestCoreAudioInit::failures()
{
    QFETCH(int, failingCall);
    QFETCH(int, status);
    QFETCH(QString, line);
    QFETCH(bool, unitExists);
    core().failCall(failingCall, status);
    const Functions steps = initSteps().mid(0, failingCall);
    {
        CoreAudioCapture capture;
        QVERIFY(!capture.init());
        QCOMPARE(core().functions(), steps);
        QCOMPARE(logged(m_room->log()),
                 QStringList("critical|default|CoreAudioCapture::init|" + line));
        QCOMPARE(core().liveUnits(), unitExists ? 1 : 0);
        m_room->log().clear();
    }
    QCOMPARE(core().functions(), unitExists ? steps + releaseSteps() : steps);
}

void TestCoreAudioInit::destructorIgnoresFailures()
{
    {
        CoreAudioCapture capture;
        QVERIFY(capture.init());
        core().failCall(initSteps().size() + 1, kAudio_ParamError);
        core().failCall(initSteps().size() + 2, kAudio_ParamError);
    }
    QCOMPARE(core().functions(), initSteps() + releaseSteps());
}

void TestCoreAudioInit::secondInitReplacesTheUnit()
{
    {
        CoreAudioCapture capture;
        QVERIFY(capture.init());
        QVERIFY(capture.init());
        QCOMPARE(core().functions(), initSteps() + releaseSteps() + initSteps());
        QCOMPARE(core().liveUnits(), 1);
    }
    QCOMPARE(core().functions(), initSteps() + releaseSteps() + initSteps() + releaseSteps());
}

void TestCoreAudioInit::initAfterAFailureStartsAnew()
{
    core().failCall(5, kAudioUnitErr_FormatNotSupported);
    CoreAudioCapture capture;
    QVERIFY(!capture.init());
    m_room->log().clear();
    QVERIFY(capture.init());
    QCOMPARE(core().functions(), initSteps().mid(0, 5) + releaseSteps() + initSteps());
    QCOMPARE(core().liveUnits(), 1);
}

QTEST_GUILESS_MAIN(TestCoreAudioInit)
#include "tst_coreaudioinit.moc"
