#include <LibCorvane/JsonCopy_p.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using corvane::freshCopy;

class TestJsonCopy : public QObject {
    Q_OBJECT
private slots:
    void membersAreTheSame_data();
    void membersAreTheSame();
    void hiddenMarksDoNotChangeWhatIsReadNext_data();
    void hiddenMarksDoNotChangeWhatIsReadNext();
    void integersStayExact();
    void numbersThatNoFileHoldsStay();
    void copyIsOfItsOwn();
};

void TestJsonCopy::membersAreTheSame_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::newRow("no member") << QJsonObject();
    QTest::newRow("one member of each kind") << QJsonObject{{"null", QJsonValue::Null},
                                                            {"yes", true},
                                                            {"number", 1.5},
                                                            {"text", "red"},
                                                            {"list", QJsonArray{1}},
                                                            {"branch", QJsonObject{{"a", 1}}}};
    QTest::newRow("an empty text, list and branch")
        << QJsonObject{{"text", ""}, {"list", QJsonArray()}, {"branch", QJsonObject()}};
    QTest::newRow("letters of all kinds, in keys too") << QJsonObject{
        {QString::fromUtf8("größe ☃ 𝄞"), QString::fromUtf8("ça 日本 𝄞")}, {"", "an empty key"}};
    QTest::newRow("half of a letter that takes two") << QJsonObject{{"a", QString(QChar(0xd834))}};
    QTest::newRow("lists of lists and branches")
        << QJsonObject{{"a", QJsonArray{QJsonArray{1, "b"}, QJsonObject{{"c", QJsonArray()}}}}};
}

void TestJsonCopy::membersAreTheSame()
{
    QFETCH(QJsonObject, object);
    QCOMPARE(freshCopy(object), object);
    QCOMPARE(QJsonDocument(freshCopy(object)).toJson(), QJsonDocument(object).toJson());
}

// Qt keeps a U+FEFF before a name or text that it parsed and orders by it, yet neither hands it out
// nor writes it.
void TestJsonCopy::hiddenMarksDoNotChangeWhatIsReadNext_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("before the name that sorts first without it")
        << QByteArray("{\"red\":1,\"\ufeffblue\":2}");
    QTest::newRow("before a name") << QByteArray("{\"\ufeffred\":1}");
    QTest::newRow("which alone tells two names apart") << QByteArray("{\"red\":1,\"\ufeffred\":2}");
    QTest::newRow("before a text") << QByteArray("{\"a\":\"\ufeffred\"}");
    QTest::newRow("before a text in a list") << QByteArray("{\"a\":[\"\ufeffred\"]}");
    QTest::newRow("before a name in a branch") << QByteArray("{\"a\":{\"\ufeffred\":1}}");
}

void TestJsonCopy::hiddenMarksDoNotChangeWhatIsReadNext()
{
    QFETCH(QByteArray, text);
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    const auto readNext = [](const QJsonObject &saved) {
        return QJsonDocument::fromJson(QJsonDocument(saved).toJson()).object();
    };
    QVERIFY(!readNext(object).isEmpty());
    QCOMPARE(readNext(freshCopy(object)), readNext(object));
}

void TestJsonCopy::integersStayExact()
{
    const double large = 9007199254740991; // 2^53 - 1, the last before gaps
    const QJsonObject copy = freshCopy({{"large", large}, {"list", QJsonArray{large - 1}}});
    QVERIFY(copy["large"].toDouble() == large);
    QVERIFY(copy["list"].toArray().first().toDouble() == large - 1);
}

void TestJsonCopy::numbersThatNoFileHoldsStay()
{
    const QJsonObject copy = freshCopy({{"none", qQNaN()}, {"all", qInf()}});
    QVERIFY(qIsNaN(copy["none"].toDouble()));
    QVERIFY(qIsInf(copy["all"].toDouble()));
}

void TestJsonCopy::copyIsOfItsOwn()
{
    const QJsonObject original{{"branch", QJsonObject{{"a", 1}}}};
    QJsonObject copy = freshCopy(original);
    copy["branch"] = 2;
    QCOMPARE(original["branch"].toObject()["a"].toInt(), 1);
}

QTEST_APPLESS_MAIN(TestJsonCopy)
#include "tst_jsoncopy.moc"
