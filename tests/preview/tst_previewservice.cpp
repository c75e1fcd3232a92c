// The preview's service menu against a web server of the test's own.
#include <QtTest>

#include "service/FeedbackDialog.h"
#include "service/ServiceBar.h"
#include "service/ServiceDesk.h"
#include "service/ServiceMenu.h"
#include <support/HttpServer.h>
#include <support/LogCapture.h>
#include <support/ServiceFixture.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

using namespace corvane::test;

namespace {

enum Entry { Check, Download };

/// What the window has of the service.
struct Desk {
    QString text() const { return bar.findChild<QLabel *>()->text(); }
    QProgressBar *progress() const { return bar.findChild<QProgressBar *>(); }
    QPushButton *offer() const { return bar.findChild<QPushButton *>("offer"); }
    void choose(Entry entry) { menu.menu()->actions().at(entry)->trigger(); }

    ServiceMenu menu;
    ServiceBar bar;
    ServiceDesk desk{menu, bar};
};

/// The dialog's widgets.
struct Feedback {
    QPushButton *button(const QString &text) const
    {
        for (QPushButton *one : dialog.findChildren<QPushButton *>()) {
            if (one->text() == text)
                return one;
        }
        return nullptr;
    }

    QStringList contents() const
    {
        const auto *list = dialog.findChild<QListWidget *>();
        QStringList lines;
        for (int row = 0; row < list->count(); ++row)
            lines += list->item(row)->text();
        return lines;
    }

    bool says(const QString &text) const
    {
        const auto labels = dialog.findChildren<QLabel *>();
        return std::any_of(labels.begin(), labels.end(),
                           [&text](const QLabel *label) { return label->text() == text; });
    }

    NetRCManager client;
    FeedbackDialog dialog{client};
    QPlainTextEdit *message = dialog.findChild<QPlainTextEdit *>();
    QLineEdit *contact = dialog.findChild<QLineEdit *>();
    QPushButton *pack = button("&Pack");
    QPushButton *send = button("&Send");
};

QByteArray bytesIn(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

} // namespace

class TestPreviewService : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void offersANewerVersionAndDownloadsIt();
    void showsHowFarTheDownloadIs();
    void tellsThatThereIsNoNewerVersion_data();
    void tellsThatThereIsNoNewerVersion();
    void tellsOfADownloadThatIsNotWhatWasAnnounced();
    void tellsOfADownloadBeforeAnyAnnouncement();
    void givesUpWaitingForAnAnswer_data();
    void givesUpWaitingForAnAnswer();
    void showsWhatIsPackedAndSendsIt();
    void asksForPackingAgainAfterAChange();
    void tellsOfFeedbackThatTheServiceRefuses();
    void doesNotSendAPackageThatIsGone();

private:
    ServiceFixture m_files;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<LogCapture> m_log;
};

void TestPreviewService::initTestCase()
{
    QCoreApplication::setApplicationVersion("1.0");
}

void TestPreviewService::init()
{
    m_files.reset();
    m_server = std::make_unique<HttpServer>();
    m_log = std::make_unique<LogCapture>();
    NetRCManager::setServiceHost(m_server->host());
}

void TestPreviewService::cleanup()
{
    m_log.reset();
    m_server.reset();
}

void TestPreviewService::offersANewerVersionAndDownloadsIt()
{
    m_server->answer("/setup", {installer(1)});
    m_server->answer("/update_check.php",
                     {ok(versionReply("9.9", m_server->url("/setup"), sha256(noise())))});
    Desk desk;
    QVERIFY(desk.bar.isHidden());
    desk.choose(Check);
    QVERIFY(desk.text().startsWith("Asking 127.0.0.1:"));
    QTRY_COMPARE(desk.text(), QString("Version 9.9 can be downloaded."));
    QVERIFY(!desk.bar.isHidden());
    QVERIFY(!desk.offer()->isHidden());
    desk.offer()->click();
    QTRY_COMPARE(desk.text(), "The verified installer lies in " + m_files.installerPath() + '.');
    QVERIFY(desk.offer()->isHidden());
    QVERIFY(bytesIn(m_files.installerPath()) == noise());
}

void TestPreviewService::showsHowFarTheDownloadIs()
{
    Answer held = installer(1);
    held.patternWaits = true;
    m_server->answer("/setup", {held});
    m_server->answer("/update_check.php",
                     {ok(versionReply("9.9", m_server->url("/setup"), sha256(noise())))});
    Desk desk;
    desk.choose(Check);
    QTRY_VERIFY(desk.text().startsWith("Version"));
    desk.choose(Download);
    // Busy until the size is known, then at 0.
    QTRY_COMPARE(desk.progress()->maximum(), 1000);
    QCOMPARE(desk.progress()->value(), 0);
    QVERIFY(desk.text().contains("0 bytes of 1.0 MiB"));
    m_server->release();
    QTRY_VERIFY(desk.text().startsWith("The verified installer"));
}

void TestPreviewService::tellsThatThereIsNoNewerVersion_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("the service has an older one") << "0.5";
    QTest::newRow("the service has the running one") << "1.0";
}

void TestPreviewService::tellsThatThereIsNoNewerVersion()
{
    QFETCH(QString, version);
    m_server->answer("/update_check.php", {ok(versionReply(version))});
    Desk desk;
    desk.choose(Check);
    QTRY_COMPARE(desk.text(), "There is no newer version; the service has " + version + '.');
    QVERIFY(desk.offer()->isHidden());
}

void TestPreviewService::tellsOfADownloadThatIsNotWhatWasAnnounced()
{
    m_server->answer("/setup", {installer(1)});
    m_server->answer("/update_check.php",
                     {ok(versionReply("9.9", m_server->url("/setup"), sha256("another")))});
    Desk desk;
    desk.choose(Check);
    QTRY_VERIFY(desk.text().startsWith("Version"));
    desk.choose(Download);
    QTRY_VERIFY(desk.text().startsWith("There is no installer"));
    QVERIFY(!QFile::exists(m_files.installerPath()));
}

void TestPreviewService::tellsOfADownloadBeforeAnyAnnouncement()
{
    Desk desk;
    desk.choose(Download);
    QTRY_VERIFY(desk.text().startsWith("There is no installer"));
}

void TestPreviewService::givesUpWaitingForAnAnswer_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::newRow("a service that says nothing") << silence();
    QTest::newRow("a service that answers with an error") << status("500 Out of order");
    QTest::newRow("a service whose answer is not JSON") << ok("Good morning");
}

void TestPreviewService::givesUpWaitingForAnAnswer()
{
    QFETCH(Answer, answer);
    m_server->answer("/update_check.php", {answer});
    NetRCManager client;
    UpdateCheck check(client, 1);
    QSignalSpy found(&check, &UpdateCheck::found);
    QSignalSpy foundNone(&check, &UpdateCheck::foundNone);
    QSignalSpy failed(&check, &UpdateCheck::failed);
    check.start();
    QTRY_COMPARE(failed.count(), 1);
    QCOMPARE(found.count(), 0);
    QCOMPARE(foundNone.count(), 0);
}

void TestPreviewService::showsWhatIsPackedAndSendsIt()
{
    m_server->answer("/app/logupload.php", {ok("thanks")});
    Feedback feedback;
    QVERIFY(!feedback.send->isEnabled());
    feedback.message->setPlainText("It is too dark.");
    feedback.contact->setText("me@example.org");
    feedback.pack->click();
    QCOMPARE(feedback.contents().size(), 2);
    QVERIFY(feedback.contents().at(0).startsWith("global.json  ("));
    QCOMPARE(feedback.contents().at(1), QString("me@example.org.txt  (15 bytes)"));
    QVERIFY(feedback.send->isEnabled());
    feedback.send->click();
    QVERIFY(!feedback.pack->isEnabled());
    QTRY_VERIFY(feedback.says("Sent. Thank you."));
    QVERIFY(feedback.pack->isEnabled());
    QVERIFY(!feedback.send->isEnabled());
    QCOMPARE(m_server->requests().size(), 1);
    QVERIFY(m_server->requests().at(0).contains("It is too dark."));
    QVERIFY(m_server->requests().at(0).contains("me@example.org"));
}

void TestPreviewService::asksForPackingAgainAfterAChange()
{
    Feedback feedback;
    feedback.pack->click();
    QVERIFY(feedback.send->isEnabled());
    feedback.message->setPlainText("One more thing.");
    QVERIFY(!feedback.send->isEnabled());
    QVERIFY(feedback.contents().isEmpty());
    QVERIFY(feedback.says("Pack first, to see what would be sent."));
}

void TestPreviewService::tellsOfFeedbackThatTheServiceRefuses()
{
    m_server->answer("/app/logupload.php", {status("500 Out of order")});
    Feedback feedback;
    feedback.pack->click();
    feedback.send->click();
    QTRY_VERIFY(feedback.says(m_server->host()
                              + " cannot be reached, or refused the package. It is kept; send it "
                                "again later."));
    QVERIFY(feedback.send->isEnabled());
}

void TestPreviewService::doesNotSendAPackageThatIsGone()
{
    Feedback feedback;
    feedback.pack->click();
    const QString package = ConfigurationManager::instance()->configPath();
    for (const QString &name : QDir(package).entryList({"*.zip"}))
        QVERIFY(QFile::remove(package + '/' + name));
    feedback.send->click();
    QVERIFY(feedback.says("Pack first, to see what would be sent."));
    QVERIFY(!feedback.send->isEnabled());
    QVERIFY(m_server->requests().isEmpty());
}

QTEST_MAIN(TestPreviewService)
#include "tst_previewservice.moc"
