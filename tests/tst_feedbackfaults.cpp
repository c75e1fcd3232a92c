// What cannot be read, and what cannot be written.

#include <support/ConfigurationSupport.h>
#include <support/FeedbackRoot.h>
#include <support/Interpose.h>
#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>
#include <support/ZipListing.h>

#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/FeedbackPackage_p.h>

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>

using namespace corvane::test;

namespace {

/// Asked before each read() of this program whether it is to succeed.
std::function<bool(int descriptor)> onRead;
/// How many calls of write() are left to the system before one that finds no space; -1 for none.
int writesUntilFull = -1;

void appendTo(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::Append) || file.write(bytes) != bytes.size())
        qFatal("Cannot append to %s", qUtf8Printable(path));
}

QByteArray noise(int size)
{
    QByteArray bytes;
    quint32 state = 1;
    for (int i = 0; i < size; ++i) {
        state = state * 1664525 + 1013904223;
        bytes.append(char(state >> 24));
    }
    return bytes;
}

} // namespace

extern "C" ssize_t read(int descriptor, void *bytes, size_t count)
{
    static const auto system = nextFunction<ssize_t(int, void *, size_t)>("read");
    if (!onRead || onRead(descriptor))
        return system(descriptor, bytes, count);
    errno = EIO;
    return -1;
}

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto system = nextFunction<ssize_t(int, const void *, size_t)>("write");
    if (writesUntilFull < 0 || writesUntilFull-- > 0)
        return system(descriptor, bytes, count);
    errno = ENOSPC;
    return -1;
}

class TestFeedbackFaults : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void leavesOutWhatMayNotBeRead();
    void leavesOutWhatIsNoFile();
    void leavesOutAFileBeyondMemory();
    void leavesOutAFileThatFailsToRead();
    void packsAFileThatGrowsMeanwhile();
    void packsAFileThatShrinksMeanwhile();
    void followsLinks();
    void endsInLoopsOfLinks();
    void makesNoPackageWhereNoneCanBe_data();
    void makesNoPackageWhereNoneCanBe();
    void leavesNoHalfPackageOnAFullDisk_data();
    void leavesNoHalfPackageOnAFullDisk();
    void leavesNoPackageWhenTheDiskIsFullForAMoment();
    void removesNoDevice();
    void knowsAPackageTooLargeForTheFormat();

private:
    QStringList build();

    FeedbackRoot m_root;
    QString m_path;
};

void TestFeedbackFaults::initTestCase()
{
    // A write above a file-size limit is to fail with an error, not to end the process.
    std::signal(SIGXFSZ, SIG_IGN);
}

void TestFeedbackFaults::init()
{
    m_root.clear();
    setInterfaces({});
    m_path = m_root.path("package.zip");
}

void TestFeedbackFaults::cleanup()
{
    onRead = nullptr;
    writesUntilFull = -1;
}

/// The names behind the directories and global.json, or what is wrong.
QStringList TestFeedbackFaults::build()
{
    const LogCapture log;
    FeedbackManager(nullptr).zipFeedbackFile(m_path);
    onRead = nullptr;
    const ZipListing zip(m_path);
    if (!zip.error().isEmpty() || !log.lines().isEmpty())
        return QStringList(zip.error()) + logged(log);
    return zip.names().mid(packageDirectories().size() + 1);
}

void TestFeedbackFaults::leavesOutWhatMayNotBeRead()
{
    m_root.write("controllers/secret.json", "secret");
    m_root.write("controllers/folder/file", "secret");
    m_root.write("effects/open.json", "open");
    m_root.write("logs/secret.log", "secret");
    FeedbackManager feedback(nullptr);
    const auto setMode = [this](const QString &name, mode_t mode) {
        QCOMPARE(chmod(m_root.path(name).toLocal8Bit().constData(), mode), 0);
    };
    for (const char *name : {"controllers/secret.json", "controllers/folder", "logs/secret.log"})
        setMode(name, 0);
    setMode("..", 0755);
    setMode(".", 0777);
    const LogCapture log;
    {
        const OrdinaryUser user;
        feedback.zipFeedbackFile(m_path);
    }
    setMode("controllers/folder", 0755);
    const ZipListing zip(m_path);
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.names(), packageDirectories() + QStringList({"global.json", "effects/open.json"}));
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackFaults::leavesOutWhatIsNoFile()
{
    const QByteArray pipe = m_root.path("controllers/pipe").toLocal8Bit();
    QCOMPARE(mkfifo(pipe.constData(), 0600), 0); // to open it would take forever
    m_root.link("controllers/zero", "/dev/zero");
    m_root.link("controllers/dangling", m_root.path("nothing"));
    m_root.link("controllers/itself", m_root.path("controllers/itself"));
    m_root.write("controllers/file", "");
    QCOMPARE(build(), QStringList{"controllers/file"});
}

void TestFeedbackFaults::leavesOutAFileBeyondMemory()
{
    m_root.write("dumps/a.dmp", "a");
    m_root.write("dumps/huge.dmp", "");
    QVERIFY(QFile::resize(m_root.path("dumps/huge.dmp"), qint64(1) << 31)); // takes no space
    QCOMPARE(build(), QStringList{"dumps/a.dmp"});
}

void TestFeedbackFaults::leavesOutAFileThatFailsToRead()
{
    m_root.write("dumps/a.dmp", "a");
    m_root.write("dumps/unreadable.dmp", "b");
    const QByteArray path = m_root.path("dumps/unreadable.dmp").toLocal8Bit();
    onRead = [path](int descriptor) {
        struct stat wanted { };
        struct stat open { };
        return stat(path.constData(), &wanted) != 0 || fstat(descriptor, &open) != 0
            || wanted.st_ino != open.st_ino;
    };
    QCOMPARE(build(), QStringList{"dumps/a.dmp"});
}

void TestFeedbackFaults::packsAFileThatGrowsMeanwhile()
{
    const QString path = m_root.path("logs/grows.log");
    const QByteArray before(100000, 'x');
    m_root.write("logs/grows.log", before);
    m_root.write("logs/other.log", "other");
    int reads = 0;
    onRead = [&](int) {
        ++reads;
        appendTo(path, "a line that is new\n");
        return true;
    };
    FeedbackManager(nullptr).zipFeedbackFile(m_path);
    onRead = nullptr;
    QVERIFY(reads > 0);
    QVERIFY(QFileInfo(path).size() > before.size());
    const ZipListing zip(m_path);
    QCOMPARE(zip.error(), QString());
    const QByteArray packed = zip.bytes("logs/grows.log");
    QVERIFY(packed.startsWith(before));
    QVERIFY(bytesOf(path).startsWith(packed));
    QCOMPARE(zip.bytes("logs/other.log"), QByteArray("other"));
}

void TestFeedbackFaults::packsAFileThatShrinksMeanwhile()
{
    const QString path = m_root.path("logs/shrinks.log");
    m_root.write("logs/shrinks.log", QByteArray(100000, 'x'));
    onRead = [&](int) { return QFile::resize(path, 1000); };
    FeedbackManager(nullptr).zipFeedbackFile(m_path);
    onRead = nullptr;
    const ZipListing zip(m_path);
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.bytes("logs/shrinks.log"), QByteArray(1000, 'x'));
}

void TestFeedbackFaults::followsLinks()
{
    m_root.write("elsewhere/deep/file", "linked");
    m_root.link("controllers/one", m_root.path("elsewhere"));
    m_root.link("controllers/two", m_root.path("elsewhere"));
    m_root.link("effects/file", m_root.path("elsewhere/deep/file"));
    QStringList names = build();
    names.sort();
    QCOMPARE(
        names,
        QStringList({"controllers/one/deep/file", "controllers/two/deep/file", "effects/file"}));
}

void TestFeedbackFaults::endsInLoopsOfLinks()
{
    m_root.write("controllers/a/file", "a");
    m_root.write("controllers/b/file", "b");
    m_root.write("dumps/x.dmp", "x");
    m_root.link("controllers/self", m_root.path("controllers"));
    m_root.link("controllers/root", m_root.path());
    m_root.link("controllers/a/b", m_root.path("controllers/b"));
    m_root.link("controllers/b/a", m_root.path("controllers/a"));
    QStringList names = build();
    names.sort();
    QVERIFY(names.removeAll("controllers/root/package.zip") == 1);
    QCOMPARE(names,
             QStringList({"controllers/a/b/file", "controllers/a/file", "controllers/b/a/file",
                          "controllers/b/file", "controllers/root/dumps/x.dmp",
                          "controllers/root/global.json", "dumps/x.dmp"}));
}

void TestFeedbackFaults::makesNoPackageWhereNoneCanBe_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("a folder that is missing") << m_root.path("missing/package.zip");
    QTest::newRow("a file for a folder") << m_root.path("global.json/package.zip");
    QTest::newRow("a name that is too long") << m_root.path(QString(300, 'x'));
    QTest::newRow("no name") << QString();
}

void TestFeedbackFaults::makesNoPackageWhereNoneCanBe()
{
    QFETCH(QString, path);
    FeedbackManager feedback(nullptr);
    const LogCapture log;
    feedback.zipFeedbackFile(path);
    QVERIFY(!QFileInfo::exists(path));
    if (!path.isEmpty())
        QCOMPARE(logged(log), QStringList());
    QVERIFY(QFileInfo(m_root.path()).isDir());
}

void TestFeedbackFaults::leavesNoHalfPackageOnAFullDisk_data()
{
    QTest::addColumn<double>("part");
    QTest::newRow("no byte fits") << 0.0;
    QTest::newRow("the first entries fit") << 0.01;
    QTest::newRow("one of the files fits") << 0.5;
    QTest::newRow("all files fit, but not the directory") << 0.99;
    QTest::newRow("all but the last byte fits") << -1.0;
}

void TestFeedbackFaults::leavesNoHalfPackageOnAFullDisk()
{
    QFETCH(double, part);
    m_root.write("dumps/a.dmp", noise(30000));
    m_root.write("dumps/b.dmp", noise(30000));
    FeedbackManager feedback(nullptr);
    feedback.zipFeedbackFile(m_path);
    const qint64 whole = QFileInfo(m_path).size();
    const auto limit = rlim_t(part < 0 ? whole - 1 : qint64(double(whole) * part));
    const LogCapture log;
    {
        const LowLimit fileSize(RLIMIT_FSIZE, limit);
        feedback.zipFeedbackFile(m_path);
    }
    QVERIFY(!QFileInfo::exists(m_path));
    QCOMPARE(logged(log), QStringList());

    feedback.zipFeedbackFile(m_path);
    QCOMPARE(QFileInfo(m_path).size(), whole);
}

void TestFeedbackFaults::leavesNoPackageWhenTheDiskIsFullForAMoment()
{
    m_root.write("dumps/a.dmp", noise(30000));
    FeedbackManager feedback(nullptr);
    int kept = 0;
    // Whichever write it hits.
    for (int writes = 0; kept == 0; ++writes) {
        QVERIFY2(writes < 1000, "the package was never made");
        writesUntilFull = writes;
        feedback.zipFeedbackFile(m_path);
        kept = QFileInfo::exists(m_path) ? 1 : 0;
        if (writesUntilFull < 0)
            QVERIFY2(kept == 0, qPrintable(QString("write %1").arg(writes)));
    }
    writesUntilFull = -1;
    QCOMPARE(ZipListing(m_path).error(), QString());
}

void TestFeedbackFaults::removesNoDevice()
{
    m_root.write("dumps/a.dmp", noise(30000));
    // A link, so that nothing is lost should this fail.
    m_root.link("full", "/dev/full");
    FeedbackManager(nullptr).zipFeedbackFile(m_root.path("full"));
    QCOMPARE(QFile::symLinkTarget(m_root.path("full")), QString("/dev/full"));
}

void TestFeedbackFaults::knowsAPackageTooLargeForTheFormat()
{
    corvane::PackageFile file(m_path);
    QVERIFY(file.openForWriting());
    QVERIFY(file.seek(0xfffffffe) && file.write("x") == 1); // takes no space
    file.close();
    QVERIFY(file.isWhole());
    QVERIFY(file.openForWriting());
    QVERIFY(file.seek(0xffffffff) && file.write("x") == 1);
    file.close();
    QVERIFY(!file.isWhole());
}

QTEST_GUILESS_MAIN(TestFeedbackFaults)
#include "tst_feedbackfaults.moc"
