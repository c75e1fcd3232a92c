// The system's unlink() and rmdir() are replaced by ones that note their calls, and fail when a
// test says so.

#include <support/ConfigurationSupport.h>
#include <support/Interpose.h>

#include <LibCorvane/ConfigurationManager.h>

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <type_traits>

using namespace corvane::test;

static_assert(std::is_same_v<decltype(&removeDirectory), bool (*)(const QString &)>);

namespace {

constexpr int kNever = -1;

/// The calls of the test that runs, as "unlink path" and "rmdir path".
QStringList calls;
/// After so many calls the next one fails.
int callsBeforeFailure = kNever;

bool isToFail(const char *call, const char *path)
{
    calls.append(QString(call) + ' ' + QString::fromLocal8Bit(path));
    if (callsBeforeFailure == kNever || calls.size() <= callsBeforeFailure)
        return false;
    errno = EIO;
    return true;
}

/// The entries of a directory in the order in which the system lists them.
QStringList listed(const QString &directory)
{
    QStringList names;
    for (const auto &entry : std::filesystem::directory_iterator(directory.toStdString()))
        names << QString::fromStdString(entry.path().filename().string());
    return names;
}

} // namespace

extern "C" int unlink(const char *path) noexcept
{
    static const auto system = nextFunction<int(const char *)>("unlink");
    return isToFail("unlink", path) ? -1 : system(path);
}

extern "C" int rmdir(const char *path) noexcept
{
    static const auto system = nextFunction<int(const char *)>("rmdir");
    return isToFail("rmdir", path) ? -1 : system(path);
}

class TestRemoveDirectory : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void refusesWhatIsNoDirectory_data();
    void refusesWhatIsNoDirectory();
    void takesNoPartOfAPathWithANul();
    void removesWholeTrees_data();
    void removesWholeTrees();
    void removesAPathWithASlashAtItsEnd();
    void removesADeepTreeWithFewDescriptors();
    void worksInTheOrderOfTheDirectory();
    void endsAtTheFirstFailure_data();
    void endsAtTheFirstFailure();
    void leavesWhatAnOrdinaryUserMayNotRemove_data();
    void leavesWhatAnOrdinaryUserMayNotRemove();

    void removesALinkToAFileOnly();
    void emptiesWhatALinkLeadsTo();
    void doesNotSeeDanglingLinks();
    void endsInALinkCycle_data();
    void endsInALinkCycle();

    void goesFromTheWorkingDirectory_data();
    void goesFromTheWorkingDirectory();
    void namesRelativePathsAsTheyAre();
    void doesNotTakeAnEmptyPathForTheWorkingDirectory();
    void emptiesTheWorkingDirectoryWhenAskedTo();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    /// Makes entries below the test's directory; those that end in "/" are directories.
    void make(const QStringList &names) const;
    QStringList tree() const { return treeOf(m_directory->path()); }

    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_workingDirectory;
};

void TestRemoveDirectory::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    m_workingDirectory = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_directory->path()));
    calls.clear();
}

void TestRemoveDirectory::cleanup()
{
    callsBeforeFailure = kNever;
    QVERIFY(QDir::setCurrent(m_workingDirectory));
}

void TestRemoveDirectory::make(const QStringList &names) const
{
    for (const QString &name : names) {
        if (!QDir(m_directory->path()).mkpath(name.section('/', 0, -2) + "/."))
            qFatal("Cannot make the directories of %s", qUtf8Printable(name));
        if (!name.endsWith('/'))
            writeBytes(path(name), "content");
    }
}

void TestRemoveDirectory::refusesWhatIsNoDirectory_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("nothing there") << "absent";
    QTest::newRow("nothing there, nor the directory around it") << "absent/inner";
    QTest::newRow("a regular file") << "file";
    QTest::newRow("a hidden file") << ".file";
    QTest::newRow("something below a file") << "file/inner";
    QTest::newRow("a link to a file") << "link to file";
    QTest::newRow("a link that leads nowhere") << "dangling";
    QTest::newRow("a link to itself") << "ouroboros";
    QTest::newRow("a name that is too long") << QString(300, 'x');
}

void TestRemoveDirectory::refusesWhatIsNoDirectory()
{
    QFETCH(QString, name);
    make({"file", ".file"});
    makeLink("file", path("link to file"));
    makeLink("absent", path("dangling"));
    makeLink("ouroboros", path("ouroboros"));
    const QStringList before = tree();
    const LogCapture log;
    QVERIFY(!removeDirectory(path(name)));
    QCOMPARE(logged(log), missing(path(name)));
    QCOMPARE(log.lines().first().type, QtWarningMsg);
    QCOMPARE(tree(), before);
    QCOMPARE(calls, QStringList());
    QCOMPARE(bytesOf(path("file")), QByteArray("content"));
}

void TestRemoveDirectory::takesNoPartOfAPathWithANul()
{
    make({"top/file"});
    const LogCapture log;
    QVERIFY(!removeDirectory(path("top") + QChar::Null + "/file"));
    QCOMPARE(logged(log), missing(path("top\\u0000/file")));
    QCOMPARE(tree(), (QStringList{"top/", "top/file"}));
}

void TestRemoveDirectory::removesWholeTrees_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("an empty directory") << QStringList{"top/"};
    QTest::newRow("a file") << QStringList{"top/file"};
    QTest::newRow("hidden files and directories")
        << QStringList{"top/.file", "top/.dir/.file", "top/.empty/", "top/..double"};
    QTest::newRow("several levels") << QStringList{"top/a/b/c/file", "top/a/b/file", "top/a/file",
                                                   "top/file",       "top/z/",       "top/a/y/"};
    QTest::newRow("odd names") << QStringList{"top/ a b ",    "top/größe/灯",   "top/\"%1\"",
                                              "top/*",        "top/two\nlines", "top/a:b",
                                              "top/back\\\\", "top/-rf",        "top/~"};
}

void TestRemoveDirectory::removesWholeTrees()
{
    QFETCH(QStringList, entries);
    make(entries);
    make({"topless/file", "file"});
    const LogCapture log;
    QVERIFY(removeDirectory(path("top")));
    QCOMPARE(tree(), (QStringList{"file", "topless/", "topless/file"}));
    QCOMPARE(logged(log), QStringList());
}

void TestRemoveDirectory::removesAPathWithASlashAtItsEnd()
{
    make({"top/inner/file"});
    QVERIFY(removeDirectory(path("top/")));
    QCOMPARE(tree(), QStringList());
}

void TestRemoveDirectory::removesADeepTreeWithFewDescriptors()
{
    constexpr int depth = 300;
    make({"top/" + QString("d/").repeated(depth) + "file"});
    const LogCapture log;
    {
        // Far less than one for each level, whatever the test program itself has open.
        const LowLimit descriptors(RLIMIT_NOFILE, 100);
        QVERIFY(removeDirectory(path("top")));
    }
    QCOMPARE(tree(), QStringList());
    QCOMPARE(calls.size(), 1 + depth + 1);
    QCOMPARE(logged(log), QStringList());
}

void TestRemoveDirectory::worksInTheOrderOfTheDirectory()
{
    make({"top/3", "top/1", "top/.4", "top/2", "top/dir/"});
    QStringList expected;
    for (const QString &name : listed(path("top")))
        expected << (name == "dir" ? "rmdir " : "unlink ") + path("top/" + name);
    expected << "rmdir " + path("top");
    QVERIFY(removeDirectory(path("top")));
    QCOMPARE(calls, expected);
}

void TestRemoveDirectory::endsAtTheFirstFailure_data()
{
    QTest::addColumn<int>("removed");
    QTest::newRow("the first file") << 0;
    QTest::newRow("the third file") << 2;
    QTest::newRow("the directory around the files") << 4;
    QTest::newRow("the directory around that") << 5;
}

void TestRemoveDirectory::endsAtTheFirstFailure()
{
    QFETCH(int, removed);
    make({"top/dir/1", "top/dir/2", "top/dir/3", "top/dir/4"});
    callsBeforeFailure = removed;
    const LogCapture log;
    QVERIFY(!removeDirectory(path("top")));
    // The call that failed is the last one, and the only one that is reported.
    QCOMPARE(calls.size(), removed + 1);
    const QString stays = calls.last().section(' ', 1);
    QCOMPARE(logged(log), removed < 4 ? fileStays(stays) : directoryStays(stays));
    QCOMPARE(tree().size(), 6 - removed);
}

void TestRemoveDirectory::leavesWhatAnOrdinaryUserMayNotRemove_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("failing");
    QTest::newRow("a file in a read-only directory") << 0555 << "/file";
    QTest::newRow("a directory that may not be listed") << 0000 << "";
}

void TestRemoveDirectory::leavesWhatAnOrdinaryUserMayNotRemove()
{
    QFETCH(int, mode);
    QFETCH(QString, failing);
    make({"top/locked/file"});
    setMode(m_directory->path(), 0755);
    setMode(path("top"), 0777);
    setMode(path("top/locked"), static_cast<mode_t>(mode));
    const LogCapture log;
    {
        const OrdinaryUser user;
        QVERIFY2(QDir(path("top")).isReadable(), "An ordinary user cannot reach the files.");
        QVERIFY(!removeDirectory(path("top")));
    }
    setMode(path("top/locked"), 0755);
    const QString stays = path("top/locked") + failing;
    QCOMPARE(logged(log), failing.isEmpty() ? directoryStays(stays) : fileStays(stays));
    QCOMPARE(tree(), (QStringList{"top/", "top/locked/", "top/locked/file"}));
}

void TestRemoveDirectory::removesALinkToAFileOnly()
{
    make({"top/", "file"});
    makeLink(path("file"), path("top/link"));
    const LogCapture log;
    QVERIFY(removeDirectory(path("top")));
    QCOMPARE(tree(), QStringList{"file"});
    QCOMPARE(bytesOf(path("file")), QByteArray("content"));
    QCOMPARE(logged(log), QStringList());
}

void TestRemoveDirectory::emptiesWhatALinkLeadsTo()
{
    make({"top/", "elsewhere/file", "elsewhere/inner/file"});
    makeLink("../elsewhere", path("top/link"));
    const LogCapture log;
    // Within the directory, and as the directory itself.
    for (const char *given : {"top", "top/link"}) {
        QVERIFY(!removeDirectory(path(given)));
        QCOMPARE(tree(), (QStringList{"elsewhere/", "top/", "top/link"}));
        make({"elsewhere/file"});
    }
    const QStringList line = directoryStays(path("top/link"));
    QCOMPARE(logged(log), line + line);
}

void TestRemoveDirectory::doesNotSeeDanglingLinks()
{
    make({"top/dir/file"});
    makeLink(path("absent"), path("top/dir/dangling"));
    const LogCapture log;
    QVERIFY(!removeDirectory(path("top")));
    QCOMPARE(logged(log), directoryStays(path("top/dir")));
    QCOMPARE(tree(), (QStringList{"top/", "top/dir/", "top/dir/dangling"}));
}

void TestRemoveDirectory::endsInALinkCycle_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("link");
    QTest::newRow("a link to the directory that holds it") << "."
                                                           << "top/loop";
    QTest::newRow("a link to the directory above") << ".."
                                                   << "top/inner/loop";
}

// The system follows some forty links in a path, so the walk goes some forty levels down at most.
void TestRemoveDirectory::endsInALinkCycle()
{
    QFETCH(QString, target);
    QFETCH(QString, link);
    constexpr int mostLinks = 100;
    make({"top/inner/", "outside"});
    makeLink(target, path(link));
    makeLink(target, path(link + " too"));
    const LogCapture log;
    QVERIFY(!removeDirectory(path("top")));
    QCOMPARE(log.lines().size(), 1);
    const QString loops = '/' + QFileInfo(link).fileName();
    QVERIFY2(log.messages().first().count(loops) > 1, qPrintable(log.messages().first()));
    QVERIFY2(calls.size() < mostLinks, qPrintable(calls.join('\n')));
    QVERIFY(tree().contains(link));
    QCOMPARE(bytesOf(path("outside")), QByteArray("content"));
}

void TestRemoveDirectory::goesFromTheWorkingDirectory_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QStringList>("left");
    const QStringList oneLevel{"other/", "other/one/", "other/one/file"};
    const QStringList nested{"one/", "one/file", "other/", "other/one/", "other/one/file"};
    QTest::newRow("one level") << "one" << oneLevel;
    QTest::newRow("one level, with a dot") << "./one" << oneLevel;
    QTest::newRow("one level, by way of another") << "other/../one" << oneLevel;
    QTest::newRow("nested") << "one/two" << nested;
    QTest::newRow("nested, with a slash at the end") << "one/two/" << nested;
}

void TestRemoveDirectory::goesFromTheWorkingDirectory()
{
    QFETCH(QString, given);
    QFETCH(QStringList, left);
    make({"one/file", "one/two/file", "one/two/three/file", "other/one/file"});
    const LogCapture log;
    QVERIFY(removeDirectory(given));
    QCOMPARE(tree(), left);
    QCOMPARE(logged(log), QStringList());
}

void TestRemoveDirectory::namesRelativePathsAsTheyAre()
{
    make({"one/two/"});
    makeLink("absent", path("one/two/dangling"));
    const LogCapture log;
    QVERIFY(!removeDirectory("absent"));
    QVERIFY(!removeDirectory("one"));
    QCOMPARE(logged(log), missing("absent") + directoryStays("one/two"));
}

void TestRemoveDirectory::doesNotTakeAnEmptyPathForTheWorkingDirectory()
{
    make({"file", "one/file"});
    const QStringList before = tree();
    const LogCapture log;
    QVERIFY(!removeDirectory(""));
    QVERIFY(!removeDirectory(QString()));
    QCOMPARE(logged(log), missing("") + missing(""));
    QCOMPARE(tree(), before);
}

void TestRemoveDirectory::emptiesTheWorkingDirectoryWhenAskedTo()
{
    make({"file", "one/file"});
    const LogCapture log;
    QVERIFY(!removeDirectory("."));
    QCOMPARE(logged(log), directoryStays("."));
    QCOMPARE(tree(), QStringList());
}

QTEST_GUILESS_MAIN(TestRemoveDirectory)
#include "tst_removedirectory.moc"
