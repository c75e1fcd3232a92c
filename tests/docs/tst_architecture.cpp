// The diagram of the architecture, the table of threads and the headers tell the same.

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

namespace {

constexpr int kPatienceMs = 60000;

QString textOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString publicHeaders()
{
    QString text;
    for (const QString &name : QString(CORVANE_PUBLIC_HEADERS).split(':'))
        text += textOf(CORVANE_HEADERS_DIR "/" + name);
    return text;
}

QString allHeaders()
{
    QString text;
    QDirIterator headers(CORVANE_HEADERS_DIR, {"*.h"}, QDir::Files, QDirIterator::Subdirectories);
    while (headers.hasNext())
        text += textOf(headers.next());
    return text;
}

QStringList matches(const QString &text, const QString &pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto it = expression.globalMatch(text); it.hasNext();)
        found += it.next().captured(1);
    found.sort();
    return found;
}

/// The classes of a text that are defined outside of others.
QStringList classesIn(const QString &text)
{
    return matches(text,
                   "^(?:class|struct) (?:LIBCORVANE_EXPORT )?(\\w+)(?: final)?(?: : .*)? \\{$");
}

QJsonObject diagram()
{
    QProcess dot;
    dot.start(CORVANE_DOT, {"-Tdot_json", CORVANE_DIAGRAM});
    if (!dot.waitForFinished(kPatienceMs) || dot.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(dot.readAllStandardOutput()).object();
}

/// The names of the diagram's objects by their numbers; an empty one for each group.
QStringList namesIn(const QJsonObject &diagram)
{
    QStringList names;
    for (const QJsonValue &object : diagram["objects"].toArray())
        names += object.toObject().contains("nodes") ? QString() : object["name"].toString();
    return names;
}

/// Names in small letters stand for what is outside of the library.
QStringList classesAmong(const QStringList &names)
{
    return names.filter(QRegularExpression("^[A-Z]"));
}

/// "class is base" for each empty arrowhead.
QStringList relationsIn(const QJsonObject &diagram)
{
    const QStringList names = namesIn(diagram);
    QStringList relations;
    for (const QJsonValue &edge : diagram["edges"].toArray()) {
        if (edge["arrowtail"] == "empty")
            relations += names[edge["head"].toInt()] + " is " + names[edge["tail"].toInt()];
    }
    relations.sort();
    return relations;
}

/// The same of a header's text, for bases in \p classes.
QStringList relationsIn(const QString &text, const QStringList &classes)
{
    const QStringList found =
        matches(text, "^class (?:LIBCORVANE_EXPORT )?(\\w+(?: final)? : public [\\w:]+) \\{$");
    QStringList relations;
    for (const QString &line : found) {
        const QString name = line.section(' ', 0, 0);
        const QString base = line.section(' ', -1).section("::", -1);
        if (classes.contains(base))
            relations += name + " is " + base;
    }
    relations.sort();
    return relations;
}

} // namespace

class TestArchitecture : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void showsWhatThereIs_data();
    void showsWhatThereIs();
    void showsEachPublicClass_data();
    void showsEachPublicClass();
    void tellsWhatClassesAre();
    void tellsTheThreadsOfEachClass_data();
    void tellsTheThreadsOfEachClass();

private:
    const QString m_publicHeaders = publicHeaders();
    const QString m_allHeaders = allHeaders();
    const QJsonObject m_diagram = diagram();
    const QStringList m_shown = classesAmong(namesIn(m_diagram));
    const QStringList m_public = classesIn(m_publicHeaders);
};

void TestArchitecture::initTestCase()
{
    QVERIFY(!m_shown.isEmpty());
    QVERIFY(!m_public.isEmpty());
}

void TestArchitecture::showsWhatThereIs_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : m_shown)
        QTest::addRow("a header declares %s", qPrintable(name)) << name;
}

void TestArchitecture::showsWhatThereIs()
{
    QFETCH(QString, name);
    const QRegularExpression declaration("\\b(class|struct) (LIBCORVANE_EXPORT )?" + name
                                         + "\\b|\\busing " + name + " = ");
    QVERIFY(declaration.match(m_allHeaders).hasMatch());
}

void TestArchitecture::showsEachPublicClass_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : m_public)
        QTest::addRow("%s is in the diagram", qPrintable(name)) << name;
}

void TestArchitecture::showsEachPublicClass()
{
    QFETCH(QString, name);
    QVERIFY(m_shown.contains(name));
}

void TestArchitecture::tellsWhatClassesAre()
{
    QCOMPARE(relationsIn(m_diagram), relationsIn(m_publicHeaders, m_shown));
}

void TestArchitecture::tellsTheThreadsOfEachClass_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : m_public)
        QTest::addRow("%s has a row in the table", qPrintable(name)) << name;
}

void TestArchitecture::tellsTheThreadsOfEachClass()
{
    QFETCH(QString, name);
    const QRegularExpression row("^\\| [^|]*`" + name + "`[^|]*\\|",
                                 QRegularExpression::MultilineOption);
    QVERIFY(row.match(textOf(CORVANE_THREADS_PAGE)).hasMatch());
}

QTEST_GUILESS_MAIN(TestArchitecture)
#include "tst_architecture.moc"
