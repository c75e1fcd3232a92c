// The checks of the documentation, tried on headers and pages with gaps.

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kPatienceMs = 60000;

/// A site of files made here, built and checked as the library's own.
class ScratchSite {
public:
    void add(const QString &name, const QByteArray &text)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            m_errors += "cannot write " + name.toUtf8();
        m_input += ' ' + file.fileName().toUtf8();
    }

    /// What the checks find; empty when nothing.
    QByteArray findings()
    {
        m_input = "INPUT = " + m_input;
        QFile file(m_folder.filePath("Doxyfile"));
        if (!file.open(QIODevice::WriteOnly))
            return "cannot write the Doxyfile";
        const QByteArray folder = m_folder.path().toUtf8();
        for (const QByteArray &line :
             {QByteArray("@INCLUDE = " CORVANE_DOXYFILE), m_input, QByteArray("LAYOUT_FILE ="),
              QByteArray("USE_MDFILE_AS_MAINPAGE ="), "OUTPUT_DIRECTORY = " + folder,
              QByteArray("SEARCHENGINE = NO"), QByteArray("GENERATE_TREEVIEW = NO"),
              "IMAGE_PATH = " + folder, "DOTFILE_DIRS = " + folder})
            file.write(line + '\n');
        file.close();
        run(CORVANE_DOXYGEN, {file.fileName()});
        run(CORVANE_PYTHON, {CORVANE_SITE_SCRIPTS "/check_coverage.py", m_folder.filePath("xml")});
        run(CORVANE_PYTHON, {CORVANE_SITE_SCRIPTS "/check_links.py", m_folder.filePath("html")});
        return m_errors;
    }

private:
    void run(const QString &program, const QStringList &arguments)
    {
        QProcess process;
        process.start(program, arguments);
        if (!process.waitForFinished(kPatienceMs))
            m_errors += "cannot run " + program.toUtf8();
        const QByteArray errors = process.readAllStandardError();
        if (process.exitCode() != 0)
            m_errors += errors.isEmpty() ? "failed without a word" : errors;
    }

    QTemporaryDir m_folder;
    QByteArray m_input;
    QByteArray m_errors;
};

constexpr const char *kHeader = R"(#ifndef SCRATCH_H
#define SCRATCH_H

/// A number of things.
/// \param first the first one.
/// \return how many there are.
int count(int first);

#endif
)";

constexpr const char *kPage = R"(# A page

See [the rest](#the-rest-of-it), [the other page](other.md), [its end](other.md#the-end),
[the header](scratch.h), [the licence](https://example.org/licence) and `[no](link.md)`.

## The rest of it

```
[no](link.md)
```
)";

constexpr const char *kOtherPage = "# Another page\n\nMuch.\n\n## The end\n\nThat is all.\n";

} // namespace

class TestDocumentation : public QObject {
    Q_OBJECT
private slots:
    void findsGaps_data();
    void findsGaps();
    void acceptsHeaders_data();
    void acceptsHeaders();
    void findsBadLinks_data();
    void findsBadLinks();
    void acceptsPages();
};

void TestDocumentation::findsGaps_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QByteArray>("finding");
    QTest::newRow("a function") << QByteArray("void forgotten();") << QByteArray("forgotten");
    QTest::newRow("a class") << QByteArray("class Forgotten {};") << QByteArray("Forgotten");
    QTest::newRow("an operation") << QByteArray(
        "/// Some.\nclass A {\npublic:\nvoid forgotten();\n};")
                                  << QByteArray("forgotten");
    QTest::newRow("a protected operation")
        << QByteArray("/// Some.\nclass A {\nprotected:\nvoid forgotten();\n};")
        << QByteArray("forgotten");
    QTest::newRow("a signal") << QByteArray(
        "/// Some.\nclass A : public QObject {\nQ_SIGNALS:\nvoid forgotten();\n};")
                              << QByteArray("forgotten");
    QTest::newRow("a slot") << QByteArray(
        "/// Some.\nclass A : public QObject {\npublic Q_SLOTS:\nvoid forgotten();\n};")
                            << QByteArray("forgotten");
    QTest::newRow("a default constructor")
        << QByteArray("/// Some.\nclass Made {\npublic:\nMade();\n};")
        << QByteArray("Made::Made() is not documented");
    QTest::newRow("a destructor") << QByteArray("/// Some.\nclass Made {\npublic:\n~Made();\n};")
                                  << QByteArray("Made::~Made() is not documented");
    QTest::newRow("a member of a record")
        << QByteArray("/// Some.\nstruct A {\nint forgotten;\n};") << QByteArray("forgotten");
    QTest::newRow("a macro") << QByteArray("#define FORGOTTEN 1") << QByteArray("FORGOTTEN");
    QTest::newRow("a type") << QByteArray("using Forgotten = int;") << QByteArray("Forgotten");
    QTest::newRow("a namespace") << QByteArray("namespace forgotten {\n/// Some.\nstruct A {};\n}")
                                 << QByteArray("forgotten is not documented");
    QTest::newRow("an enumeration")
        << QByteArray("enum Forgotten {\n/// One.\nOne };") << QByteArray("Forgotten");
    QTest::newRow("an enumeration's value")
        << QByteArray("/// Some.\nenum class Some {\n/// One.\nOne,\nForgotten };")
        << QByteArray("Forgotten");
    QTest::newRow("the only parameter")
        << QByteArray("/// Some.\nvoid some(int forgotten);") << QByteArray("some");
    QTest::newRow("one of two parameters")
        << QByteArray("/// Some.\n/// \\param other it.\nvoid some(int other, int forgotten);")
        << QByteArray("forgotten");
    QTest::newRow("a parameter without a name")
        << QByteArray("/// Some.\nvoid some(int);")
        << QByteArray("some(int): the parameter without a name is not documented");
    QTest::newRow("a parameter of a signal")
        << QByteArray("/// Some.\nclass A : public QObject {\nQ_SIGNALS:\n/// It.\n"
                      "void some(int forgotten);\n};")
        << QByteArray("some");
    QTest::newRow("a parameter of a macro")
        << QByteArray("/// Some.\n#define SOME(forgotten) 1") << QByteArray("SOME");
    QTest::newRow("a parameter that there is not")
        << QByteArray("/// Some.\n/// \\param gone it.\nvoid some();") << QByteArray("gone");
    QTest::newRow("a result") << QByteArray("/// Some.\nint some();") << QByteArray("some");
    QTest::newRow("an operation's result")
        << QByteArray("/// Some.\nclass A {\npublic:\n/// It.\nvirtual int some() const = 0;\n};")
        << QByteArray("some");
    QTest::newRow("a reference to nothing")
        << QByteArray("/// Some, see \\ref forgotten.\nvoid some();") << QByteArray("forgotten");
}

void TestDocumentation::findsGaps()
{
    QFETCH(QByteArray, code);
    QFETCH(QByteArray, finding);
    ScratchSite site;
    site.add("scratch.h", "#ifndef SCRATCH_H\n#define SCRATCH_H\n\n" + code + "\n\n#endif\n");
    const QByteArray findings = site.findings();
    QVERIFY2(findings.contains(finding), findings);
}

void TestDocumentation::acceptsHeaders_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::newRow("all is documented") << QByteArray(kHeader);
    QTest::newRow("private things need no words")
        << QByteArray("/// Some.\nclass A {\nvoid some(int one);\nint m_some;\n};\n");
    QTest::newRow("deleted functions need no words")
        << QByteArray("/// Some.\nclass A {\npublic:\nA(const A &) = delete;\n};\n");
    QTest::newRow("an operation has the words of the one that it overrides") << QByteArray(
        "/// Some.\nclass A {\npublic:\n/// It.\n/// \\return 1.\nvirtual int some();\n};\n"
        "/// More.\nclass B : public A {\npublic:\nint some() override;\n};\n");
}

void TestDocumentation::acceptsHeaders()
{
    QFETCH(QByteArray, code);
    ScratchSite site;
    site.add("scratch.h", code);
    QCOMPARE(site.findings(), QByteArray());
}

void TestDocumentation::findsBadLinks_data()
{
    QTest::addColumn<QByteArray>("link");
    QTest::addColumn<QByteArray>("finding");
    QTest::newRow("to a page that is not there")
        << QByteArray("[it](missing.md)") << QByteArray("missing");
    QTest::newRow("to a page that lies elsewhere")
        << QByteArray("[it](docs/other.md)") << QByteArray("other");
    QTest::newRow("to a heading that is not there")
        << QByteArray("[it](other.md#the-beginning)") << QByteArray("the-beginning");
    QTest::newRow("to a heading that this page does not have")
        << QByteArray("[it](#the-end)") << QByteArray("the-end");
    QTest::newRow("to a header that is not there")
        << QByteArray("[it](missing.h)") << QByteArray("missing.h");
    QTest::newRow("to a picture that is not there")
        << QByteArray("![it](missing.png)") << QByteArray("missing.png");
    QTest::newRow("to a picture in the network")
        << QByteArray("![it](https://example.org/it.png)") << QByteArray("needs the network");
}

void TestDocumentation::findsBadLinks()
{
    QFETCH(QByteArray, link);
    QFETCH(QByteArray, finding);
    ScratchSite site;
    site.add("scratch.h", kHeader);
    site.add("other.md", kOtherPage);
    site.add("page.md", "# A page\n\nSee " + link + ".\n");
    const QByteArray findings = site.findings();
    QVERIFY2(findings.contains(finding), findings);
}

void TestDocumentation::acceptsPages()
{
    ScratchSite site;
    site.add("scratch.h", kHeader);
    site.add("other.md", kOtherPage);
    site.add("page.md", kPage);
    QCOMPARE(site.findings(), QByteArray());
}

QTEST_GUILESS_MAIN(TestDocumentation)
#include "tst_documentation.moc"
