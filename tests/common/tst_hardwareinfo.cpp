// This machine, as it is.

#include <support/ConfigurationSupport.h>
#include <support/LogCapture.h>

#include <LibCorvane/common/HardwareInfo.h>

#include <QPointer>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <sys/statvfs.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<QObject, HardwareInfo>);
static_assert(std::is_default_constructible_v<HardwareInfo>);
static_assert(std::is_same_v<decltype(&HardwareInfo::getcpuid), void (*)(unsigned *, unsigned)>);
static_assert(std::is_same_v<decltype(&HardwareInfo::getMacStr), QString (*)(QString)>);

namespace {

const QString kProcessorStore =
    R"(HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System\CentralProcessor\0)";
const QStringList kAdapterStores = {
    R"(HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\services\nvlddmkm\Device0)",
    R"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\igfx\Device0)",
    R"(HKEY_LOCAL_MACHINE\SYSTEM\ControlSet001\Services\amdkmdap\Device0)"};

using Words = std::array<unsigned, 4>;

Words cpuid(unsigned leaf)
{
    Words words = {1, 2, 3, 4};
    HardwareInfo::getcpuid(words.data(), leaf);
    return words;
}

/// A value that the kernel tells of the first processor.
QString kernelSays(const QString &key)
{
    const QString text = bytesOf("/proc/cpuinfo");
    const QRegularExpression pattern("^" + key + "\\s*: (.*)$",
                                     QRegularExpression::MultilineOption);
    return pattern.match(text).captured(1);
}

QStringList filesBelow(const QString &folder)
{
    QStringList names;
    QDirIterator files(folder,
                       QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        names << files.next();
    return names;
}

} // namespace

class TestHardwareInfo : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void asksTheProcessorForALeaf();
    void givesZerosForALeafThatIsNotThere();
    void identifiesTheProcessor();
    void knowsNothingOfMemoryAndSound();
    void describesTheSystem();
    void hasNoNativeSettings();
    void leavesNoFileBehind();
    void readsAFileInTheWorkingDirectory();
    void measuresTheRootVolume();
    void findsAnAddressThatTheSystemKnows();
    void hasNoScreenWithoutAnApplicationForOne();
    void answersOnAnyThread();
    void answersWhileObjectsComeAndGo();
    void isAnObjectWithoutMembers();

private:
    QTemporaryDir m_directory;
};

void TestHardwareInfo::initTestCase()
{
    // Relative names lead into an empty directory, and so do the user's settings.
    QVERIFY(m_directory.isValid());
    qputenv("HOME", QFile::encodeName(m_directory.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_directory.path()));
    QVERIFY(QDir::setCurrent(m_directory.path()));
}

void TestHardwareInfo::asksTheProcessorForALeaf()
{
    const QString maker = kernelSays("vendor_id");
    if (maker.isEmpty())
        QSKIP("The kernel does not tell the processor's maker: no x86.");
    const Words words = cpuid(0);
    QByteArray text;
    for (const unsigned word : {words[1], words[3], words[2]})
        text.append(reinterpret_cast<const char *>(&word), sizeof word);
    QCOMPARE(QString(text), maker);
    QCOMPARE(int(words[0]), kernelSays("cpuid level").toInt());

    const unsigned version = cpuid(1)[0];
    const unsigned family = (version >> 8 & 0xf) + (version >> 20 & 0xff);
    const unsigned model = (version >> 4 & 0xf) | (version >> 12 & 0xf0);
    QCOMPARE(QString::number(family), kernelSays("cpu family"));
    QCOMPARE(QString::number(model), kernelSays("model"));
    QCOMPARE(QString::number(version & 0xf), kernelSays("stepping"));

    // The extended leaves spell the name, with blanks in places of their own.
    QByteArray name;
    for (const unsigned leaf : {0x80000002U, 0x80000003U, 0x80000004U}) {
        const Words part = cpuid(leaf);
        name.append(reinterpret_cast<const char *>(part.data()), sizeof part);
    }
    QCOMPARE(QString(name.constData()).simplified(), kernelSays("model name").simplified());
}

void TestHardwareInfo::givesZerosForALeafThatIsNotThere()
{
    if (kernelSays("vendor_id").isEmpty())
        QSKIP("The kernel does not tell the processor's maker: no x86.");
    QCOMPARE(cpuid(0x7fffffff), Words());
    QCOMPARE(cpuid(0xffffffff), Words());
}

void TestHardwareInfo::identifiesTheProcessor()
{
    if (kernelSays("vendor_id").isEmpty())
        QSKIP("The kernel does not tell the processor's maker: no x86.");
    const Words words = cpuid(1);
    char text[17];
    std::snprintf(text, sizeof text, "%X%X", words[3], words[0]);
    QCOMPARE(HardwareInfo::get_cpuId(), QString(text));
    constexpr unsigned fpuAndSse2 = 1U | 1U << 26;
    QCOMPARE(words[3] & fpuAndSse2, fpuAndSse2);
}

void TestHardwareInfo::knowsNothingOfMemoryAndSound()
{
    for (int call = 0; call < 2; ++call) {
        QCOMPARE(HardwareInfo::memory(), QString(""));
        QCOMPARE(HardwareInfo::audioOut(), QString(""));
    }
}

void TestHardwareInfo::describesTheSystem()
{
    const QString text = HardwareInfo::osVersion();
    QCOMPARE(text, QSysInfo::productType() + ' ' + QSysInfo::productVersion() + " dmkm\\Device0");
    QVERIFY(!QSysInfo::productType().isEmpty());
    QCOMPARE(text.count('\\'), 1);
}

void TestHardwareInfo::hasNoNativeSettings()
{
    const LogCapture log;
    QCOMPARE(HardwareInfo::cpuType(), QString());
    QCOMPARE(HardwareInfo::dCard(), QString());
    QCOMPARE(logged(log), QStringList());
}

void TestHardwareInfo::leavesNoFileBehind()
{
    HardwareInfo::cpuType();
    HardwareInfo::dCard();
    QCOMPARE(filesBelow(m_directory.path()), QStringList());
}

void TestHardwareInfo::readsAFileInTheWorkingDirectory()
{
    writeBytes(m_directory.filePath(kProcessorStore), "[General]\nProcessorNameString=Fast 1\n");
    QCOMPARE(HardwareInfo::cpuType(), QString("Fast 1"));
    QStringList files{m_directory.filePath(kProcessorStore)};
    const QStringList names{"N", "\"  I 2 \"", "A"};
    for (int i = 0; i < names.size(); ++i) {
        files << m_directory.filePath(kAdapterStores[i]);
        writeBytes(files.last(), "[General]\nDevice%20Description=" + names[i].toUtf8() + '\n');
    }
    QCOMPARE(HardwareInfo::dCard(), QString("N\nI 2\nA"));
    files.sort();
    QStringList found = filesBelow(m_directory.path());
    found.sort();
    QCOMPARE(found, files);
    for (const QString &file : files)
        QVERIFY(QFile::remove(file));
    QCOMPARE(HardwareInfo::cpuType() + HardwareInfo::dCard(), QString());
}

void TestHardwareInfo::measuresTheRootVolume()
{
    struct statvfs root { };
    QCOMPARE(statvfs("/", &root), 0);
    const quint64 kibibytes = quint64(root.f_blocks) * root.f_frsize / 1024;
    const QString text = HardwareInfo::disk();
    const QRegularExpression pattern(QString("^.* (\\d+)G/%1G  $").arg(kibibytes));
    const auto match = pattern.match(text);
    QVERIFY2(match.hasMatch(), qPrintable(text));
    // What is free may change meanwhile, but is no more than the whole.
    QVERIFY(match.captured(1).toULongLong() <= kibibytes >> 20);
}

void TestHardwareInfo::findsAnAddressThatTheSystemKnows()
{
    QStringList known{""};
    const QStringList interfaces =
        QDir("/sys/class/net").entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    for (const QString &interface : interfaces)
        known << QString(bytesOf("/sys/class/net/" + interface + "/address"))
                     .toUpper()
                     .remove(':')
                     .trimmed();
    const LogCapture log;
    const QString address = HardwareInfo::getMacStr("0");
    QVERIFY2(known.contains(address), qPrintable(address));
    QCOMPARE(log.messages(QtWarningMsg).isEmpty(), !address.isEmpty());
}

void TestHardwareInfo::hasNoScreenWithoutAnApplicationForOne()
{
    QVERIFY(QCoreApplication::instance());
    QCOMPARE(HardwareInfo::screen(), QString());
}

void TestHardwareInfo::answersOnAnyThread()
{
    const auto answers = [] {
        return QStringList{HardwareInfo::get_cpuId(), HardwareInfo::cpuType(),
                           HardwareInfo::osVersion(), HardwareInfo::dCard(),
                           HardwareInfo::disk().section('/', 1)};
    };
    QStringList elsewhere;
    const std::unique_ptr<QThread> thread(QThread::create([&] { elsewhere = answers(); }));
    thread->start();
    QVERIFY(thread->wait());
    QCOMPARE(elsewhere, answers());
}

// An object holds nothing that an answer under way needs.
void TestHardwareInfo::answersWhileObjectsComeAndGo()
{
    const LogCapture log;
    const QString wanted = HardwareInfo::osVersion() + HardwareInfo::get_cpuId();
    std::atomic<int> answers{0};
    std::atomic<int> wrongAnswers{0};
    std::atomic<bool> ends{false};
    std::thread asking([&] {
        for (; !ends; ++answers)
            wrongAnswers += HardwareInfo::osVersion() + HardwareInfo::get_cpuId() != wanted;
    });
    for (const int last = 100; answers < last;) {
        auto owner = std::make_unique<QObject>();
        const QPointer<HardwareInfo> owned(new HardwareInfo(owner.get()));
        auto own = std::make_unique<HardwareInfo>();
        own.reset();
        owner.reset();
        QVERIFY(!owned);
    }
    ends = true;
    asking.join();
    QCOMPARE(wrongAnswers.load(), 0);
    QCOMPARE(logged(log), QStringList());
}

void TestHardwareInfo::isAnObjectWithoutMembers()
{
    const QMetaObject &type = HardwareInfo::staticMetaObject;
    QCOMPARE(QString(type.className()), QString("HardwareInfo"));
    QCOMPARE(type.methodCount(), type.methodOffset());
    QCOMPARE(type.propertyCount(), type.propertyOffset());
    QObject parent;
    const auto *info = new HardwareInfo(&parent);
    QCOMPARE(info->parent(), &parent);
}

QTEST_GUILESS_MAIN(TestHardwareInfo)
#include "tst_hardwareinfo.moc"
