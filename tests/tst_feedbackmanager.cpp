// Names, the message file and the contact information.

#include <support/ConfigurationSupport.h>
#include <support/FeedbackRoot.h>
#include <support/LogCapture.h>
#include <support/ScriptedInterfaces.h>
#include <support/ZipListing.h>

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>

#include <QMetaMethod>
#include <QtTest>

#include <cerrno>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<QObject, FeedbackManager>);
static_assert(!std::is_copy_constructible_v<FeedbackManager>);
static_assert(std::is_same_v<decltype(std::declval<FeedbackManager>().zipFeedbackFile()), QString>);

namespace {

const char *kTimeFormat = "yyyy-MM-dd_hh-mm-ss";

QStringList openWarning(int error)
{
    return {"warning|default|FeedbackManager::setUserMsg|"
            "Failed to open user feedback message file.  \""
            + reason(error) + '"'};
}

QJsonValue storedContactInfo(const FeedbackRoot &root)
{
    return ConfigurationManager::loadJsonObjectFromFile(root.path("global.json"))
        .value("userContactInfo");
}

} // namespace

class TestFeedbackManager : public QObject {
    Q_OBJECT
private slots:
    void init();
    void takesTheAddressOfTheFirstRealInterface_data();
    void takesTheAddressOfTheFirstRealInterface();
    void namesThePackageAfterAddressAndTime();
    void namesThePackageWithTwoUnderscoresWithoutAnAddress();
    void keepsThePackagesNameForLife();
    void makesNoFileButTheSettingsAtCreation();
    void savesTheSettingsAtCreation();
    void readsTheContactInformationBack_data();
    void readsTheContactInformationBack();
    void writesTheMessageInUtf8();
    void keepsTheEndOfALongerMessage();
    void writesAHiddenFileWithoutContactInformation();
    void logsAMessageFileThatCannotBeOpened();
    void renamesTheMessageFile();
    void renamesTheHiddenMessageFile();
    void keepsAFileThatIsInTheWayOfARename();
    void storesContactInformationWithoutAMessageFile();
    void keepsTheMessageFileForTheNextObject();
    void takesContactInformationAsAPath();
    void hasTwoSlotsInOrder();
    void belongsToItsParent();

private:
    FeedbackRoot m_root;
};

void TestFeedbackManager::init()
{
    m_root.clear();
    setInterfaces({loopBack(), {"3C:22:FB:01:02:03"}});
}

void TestFeedbackManager::takesTheAddressOfTheFirstRealInterface_data()
{
    using Flag = QNetworkInterface;
    QTest::addColumn<QVector<ScriptedInterface>>("interfaces");
    QTest::addColumn<QString>("address");
    QTest::newRow("no interface gives nothing") << QVector<ScriptedInterface>{} << QString();
    QTest::newRow("only loop-back ones give nothing")
        << QVector<ScriptedInterface>{loopBack(), loopBack()} << QString();
    QTest::newRow("the only one") << QVector<ScriptedInterface>{{"AA:BB:CC:DD:EE:FF"}}
                                  << "AA:BB:CC:DD:EE:FF";
    QTest::newRow("the first of two")
        << QVector<ScriptedInterface>{{"AA:BB:CC:DD:EE:FF"}, {"00:11:22:33:44:55"}}
        << "AA:BB:CC:DD:EE:FF";
    QTest::newRow("the one behind the loop-back one")
        << QVector<ScriptedInterface>{loopBack(), {"00:11:22:33:44:55"}} << "00:11:22:33:44:55";
    QTest::newRow("one that is down")
        << QVector<ScriptedInterface>{{"AA:BB:CC:DD:EE:FF", {}}, {"00:11:22:33:44:55"}}
        << "AA:BB:CC:DD:EE:FF";
    QTest::newRow("a first one without an address gives nothing")
        << QVector<ScriptedInterface>{{"", Flag::IsUp | Flag::IsPointToPoint},
                                      {"00:11:22:33:44:55"}}
        << QString();
}

void TestFeedbackManager::takesTheAddressOfTheFirstRealInterface()
{
    QFETCH(QVector<ScriptedInterface>, interfaces);
    FeedbackManager feedback(nullptr);
    setInterfaces(interfaces);
    const LogCapture log;
    QTEST(feedback.getMacAddress(), "address");
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackManager::namesThePackageAfterAddressAndTime()
{
    const QString before = QDateTime::currentDateTime().toString(kTimeFormat);
    const FeedbackManager feedback(nullptr);
    const QString after = QDateTime::currentDateTime().toString(kTimeFormat);
    const QString name = feedback.feedbackFileName();
    const QString prefix = m_root.path("Corvane_3C:22:FB:01:02:03_");
    QVERIFY2(name.startsWith(prefix) && name.endsWith(".zip"), qPrintable(name));
    const QString time = name.mid(prefix.size(), name.size() - prefix.size() - 4);
    QCOMPARE(QDateTime::fromString(time, kTimeFormat).toString(kTimeFormat), time);
    QVERIFY2(before <= time && time <= after, qPrintable(time));
}

void TestFeedbackManager::namesThePackageWithTwoUnderscoresWithoutAnAddress()
{
    setInterfaces({loopBack()});
    const FeedbackManager feedback(nullptr);
    const QRegularExpression pattern("^Corvane__\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d\\.zip$");
    const QString name = QFileInfo(feedback.feedbackFileName()).fileName();
    QVERIFY2(pattern.match(name).hasMatch(), qPrintable(name));
}

void TestFeedbackManager::keepsThePackagesNameForLife()
{
    FeedbackManager feedback(nullptr);
    const QString name = feedback.feedbackFileName();
    setInterfaces({{"00:11:22:33:44:55"}});
    feedback.setUserContactInfo("someone else");
    QCOMPARE(feedback.feedbackFileName(), name);
    QCOMPARE(feedback.zipFeedbackFile(), name);
    m_root.write("logs/new.log", "new");
    QCOMPARE(feedback.zipFeedbackFile(), name);
    const ZipListing zip(name);
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.bytes("logs/new.log"), QByteArray("new"));
    QCOMPARE(QDir(m_root.path()).entryList({"Corvane_*"}, QDir::AllEntries).size(), 1);
}

void TestFeedbackManager::makesNoFileButTheSettingsAtCreation()
{
    const LogCapture log;
    const FeedbackManager feedback(nullptr);
    QCOMPARE(QDir(m_root.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"global.json"});
    QCOMPARE(feedback.userMsg(), QString());
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackManager::savesTheSettingsAtCreation()
{
    ConfigurationManager::instance()->setGlobalValue("not saved yet", 1);
    const FeedbackManager feedback(nullptr);
    QCOMPARE(bytesOf(m_root.path("global.json")), QByteArray("{\n    \"not saved yet\": 1\n}\n"));
}

void TestFeedbackManager::readsTheContactInformationBack_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QString>("contactInfo");
    QTest::newRow("a text") << QJsonValue("größe@example.org") << "größe@example.org";
    QTest::newRow("nothing gives nothing") << QJsonValue(QJsonValue::Undefined) << QString();
    QTest::newRow("a number gives nothing") << QJsonValue(5) << QString();
}

void TestFeedbackManager::readsTheContactInformationBack()
{
    QFETCH(QJsonValue, stored);
    ConfigurationManager::instance()->setGlobalValue("userContactInfo", stored);
    const FeedbackManager feedback(nullptr);
    QTEST(feedback.userContactInfo(), "contactInfo");
}

void TestFeedbackManager::writesTheMessageInUtf8()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("me@example.org");
    const LogCapture log;
    feedback.setUserMsg("Größe: 灯 dark\nsecond line");
    QCOMPARE(feedback.userMsg(), QString("Größe: 灯 dark\nsecond line"));
    QCOMPARE(bytesOf(m_root.path("me@example.org.txt")),
             QByteArray("Gr\xc3\xb6\xc3\x9f\x65: \xe7\x81\xaf dark\nsecond line"));
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackManager::keepsTheEndOfALongerMessage()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("me");
    feedback.setUserMsg("a long message");
    feedback.setUserMsg("short");
    QCOMPARE(bytesOf(m_root.path("me.txt")),
             QByteArray("short"
                        "g message"));
    QCOMPARE(feedback.userMsg(), QString("short"));
    feedback.setUserMsg("");
    QCOMPARE(bytesOf(m_root.path("me.txt")), QByteArray("shortg message"));
    QCOMPARE(feedback.userMsg(), QString());
}

void TestFeedbackManager::writesAHiddenFileWithoutContactInformation()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserMsg("the lamp is dark");
    QCOMPARE(bytesOf(m_root.path(".txt")), QByteArray("the lamp is dark"));
    const ZipListing zip(feedback.zipFeedbackFile());
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.names(), packageDirectories() + QStringList{"global.json"});
}

void TestFeedbackManager::logsAMessageFileThatCannotBeOpened()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("in the way");
    m_root.makeFolder("in the way.txt");
    const LogCapture log;
    feedback.setUserMsg("lost");
    QCOMPARE(logged(log), openWarning(EISDIR));
    QCOMPARE(feedback.userMsg(), QString("lost"));
}

void TestFeedbackManager::renamesTheMessageFile()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("a");
    feedback.setUserMsg("hello");
    feedback.setUserContactInfo("b größe");
    QCOMPARE(bytesOf(m_root.path("a.txt")), QByteArray("(no file)"));
    QCOMPARE(bytesOf(m_root.path("b größe.txt")), QByteArray("hello"));
    QCOMPARE(feedback.userContactInfo(), QString("b größe"));
    QCOMPARE(storedContactInfo(m_root), QJsonValue("b größe"));
}

void TestFeedbackManager::renamesTheHiddenMessageFile()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserMsg("hello");
    feedback.setUserContactInfo("a");
    QCOMPARE(bytesOf(m_root.path(".txt")), QByteArray("(no file)"));
    QCOMPARE(bytesOf(m_root.path("a.txt")), QByteArray("hello"));
    feedback.setUserContactInfo("");
    QCOMPARE(bytesOf(m_root.path("a.txt")), QByteArray("(no file)"));
    QCOMPARE(bytesOf(m_root.path(".txt")), QByteArray("hello"));
}

void TestFeedbackManager::keepsAFileThatIsInTheWayOfARename()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("a");
    feedback.setUserMsg("of a");
    m_root.write("b.txt", "of b");
    const LogCapture log;
    feedback.setUserContactInfo("b");
    QCOMPARE(bytesOf(m_root.path("a.txt")), QByteArray("of a"));
    QCOMPARE(bytesOf(m_root.path("b.txt")), QByteArray("of b"));
    QCOMPARE(feedback.userContactInfo(), QString("b"));
    QCOMPARE(storedContactInfo(m_root), QJsonValue("b"));
    QCOMPARE(logged(log), QStringList());
}

void TestFeedbackManager::storesContactInformationWithoutAMessageFile()
{
    FeedbackManager feedback(nullptr);
    const QSignalSpy changes(ConfigurationManager::instance(),
                             &ConfigurationManager::appConfigChanged);
    const LogCapture log;
    feedback.setUserContactInfo("a");
    QCOMPARE(storedContactInfo(m_root), QJsonValue("a"));
    QCOMPARE(bytesOf(m_root.path("a.txt")), QByteArray("(no file)"));
    QCOMPARE(logged(log), QStringList());
    QCOMPARE(changes.size(), 0);
}

void TestFeedbackManager::keepsTheMessageFileForTheNextObject()
{
    {
        FeedbackManager first(nullptr);
        first.setUserContactInfo("a");
        first.setUserMsg("hello");
    }
    FeedbackManager second(nullptr);
    QCOMPARE(second.userContactInfo(), QString("a"));
    QCOMPARE(second.userMsg(), QString());
    const ZipListing zip(second.zipFeedbackFile());
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.bytes("a.txt"), QByteArray("hello"));
}

void TestFeedbackManager::takesContactInformationAsAPath()
{
    FeedbackManager feedback(nullptr);
    feedback.setUserContactInfo("missing/me");
    const LogCapture log;
    feedback.setUserMsg("lost");
    QCOMPARE(logged(log), openWarning(ENOENT));

    const QString outside = m_root.path() + "/../outside.txt";
    writeBytes(outside, "of somebody else");
    m_root.write("missing/me.txt", "mine");
    feedback.setUserContactInfo("../outside");
    QCOMPARE(bytesOf(outside), QByteArray("of somebody else"));
    QCOMPARE(bytesOf(m_root.path("missing/me.txt")), QByteArray("mine"));
    const ZipListing zip(feedback.zipFeedbackFile());
    QCOMPARE(zip.error(), QString());
    QCOMPARE(zip.bytes("../outside.txt"), QByteArray("of somebody else"));
}

void TestFeedbackManager::hasTwoSlotsInOrder()
{
    const QMetaObject &type = FeedbackManager::staticMetaObject;
    QStringList methods;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i)
        methods << QString(type.method(i).methodSignature());
    QCOMPARE(methods, QStringList({"setUserMsg(QString)", "setUserContactInfo(QString)"}));

    FeedbackManager feedback(nullptr);
    QVERIFY(QMetaObject::invokeMethod(&feedback, "setUserMsg", Q_ARG(QString, "called by name")));
    QCOMPARE(feedback.userMsg(), QString("called by name"));
}

void TestFeedbackManager::belongsToItsParent()
{
    auto parent = std::make_unique<QObject>();
    const QPointer<FeedbackManager> feedback = new FeedbackManager(parent.get());
    QCOMPARE(feedback->parent(), parent.get());
    parent.reset();
    QVERIFY(feedback.isNull());
}

QTEST_GUILESS_MAIN(TestFeedbackManager)
#include "tst_feedbackmanager.moc"
