// The system's write() is replaced by one that takes as much as a test says, its mkdir() by one
// that is watched.

#include <support/ConfigurationSupport.h>
#include <support/Interpose.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

using namespace corvane::test;

namespace {

/// How many bytes the next calls take at the most: 0 is none, below 0 an error. Calls beyond the
/// list are the system's own.
QVector<int> script;

QStringList madeFolders;

} // namespace

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto system = nextFunction<ssize_t(int, const void *, size_t)>("write");
    if (script.isEmpty())
        return system(descriptor, bytes, count);
    const int limit = script.takeFirst();
    if (limit > 0)
        return system(descriptor, bytes, std::min(count, size_t(limit)));
    errno = EIO;
    return limit;
}

extern "C" int mkdir(const char *path, mode_t mode)
{
    static const auto system = nextFunction<int(const char *, mode_t)>("mkdir");
    madeFolders.append(QString::fromUtf8(path));
    return system(path, mode);
}

class TestConfigurationWrites : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup() { script.clear(); }
    void foldersAreMadeInOrder();
    void goesOnAfterAShortWrite();
    void endsAtAWriteThatFails_data();
    void endsAtAWriteThatFails();
    void aDiskThatIsFullAtAnyByteLosesNothingOfMemory();

private:
    QString path() const { return m_directory.filePath("root/global.json"); }

    QTemporaryDir m_directory;
    const QByteArray m_document = "{\n    \"key\": \"value\"\n}\n";
};

void TestConfigurationWrites::initTestCase()
{
    madeFolders.clear();
    ConfigurationManager::setConfigPath(m_directory.filePath("root"));
    ConfigurationManager::setGlobalValue(QStringList("key"), "value");
}

void TestConfigurationWrites::foldersAreMadeInOrder()
{
    const QString root = m_directory.filePath("root");
    QStringList folders{root};
    for (const char *name : {"controllers", "logs", "effects", "dumps", "resources"})
        folders.append(root + '/' + name);
    QCOMPARE(madeFolders, folders);
}

void TestConfigurationWrites::goesOnAfterAShortWrite()
{
    const LogCapture log;
    script = {7, 1, 5};
    ConfigurationManager::instance()->saveGlobalValues();
    QVERIFY(script.isEmpty());
    QCOMPARE(bytesOf(path()), m_document);
    QCOMPARE(log.messages(), QStringList());
}

void TestConfigurationWrites::endsAtAWriteThatFails_data()
{
    QTest::addColumn<QVector<int>>("writes");
    QTest::addColumn<int>("kept");
    QTest::newRow("an error at once") << QVector<int>{-1} << 0;
    QTest::newRow("an error after some bytes") << QVector<int>{7, -1, -1} << 7;
    QTest::newRow("no progress at once") << QVector<int>{0} << 0;
    QTest::newRow("no progress after some bytes") << QVector<int>{7, 0, 0} << 7;
}

void TestConfigurationWrites::endsAtAWriteThatFails()
{
    QFETCH(QVector<int>, writes);
    QFETCH(int, kept);
    const LogCapture log;
    script = writes;
    ConfigurationManager::instance()->saveGlobalValues();
    script.clear();
    QCOMPARE(bytesOf(path()), m_document.left(kept));
    QCOMPARE(logged(log), saveFailure(path(), reason(EIO)));
}

void TestConfigurationWrites::aDiskThatIsFullAtAnyByteLosesNothingOfMemory()
{
    const QJsonObject memory = ConfigurationManager::instance()->globalJsonObj();
    const QSignalSpy changes(ConfigurationManager::instance(),
                             &ConfigurationManager::appConfigChanged);
    for (int room = 0; room < m_document.size(); ++room) {
        const LogCapture log;
        script = room == 0 ? QVector<int>{-1} : QVector<int>{room, -1, -1};
        ConfigurationManager::instance()->setAppConfig("key", "value");
        QVERIFY(script.isEmpty());
        QCOMPARE(bytesOf(path()), m_document.left(room));
        QCOMPARE(logged(log), saveFailure(path(), reason(EIO)));
        QCOMPARE(ConfigurationManager::instance()->globalJsonObj(), memory);
        QCOMPARE(changes.count(), room + 1);

        ConfigurationManager::instance()->saveGlobalValues();
        QCOMPARE(bytesOf(path()), m_document);
        QCOMPARE(log.lines().size(), 1);
    }
}

QTEST_GUILESS_MAIN(TestConfigurationWrites)
#include "tst_configurationwrites.moc"
