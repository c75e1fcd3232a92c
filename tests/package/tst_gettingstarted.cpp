#include <support/MarkdownPage.h>
#include <support/SoundServer.h>
#include <support/XServer.h>

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane::test;

namespace {

constexpr int kToneHz = 440;
constexpr double kBinHz = 44100.0 / 2048;
constexpr int kPatienceMs = 60000;

/// The first lines, and each other form of line once, with every number as 0, every path as "/" and
/// every spectrum empty.
QStringList formsOf(const QString &output)
{
    QString text = output;
    text.replace(QRegularExpression("/\\S+"), "/");
    text.replace(QRegularExpression("\\|[^|\n]*\\|"), "||");
    text.replace(QRegularExpression("\\d+"), "0");
    QStringList forms = text.split('\n', Qt::SkipEmptyParts);
    forms.removeDuplicates();
    return forms;
}

struct Line {
    int hertz = 0;
    QString bars;
    QString frame;
};

Line lastLine(const QString &output)
{
    const QRegularExpression form("(\\d+) Hz \\|(.*)\\| frame (\\d+ x \\d+)\n$");
    const QRegularExpressionMatch match = form.match(output);
    return {match.captured(1).toInt(), match.captured(2), match.captured(3)};
}

} // namespace

/// The program of docs/getting-started.md, built by the test package_getting_started.
class TestGettingStarted : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void printsWhatThePageShows();
    void showsTheToneAsANarrowPeak();
    void makesTheSettingsWhereItSays();

private:
    QTemporaryDir m_folder;
    QString m_output;
};

// Runs until both the tone and a frame have arrived, and ends as the page says.
void TestGettingStarted::initTestCase()
{
    const SoundServer sound({"module-null-sink sink_name=tone format=s16le channels=2 rate=44100",
                             "module-sine sink=tone frequency=440"});
    QVERIFY2(sound.isRunning(), qUtf8Printable(sound.log()));
    const XServer screen;
    QVERIFY2(screen.isRunning(), qUtf8Printable(screen.log()));
    screen.useForThisProcess();

    QProcess program;
    program.setWorkingDirectory(m_folder.path());
    program.start(CORVANE_GETTING_STARTED_PROGRAM, QStringList());
    const auto hasArrived = [this, &program] {
        m_output += program.readAllStandardOutput();
        const Line line = lastLine(m_output);
        return std::abs(line.hertz - kToneHz) < kBinHz && line.frame == "300 x 168";
    };
    QTRY_VERIFY2_WITH_TIMEOUT(hasArrived(), qUtf8Printable(m_output), kPatienceMs);
    program.write("\n");
    QVERIFY(program.waitForFinished(kPatienceMs));
}

void TestGettingStarted::printsWhatThePageShows()
{
    const QByteArray shown = blockThatBegins(fencedBlocks(CORVANE_PAGE), "settings: ");
    QCOMPARE(formsOf(m_output), formsOf(shown));
    QCOMPARE(m_output.split('\n').mid(1, 2), QString(shown).split('\n').mid(1, 2));
}

void TestGettingStarted::showsTheToneAsANarrowPeak()
{
    const QString peak = lastLine(m_output).bars.trimmed();
    QVERIFY2(peak.size() > 0 && peak.size() < 8, qUtf8Printable(m_output));
}

void TestGettingStarted::makesTheSettingsWhereItSays()
{
    const QString settings = m_folder.filePath("settings");
    QCOMPARE(m_output.split('\n').first(), "settings: " + settings);
    QVERIFY(QDir(settings + "/controllers").exists());
    QVERIFY(!QFile::exists(settings + "/global.json"));
}

QTEST_GUILESS_MAIN(TestGettingStarted)
#include "tst_gettingstarted.moc"
