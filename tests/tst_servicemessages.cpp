#include <LibCorvane/ServiceMessages_p.h>

#include <QNetworkRequest>
#include <QtTest>

using namespace corvane;

class TestServiceMessages : public QObject {
    Q_OBJECT
private slots:
    void asksForTheExecutable_data();
    void asksForTheExecutable();
    void readsVersions_data();
    void readsVersions();
    void refusesWhatIsNotJson_data();
    void refusesWhatIsNotJson();
    void reportsUsage_data();
    void reportsUsage();
    void joinsMessageAndContact();
    void signsFeedback();
};

void TestServiceMessages::asksForTheExecutable_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QString>("fragment");
    QTest::newRow("a plain name") << "glow" << QByteArray("app=glow") << "";
    QTest::newRow("a suffix") << "glow.exe" << QByteArray("app=glow.exe") << "";
    QTest::newRow("a blank is encoded") << "my glow" << QByteArray("app=my%20glow") << "";
    QTest::newRow("letters beyond ASCII are encoded")
        << "glüh" << QByteArray("app=gl%C3%BCh") << "";
    QTest::newRow("a stray per cent sign is encoded")
        << "100% glow" << QByteArray("app=100%25%20glow") << "";
    QTest::newRow("an encoded letter stays encoded")
        << "gl%C3%BCh" << QByteArray("app=gl%C3%BCh") << "";
    QTest::newRow("an ampersand begins another parameter")
        << "glow&light" << QByteArray("app=glow&light") << "";
    QTest::newRow("a number sign ends the query") << "glow#2" << QByteArray("app=glow") << "2";
}

void TestServiceMessages::asksForTheExecutable()
{
    QFETCH(QString, name);
    const QUrl url = versionUrl("127.0.0.1:8080", name);
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), QString("http"));
    QCOMPARE(url.authority(), QString("127.0.0.1:8080"));
    QCOMPARE(url.path(), QString("/update_check.php"));
    QTEST(url.query(QUrl::FullyEncoded).toLatin1(), "query");
    QTEST(url.fragment(), "fragment");
}

void TestServiceMessages::readsVersions_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("digest");
    QTest::newRow("all there") << QByteArray(
        R"({"var":"1.2","download_url":"http://h/i","md5":"AB"})")
                               << "1.2"
                               << "http://h/i"
                               << "AB";
    QTest::newRow("other members do not count")
        << QByteArray(R"({"version":"9","var":"1.2","sha256":"CD"})") << "1.2"
        << ""
        << "";
    QTest::newRow("nothing there") << QByteArray("{}") << "0.0.0.1"
                                   << ""
                                   << "";
    QTest::newRow("numbers are no texts")
        << QByteArray(R"({"var":2,"download_url":3,"md5":4})") << "0.0.0.1"
        << ""
        << "";
    QTest::newRow("null is no text") << QByteArray(R"({"var":null})") << "0.0.0.1"
                                     << ""
                                     << "";
    QTest::newRow("an empty version stays empty") << QByteArray(R"({"var":""})") << ""
                                                  << ""
                                                  << "";
    QTest::newRow("an array at the top") << QByteArray(R"([{"var":"1.2"}])") << "0.0.0.1"
                                         << ""
                                         << "";
    QTest::newRow("letters beyond ASCII") << QByteArray(R"({"var":"1.ü"})") << "1.ü"
                                          << ""
                                          << "";
}

void TestServiceMessages::readsVersions()
{
    QFETCH(QByteArray, body);
    const auto latest = parseVersionReply(body);
    QVERIFY(latest.has_value());
    QTEST(latest->version, "version");
    QTEST(latest->downloadUrl, "url");
    QTEST(latest->digest, "digest");
}

void TestServiceMessages::refusesWhatIsNotJson_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("an empty body") << QByteArray();
    QTest::newRow("a page") << QByteArray("<html></html>");
    QTest::newRow("cut short") << QByteArray(R"({"var":"1.2")");
    QTest::newRow("something after the end") << QByteArray(R"({"var":"1.2"} x)");
    QTest::newRow("a text at the top") << QByteArray(R"("1.2")");
    QTest::newRow("a number at the top") << QByteArray("1.2");
}

void TestServiceMessages::refusesWhatIsNotJson()
{
    QFETCH(QByteArray, body);
    QVERIFY(!parseVersionReply(body));
}

void TestServiceMessages::reportsUsage_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("a hardware address") << "3C22FB010203";
    QTest::newRow("no network interface") << "";
}

void TestServiceMessages::reportsUsage()
{
    QFETCH(QString, address);
    const QByteArray body = R"({"act_code":"0","all_proid":"0","app_name":"glow","app_var":"1.2",)"
                            R"("cd":"","ct":"end","mac_code":")"
        + address.toLatin1() + R"(","st":"start","var":"1.2"})";
    QCOMPARE(usageBody({"glow", "1.2", address, "start", "end"}), body);
    const QNetworkRequest request = usageRequest("h:8080");
    QCOMPARE(request.url(), QUrl("http://h:8080/activate.php"));
    QCOMPARE(request.rawHeaderList(), QList<QByteArray>{"Content-Type"});
    QCOMPARE(request.rawHeader("Content-Type"), QByteArray("application/json"));
}

void TestServiceMessages::joinsMessageAndContact()
{
    const QByteArray separator = "\r\n \xe8\x81\x94\xe7\xb3\xbb\xe6\x96\xb9\xe5\xbc\x8f:";
    QCOMPARE(feedbackText({}, {}), separator);
    QCOMPARE(feedbackText("%1", "%2"), "%1" + separator + "%2");
}

void TestServiceMessages::signsFeedback()
{
    const QNetworkRequest request = feedbackRequest("h:8080", "X", "1.2.3");
    QCOMPARE(request.url(), QUrl("http://h:8080/app/logupload.php"));
    QCOMPARE(request.rawHeaderList(), (QList<QByteArray>{"User-Agent", "Accept"}));
    QCOMPARE(request.rawHeader("User-Agent"), QByteArray("X/1.2.3"));
    QCOMPARE(request.rawHeader("Accept"), QByteArray("*/*"));
}

QTEST_GUILESS_MAIN(TestServiceMessages)
#include "tst_servicemessages.moc"
