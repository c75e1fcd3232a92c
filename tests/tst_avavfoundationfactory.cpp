// The listing with a scripted permission, and with an FFmpeg that prints as its "avfoundation"
// input does.

#include <LibCorvane/AVAVFoundationFactory.h>
#include <LibCorvane/common/FFmpegLayout_p.h>
#include <LibCorvane/deskCapturers/FFMpegCapture.h>
#include <platform/ScreenRecordingPermission_p.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>

#include <QProcess>
#include <QTest>

#include <functional>

extern "C" {
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

using namespace corvane::test;

namespace {

const char kVideo[] = "AVFoundation video devices:\n";
const char kAudio[] = "AVFoundation audio devices:\n";
const char kScreen[] = "[%d] Capture screen %d\n";
const char kDevice[] = "[%d] %s\n";

struct Script {
    bool mayRecord = true;
    bool isGranted = false;
    bool hasFormat = true;
    std::function<void()> listing = [] {};

    QStringList calls;
    QString options;
};

Script &script()
{
    static Script instance;
    return instance;
}

/// What FFmpeg does with a message.
void print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    avlogCallback(nullptr, AV_LOG_INFO, format, arguments);
    va_end(arguments);
}

QStringList texts(const QList<DeviceInfo> &devices)
{
    QStringList list;
    for (const DeviceInfo &device : devices)
        list << QString("%1=%2").arg(device.index).arg(device.name);
    return list;
}

QStringList screens()
{
    return texts(AVAVFoundationFactory().videoDevices());
}

QStringList sounds()
{
    return texts(AVAVFoundationFactory().audioDevices());
}

using Printing = std::function<void()>;

} // namespace

Q_DECLARE_METATYPE(Printing)

bool corvane::mayRecordScreen()
{
    script().calls << "preflight";
    return script().mayRecord;
}

bool corvane::requestScreenRecording()
{
    script().calls << "request";
    return script().isGranted;
}

#define REAL(function) nextFunction<decltype(function)>(#function)

extern "C" {

int avformat_network_init()
{
    script().calls << "network";
    return REAL(avformat_network_init)();
}

void av_log_set_callback(void (*callback)(void *, int, const char *, va_list))
{
    script().calls << (callback == avlogCallback ? "callback" : "another callback");
    REAL(av_log_set_callback)(callback);
}

corvane::InputFormat *av_find_input_format(const char *name)
{
    script().calls << QString("find %1").arg(name);
    return script().hasFormat ? REAL(av_find_input_format)("lavfi") : nullptr;
}

int avformat_open_input(AVFormatContext **context, const char *url, corvane::InputFormat *format,
                        AVDictionary **options)
{
    script().calls << QString("open '%1' %2").arg(url, format ? format->name : "");
    char *text = nullptr;
    av_dict_get_string(*options, &text, '=', ',');
    script().options = text;
    av_free(text);
    script().listing();
    avformat_free_context(*context); // a listing ends with a failure
    *context = nullptr;
    return AVERROR_EXIT;
}

} // extern "C"

class TestAVAVFoundationFactory : public QObject {
    Q_OBJECT
private slots:
    void init();
    void firstInstanceSetsFFmpegUp();
    void listsAreEmptyBeforeTheFirstListing();
    void listingIsRead();
    void callbackReadsFormatStrings_data();
    void callbackReadsFormatStrings();
    void headersEmptyTheirOwnList();
    void copiesDoNotChange();
    void contextAndLevelAreIgnored();
    void capturersListingIsReadToo();
    void missingPermissionIsAskedFor_data();
    void missingPermissionIsAskedFor();
    void missingInputIsNoFailure();
    void consoleStaysEmpty();
    void messagesAtTheEndOfTheProcessAreHarmless();
};

void TestAVAVFoundationFactory::init()
{
    script() = {};
}

void TestAVAVFoundationFactory::firstInstanceSetsFFmpegUp()
{
    const LogCapture log;
    const auto find = REAL(av_find_input_format);
    QVERIFY(!find("lavfi")); // one of FFmpeg's devices
    const AVAVFoundationFactory first;
    QCOMPARE(script().calls, QStringList({"network", "callback"}));
    QVERIFY(find("lavfi"));
    const AVAVFoundationFactory second;
    QCOMPARE(script().calls.size(), 2);
    QCOMPARE(logged(log), QStringList());
}

void TestAVAVFoundationFactory::listsAreEmptyBeforeTheFirstListing()
{
    QCOMPARE(screens(), QStringList());
    QCOMPARE(sounds(), QStringList());
}

void TestAVAVFoundationFactory::listingIsRead()
{
    const LogCapture log;
    script().listing = [] {
        av_log(nullptr, AV_LOG_INFO, kVideo);
        av_log(nullptr, AV_LOG_INFO, kDevice, 0, "FaceTime HD Camera");
        av_log(nullptr, AV_LOG_INFO, kScreen, 1, 0);
        av_log(nullptr, AV_LOG_INFO, kScreen, 2, 1);
        av_log(nullptr, AV_LOG_INFO, kAudio);
        av_log(nullptr, AV_LOG_INFO, kDevice, 0, "Microphone");
    };
    AVAVFoundationFactory factory;
    QVERIFY(factory.sanDevices());
    QCOMPARE(script().calls, QStringList({"preflight", "find avfoundation", "open '' lavfi"}));
    QCOMPARE(script().options, QString("list_devices=true"));
    QCOMPARE(screens(), QStringList({"1=Capture screen 0", "2=Capture screen 1"}));
    QCOMPARE(sounds(), QStringList("0=Microphone"));
    QCOMPARE(logged(log), QStringList());
}

void TestAVAVFoundationFactory::callbackReadsFormatStrings_data()
{
    QTest::addColumn<Printing>("printing");
    QTest::addColumn<QStringList>("screenTexts");
    QTest::addColumn<QStringList>("soundTexts");

    const QStringList none;
    const QStringList one{"1=Capture screen 0"};
    const auto row = [](const char *name, const Printing &printing, const QStringList &screenTexts,
                        const QStringList &soundTexts) {
        QTest::newRow(name) << printing << screenTexts << soundTexts;
    };
    row(
        "headers alone give nothing", [] {}, none, none);
    row(
        "camera is left out and the section goes on",
        [] { print(kVideo), print(kDevice, 0, "Camera"), print(kScreen, 1, 0); }, one, none);
    row(
        "unrelated message ends the section",
        [] { print(kVideo), print("%d frames\n", 7), print(kScreen, 1, 0); }, none, none);
    row(
        "unrelated message after a device ends the section",
        [] { print(kVideo), print(kScreen, 1, 0), print(""), print(kScreen, 2, 1); }, one, none);
    row(
        "message without a format ends the section",
        [] { print(kVideo), print(nullptr), print(kScreen, 1, 0); }, none, none);
    row(
        "next header begins a section again",
        [] { print(kVideo), print("x"), print(kVideo), print(kScreen, 1, 0); }, one, none);
    row(
        "device without a header is ignored",
        [] { print("x"), print(kScreen, 1, 0), print(kDevice, 0, "Microphone"); }, none, none);
    row(
        "screen among the sound inputs ends the section",
        [] { print(kAudio), print(kScreen, 1, 0), print(kDevice, 0, "Microphone"); }, none, none);
    row("sound inputs first",
        [] {
            print(kAudio), print(kDevice, 3, "Line"), print(kDevice, 4, "Line");
            print(kVideo), print(kScreen, 1, 0);
        },
        one, {"3=Line", "4=Line"});
    row("names are Latin-1", [] { print(kAudio), print(kDevice, 0, "Caf\xe9 %d"); }, none,
        {QString::fromUtf8("0=Café %d")});
    row("name may be empty", [] { print(kAudio), print(kDevice, 0, ""); }, none, {"0="});
    row(
        "numbers are taken as they are",
        [] { print(kVideo), print(kScreen, -1, 2147483647), print(kScreen, 12, -3); },
        {"-1=Capture screen 2147483647", "12=Capture screen -3"}, none);
    row(
        "case counts",
        [] { print("x"), print("AVFOUNDATION VIDEO DEVICES:\n"), print(kScreen, 1, 0); }, none,
        none);
    row(
        "line end counts",
        [] { print("x"), print("AVFoundation video devices:"), print(kScreen, 1, 0); }, none, none);
    row(
        "formatted text is not a format string",
        [] { print(kVideo), print("[1] Capture screen 0\n"), print(kScreen, 2, 1); }, none, none);
}

void TestAVAVFoundationFactory::callbackReadsFormatStrings()
{
    QFETCH(Printing, printing);
    print(kVideo);
    print(kAudio);
    printing();
    QTEST(screens(), "screenTexts");
    QTEST(sounds(), "soundTexts");
}

void TestAVAVFoundationFactory::headersEmptyTheirOwnList()
{
    print(kVideo);
    print(kScreen, 1, 0);
    print(kAudio);
    print(kDevice, 0, "Microphone");
    print("the listing is over");
    QCOMPARE(screens().size() + sounds().size(), 2);

    print(kVideo);
    QCOMPARE(screens(), QStringList());
    QCOMPARE(sounds(), QStringList("0=Microphone"));
    print(kScreen, 1, 0);
    print(kAudio);
    QCOMPARE(screens(), QStringList("1=Capture screen 0"));
    QCOMPARE(sounds(), QStringList());
}

void TestAVAVFoundationFactory::copiesDoNotChange()
{
    print(kVideo);
    print(kScreen, 1, 0);
    const AVAVFoundationFactory factory;
    const QList<DeviceInfo> copy = factory.videoDevices();
    print(kScreen, 2, 1);
    QCOMPARE(copy.size(), 1);
    QCOMPARE(factory.videoDevices().size(), 2);
}

void TestAVAVFoundationFactory::contextAndLevelAreIgnored()
{
    const AVAVFoundationFactory factory;
    const int level = av_log_get_level();
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext *context = avformat_alloc_context();
    av_log(context, AV_LOG_TRACE, kVideo);
    av_log(nullptr, AV_LOG_PANIC, kScreen, 6, 5);
    avformat_free_context(context);
    av_log_set_level(level);
    QCOMPARE(screens(), QStringList("6=Capture screen 5"));
}

void TestAVAVFoundationFactory::capturersListingIsReadToo()
{
    script().mayRecord = false; // nobody asks
    script().listing = [] {
        av_log(nullptr, AV_LOG_INFO, kVideo);
        av_log(nullptr, AV_LOG_INFO, kScreen, 8, 7);
    };
    const AVAVFoundationFactory factory;
    FFMpegCapture::listDevices();
    QCOMPARE(script().calls, QStringList({"find avfoundation", "open '' lavfi"}));
    QCOMPARE(script().options, QString("list_devices=true"));
    QCOMPARE(screens(), QStringList("8=Capture screen 7"));
}

void TestAVAVFoundationFactory::missingPermissionIsAskedFor_data()
{
    QTest::addColumn<bool>("isGranted");
    QTest::addColumn<QString>("answer");

    QTest::newRow("granted at once") << true << "true";
    QTest::newRow("not granted") << false << "false";
}

void TestAVAVFoundationFactory::missingPermissionIsAskedFor()
{
    QFETCH(bool, isGranted);
    QFETCH(QString, answer);
    print(kVideo);
    print(kScreen, 1, 0);
    print(kAudio);
    print(kDevice, 0, "Microphone");
    script().mayRecord = false;
    script().isGranted = isGranted;
    const LogCapture log;
    AVAVFoundationFactory factory;
    QVERIFY(!factory.sanDevices());
    QCOMPARE(logged(log),
             QStringList("info|default|AVAVFoundationFactory::sanDevices|"
                         "[AVAVFoundationFactory]: Request screen capture access:  "
                         + answer));
    QCOMPARE(script().calls, QStringList({"preflight", "request"}));
    QCOMPARE(screens(), QStringList("1=Capture screen 0"));
    QCOMPARE(sounds(), QStringList("0=Microphone"));

    script().mayRecord = true; // the user has agreed meanwhile
    QVERIFY(factory.sanDevices());
    QCOMPARE(log.messages().size(), 1);
}

void TestAVAVFoundationFactory::missingInputIsNoFailure()
{
    print(kVideo);
    print(kScreen, 1, 0);
    script().hasFormat = false;
    const LogCapture log;
    AVAVFoundationFactory factory;
    QVERIFY(factory.sanDevices());
    QCOMPARE(script().calls, QStringList({"preflight", "find avfoundation"})); // nothing is opened
    QCOMPARE(screens(), QStringList("1=Capture screen 0"));
    QCOMPARE(logged(log), QStringList());
}

void TestAVAVFoundationFactory::consoleStaysEmpty()
{
    QProcess host;
    host.start(CORVANE_FFMPEG_HOST, {"loud"});
    QVERIFY(host.waitForFinished());
    const QByteArray loud = host.readAllStandardError();
    QVERIFY2(loud.contains("a message of 5 words"), loud.constData());

    host.start(CORVANE_FFMPEG_HOST, {"quiet"});
    QVERIFY(host.waitForFinished());
    QCOMPARE(host.readAllStandardError(), QByteArray());
    QCOMPARE(host.readAllStandardOutput(), QByteArray());
    QCOMPARE(host.exitCode(), 0);
}

void TestAVAVFoundationFactory::messagesAtTheEndOfTheProcessAreHarmless()
{
    QProcess host;
    host.start(CORVANE_FFMPEG_HOST, {"ending"});
    QVERIFY(host.waitForFinished());
    QCOMPARE(host.readAllStandardError(), QByteArray());
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(host.exitCode(), 0);
}

QTEST_GUILESS_MAIN(TestAVAVFoundationFactory)
#include "tst_avavfoundationfactory.moc"
