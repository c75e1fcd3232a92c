#include "CaptureRecord.h"

#include "support/Interpose.h"
#include "support/LogCapture.h"
#include "support/XClient.h"
#include "support/XServer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QThread>

#include <pthread.h>
#include <unistd.h>
#include <xcb/shm.h>

#include <atomic>
#include <vector>

using namespace corvane::test;

namespace {

std::atomic<bool> serverIsElsewhere{false};
thread_local bool pausesAfterLocks = false;

} // namespace

// Stands before XCB's own function, to name a segment that the server does not have.
extern "C" xcb_void_cookie_t xcb_shm_attach_checked(xcb_connection_t *connection,
                                                    xcb_shm_seg_t segment, uint32_t id,
                                                    uint8_t readOnly)
{
    return nextFunction<decltype(xcb_shm_attach_checked)>("xcb_shm_attach_checked")(
        connection, segment, serverIsElsewhere ? 0x7fffffff : id, readOnly);
}

// Stands before the C library's own function, to hold up the thread that asks for it: long enough
// for a new thread to deliver a frame.
extern "C" int pthread_mutex_unlock(pthread_mutex_t *mutex)
{
    const int result = nextFunction<decltype(pthread_mutex_unlock)>("pthread_mutex_unlock")(mutex);
    if (pausesAfterLocks)
        QThread::msleep(300);
    return result;
}

namespace {

constexpr int kPatienceMs = 20000;

QStringList threads()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

// The threads of this process that capture a screen, once they have begun to.
int captureThreads()
{
    int count = 0;
    for (const QString &thread : threads()) {
        QFile name(QStringLiteral("/proc/self/task/%1/comm").arg(thread));
        if (name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == "screen-capture")
            ++count;
    }
    return count;
}

QStringList openDescriptors()
{
    QStringList targets;
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QString &name : descriptors.entryList(QDir::AllEntries | QDir::System))
        targets << QFile::symLinkTarget(descriptors.filePath(name));
    return targets;
}

int openSockets()
{
    return openDescriptors().filter(QStringLiteral("socket:")).size();
}

// The permissions, in octal, of the shared memory that this process has made and that still exists.
QStringList sharedMemoryOfThisProcess()
{
    QFile table(QStringLiteral("/proc/sysvipc/shm"));
    if (!table.open(QIODevice::ReadOnly))
        return {QStringLiteral("no table")};
    QStringList permissions;
    const QByteArray self = QByteArray::number(getpid());
    for (const QByteArray &line : table.readAll().split('\n').mid(1)) {
        const auto columns = line.simplified().split(' ');
        if (columns.value(4) == self)
            permissions << QString::fromLatin1(columns.value(2));
    }
    return permissions;
}

} // namespace

/// What a capture costs: when it works, when it rests, and what it leaves behind.
class TestX11Economy : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();

    void captureThatNobodyReadsSleepsAndWakes();
    void sleepingCaptureKeepsItsLastFrame();
    void readThatWakesGivesTheLastFrame();
    void capturesAreNotAwakeInMasses();
    void sleepersHoldNoDescriptorsAndFewFrames();
    void freeingEndsTheThreadAndTheConnection();
    void sharedMemoryIsPrivateAndGoesWithItsUsers();
    void sharedMemoryThatTheServerRefusesIsGivenBack();
    void noMoreThan25FramesASecond();
    void stillScreenBringsNoNewFrames();
    void hostMayEndWithoutFreeing();

private:
    std::unique_ptr<XServer> m_server;
    std::unique_ptr<XClient> m_client;
};

void TestX11Economy::initTestCase()
{
    m_server = std::make_unique<XServer>(XServerOptions{{800, 600}, 24, {}});
    QVERIFY2(m_server->isRunning(), qPrintable(m_server->log()));
    m_server->useForThisProcess();
    m_client = std::make_unique<XClient>(m_server->display());
    m_client->fill({0, 0, 800, 600}, Qt::green);
    QVERIFY(m_client->sync());
}

void TestX11Economy::captureThatNobodyReadsSleepsAndWakes()
{
    const int sockets = openSockets();
    const auto record = captureOf(1);
    QVERIFY(isFilled(firstFrame(record), Qt::green));
    QCOMPARE(captureThreads(), 1);
    QCOMPARE(openSockets(), sockets + 1);
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
    QCOMPARE(openSockets(), sockets);

    m_client->fill({0, 0, 800, 600}, Qt::blue);
    QVERIFY(m_client->sync());
    QVERIFY(isFilled(AVCaptureNextFrame(record.get()), Qt::green)); // this read wakes it
    QVERIFY(isFilled(frameIn(record, Qt::blue), Qt::blue));
    QCOMPARE(captureThreads(), 1);
    m_client->fill({0, 0, 800, 600}, Qt::green);
    QVERIFY(m_client->sync());
}

void TestX11Economy::sleepingCaptureKeepsItsLastFrame()
{
    const LogCapture log;
    const auto record = captureOf(1);
    const QImage first = firstFrame(record);
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
    QCOMPARE(AVCaptureOriginSize(record.get()), QSize(800, 600));
    AVCaptureSetOutputSize(record.get(), {40, 30}); // does not wake it
    QCOMPARE(captureThreads(), 0);
    QCOMPARE(AVCaptureNextFrame(record.get()), first);
    const QImage frame = frameThat(record, [](const QImage &image) { return image.width() == 40; });
    QCOMPARE(frame.size(), QSize(40, 30));
    QCOMPARE(log.messages(), QStringList());
}

// Also when the thread that it starts is faster than the rest of the read.
void TestX11Economy::readThatWakesGivesTheLastFrame()
{
    const auto record = captureOf(1);
    const QImage first = firstFrame(record);
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
    AVCaptureSetOutputSize(record.get(), {40, 30});
    pausesAfterLocks = true;
    const QImage woken = AVCaptureNextFrame(record.get());
    pausesAfterLocks = false;
    QCOMPARE(woken, first);
}

void TestX11Economy::capturesAreNotAwakeInMasses()
{
    const int before = threads().size();
    std::vector<CaptureRecord> records;
    for (int i = 0; i < 64; ++i) {
        records.push_back(captureOf(1));
        QVERIFY(records.back());
    }
    // All of them are read so often that none goes to sleep by itself. A new thread counts before
    // it has its name.
    const QDeadlineTimer patience(kPatienceMs);
    for (std::size_t i = 0; threads().size() - before > 32; ++i) {
        QVERIFY(!patience.hasExpired());
        AVCaptureNextFrame(records.at(i % records.size()).get());
        QTest::qWait(5);
    }
    // None is left out when it is read.
    for (const auto &record : records)
        QVERIFY(!firstFrame(record).isNull());
    records.clear();
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
}

// As when a display is released by its last user and acquired again, over and over.
void TestX11Economy::sleepersHoldNoDescriptorsAndFewFrames()
{
    const int descriptors = openDescriptors().size();
    std::vector<CaptureRecord> records;
    for (int i = 0; i < 40; ++i) {
        records.push_back(captureOf(1));
        QVERIFY(!firstFrame(records.back()).isNull());
    }
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
    QCOMPARE(openDescriptors().size(), descriptors);
    // The last to go to sleep have their frames; this read wakes them.
    int withFrame = 0;
    for (const auto &record : records)
        withFrame += AVCaptureNextFrame(record.get()).isNull() ? 0 : 1;
    QCOMPARE(withFrame, 32);
    for (const auto &record : records)
        QVERIFY(!firstFrame(record).isNull());
}

void TestX11Economy::freeingEndsTheThreadAndTheConnection()
{
    const LogCapture log;
    const int descriptors = openDescriptors().size();
    for (int i = 0; i < 20; ++i) {
        const auto record = captureOf(1);
        if (i % 2)
            QVERIFY(!firstFrame(record).isNull());
    }
    QTRY_COMPARE_WITH_TIMEOUT(captureThreads(), 0, kPatienceMs);
    QCOMPARE(openDescriptors().size(), descriptors);
    // The server lets go of it when it has seen the connection end.
    QTRY_COMPARE_WITH_TIMEOUT(sharedMemoryOfThisProcess(), QStringList(), kPatienceMs);
    QCOMPARE(log.messages(), QStringList());
}

void TestX11Economy::sharedMemoryIsPrivateAndGoesWithItsUsers()
{
    const auto record = captureOf(1);
    QVERIFY(!firstFrame(record).isNull());
    // 01000 marks what vanishes with its last user; the rest is read and write for the owner.
    QTRY_COMPARE_WITH_TIMEOUT(sharedMemoryOfThisProcess(), QStringList{QStringLiteral("1600")},
                              kPatienceMs);
}

void TestX11Economy::sharedMemoryThatTheServerRefusesIsGivenBack()
{
    serverIsElsewhere = true;
    const auto record = captureOf(1);
    const QImage frame = frameIn(record, Qt::green);
    serverIsElsewhere = false;
    QVERIFY(isFilled(frame, Qt::green));
    QTRY_COMPARE_WITH_TIMEOUT(sharedMemoryOfThisProcess(), QStringList(), kPatienceMs);
}

void TestX11Economy::noMoreThan25FramesASecond()
{
    const auto record = captureOf(1);
    firstFrame(record);
    QElapsedTimer timer;
    timer.start();
    QSet<qint64> frames{AVCaptureNextFrame(record.get()).cacheKey()};
    for (int i = 0; i < 400; ++i) {
        m_client->fill({0, 0, 800, 600}, i % 2 ? Qt::green : Qt::blue);
        m_client->sync();
        frames.insert(AVCaptureNextFrame(record.get()).cacheKey());
        QTest::qWait(3);
    }
    const qint64 ms = timer.elapsed();
    QVERIFY2(frames.size() <= ms / 40 + 2,
             qPrintable(QStringLiteral("%1 in %2 ms").arg(frames.size()).arg(ms)));
    QVERIFY(frames.size() > 2);
}

void TestX11Economy::stillScreenBringsNoNewFrames()
{
    m_client->fill({0, 0, 800, 600}, Qt::green);
    QVERIFY(m_client->sync());
    const auto record = captureOf(1);
    // The record's first look and what was drawn just before.
    frameIn(record, Qt::green);
    for (int i = 0; i < 10; ++i) {
        AVCaptureNextFrame(record.get());
        QTest::qWait(20);
    }
    const auto settled = AVCaptureNextFrame(record.get()).cacheKey();
    for (int i = 0; i < 20; ++i) {
        QTest::qWait(20);
        QCOMPARE(AVCaptureNextFrame(record.get()).cacheKey(), settled);
    }
}

void TestX11Economy::hostMayEndWithoutFreeing()
{
    for (const char *moment : {"started", "read", "slept"}) {
        QProcess host;
        host.start(QStringLiteral(CORVANE_CAPTURE_HOST), {QString::fromLatin1(moment)});
        QVERIFY(host.waitForFinished(kPatienceMs));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
        QCOMPARE(QString::fromLocal8Bit(host.readAllStandardError()), QString());
    }
}

QTEST_GUILESS_MAIN(TestX11Economy)
#include "tst_x11economy.moc"
