// What the library does when it is loaded, and nothing else: this program does not link it, but all
// that it needs, so that everything that happens in dlopen() is the library's own.
#include <QtTest>

#include <support/Interpose.h>

#include <QDir>
#include <QProcess>
#include <QThread>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <memory>

using corvane::test::nextFunction;

namespace {

std::atomic<bool> isLoading{false};
QByteArrayList *calls = nullptr;

/// Takes note of a call. The loader's own calls stay inside of it and do not come here.
void note(const char *function, const char *argument = "")
{
    if (isLoading.exchange(false)) {
        calls->append(QByteArray(function) + ' ' + argument);
        isLoading = true;
    }
}

void noteMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    note("log", text.toUtf8().constData());
}

} // namespace

extern "C" {

char *getenv(const char *name) noexcept
{
    static auto *const next = nextFunction<char *(const char *)>("getenv");
    note("getenv", name);
    return next(name);
}

int open(const char *name, int flags, ...)
{
    static auto *const next = nextFunction<int(const char *, int, ...)>("open");
    note("open", name);
    va_list arguments;
    va_start(arguments, flags);
    const int mode = (flags & (O_CREAT | __O_TMPFILE)) ? va_arg(arguments, int) : 0;
    va_end(arguments);
    return next(name, flags, mode);
}

int open64(const char *name, int flags, ...)
{
    static auto *const next = nextFunction<int(const char *, int, ...)>("open64");
    note("open64", name);
    va_list arguments;
    va_start(arguments, flags);
    const int mode = (flags & (O_CREAT | __O_TMPFILE)) ? va_arg(arguments, int) : 0;
    va_end(arguments);
    return next(name, flags, mode);
}

int mkdir(const char *name, mode_t mode) noexcept
{
    static auto *const next = nextFunction<int(const char *, mode_t)>("mkdir");
    note("mkdir", name);
    return next(name, mode);
}

int socket(int domain, int type, int protocol) noexcept
{
    static auto *const next = nextFunction<int(int, int, int)>("socket");
    note("socket");
    return next(domain, type, protocol);
}

ssize_t write(int file, const void *bytes, size_t count)
{
    static auto *const next = nextFunction<ssize_t(int, const void *, size_t)>("write");
    note("write");
    return next(file, bytes, count);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                   void *argument) noexcept
{
    static auto *const next = nextFunction<decltype(pthread_create)>("pthread_create");
    note("pthread_create");
    return next(thread, attributes, run, argument);
}

} // extern "C"

namespace {

QStringList modules()
{
    QStringList names;
    dl_iterate_phdr(
        [](dl_phdr_info *module, size_t, void *list) {
            static_cast<QStringList *>(list)->append(QFile::decodeName(module->dlpi_name));
            return 0;
        },
        &names);
    return names;
}

QStringList threads()
{
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        return {};
    return process.readAllStandardOutput();
}

/// The function that begins at this offset in the library, or an empty text.
QByteArray functionAt(quintptr offset, const QByteArrayList &symbols)
{
    for (const QByteArray &symbol : symbols) {
        const QByteArrayList words = symbol.split(' ');
        if (words.size() == 3 && words[1].toLower() == "t"
            && words[0].toULongLong(nullptr, 16) == offset)
            return words[2];
    }
    return {};
}

/// What the loader calls, by the symbol table that is in the file.
QByteArrayList initialisers(const link_map &library)
{
    const QByteArrayList symbols =
        outputOf(CORVANE_NM, {QFile::decodeName(library.l_name)}).split('\n');
    const auto entry = [&library](ElfW(Sxword) tag) -> ElfW(Addr) {
        const auto *at = library.l_ld;
        while (at->d_tag != DT_NULL && at->d_tag != tag)
            ++at;
        return at->d_tag == tag ? at->d_un.d_val : 0;
    };
    QByteArrayList names;
    const auto *functions =
        reinterpret_cast<const quintptr *>(library.l_addr + entry(DT_INIT_ARRAY));
    for (size_t i = 0; i < entry(DT_INIT_ARRAYSZ) / sizeof(quintptr); ++i)
        names.append(functionAt(functions[i] - library.l_addr, symbols));
    if (entry(DT_INIT) != 0)
        names.append(functionAt(entry(DT_INIT), symbols));
    return names;
}

} // namespace

class TestLoad : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void seesWhatIsCalled();
    void loadsNothingBesides();
    void callsNothing();
    void startsNoThread();
    void touchesNoFile();
    void runsTheStaticObjectsOfTwoUnitsAndNothingElse();

private:
    QTemporaryDir m_directory;
    QStringList m_modules;
    QStringList m_threads;
    QByteArrayList m_calls;
    void *m_library = nullptr;
};

void TestLoad::initTestCase()
{
    for (const char *place : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, m_directory.path().toLocal8Bit());
    QVERIFY(QDir::setCurrent(m_directory.path()));
    calls = &m_calls;
    m_modules = modules();
    m_threads = threads();
    const auto handler = qInstallMessageHandler(noteMessage);
    isLoading = true;
    m_library = dlopen(CORVANE_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
    isLoading = false;
    qInstallMessageHandler(handler);
    QVERIFY2(m_library, dlerror());
}

void TestLoad::seesWhatIsCalled()
{
    const QTemporaryDir folder;
    QByteArrayList seen;
    calls = &seen;
    const auto handler = qInstallMessageHandler(noteMessage);
    isLoading = true;
    qDebug("text");
    qgetenv("HOME");
    QDir(folder.path()).mkdir("made");
    QFile file(folder.filePath("written"));
    const bool opens = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    file.write("x");
    const std::unique_ptr<QThread> thread(QThread::create([] {}));
    thread->start();
    isLoading = false;
    thread->wait();
    qInstallMessageHandler(handler);
    calls = &m_calls;

    QVERIFY(opens);
    const QByteArray text = seen.join('\n') + '\n';
    for (const char *call :
         {"log text\n", "getenv HOME\n", "mkdir ", "open", "write \n", "pthread_create \n"})
        QVERIFY2(text.contains(call), call + QByteArray(" is missing in:\n") + text);
}

// Otherwise the other tests would not be about the library alone.
void TestLoad::loadsNothingBesides()
{
    QVERIFY(!m_modules.contains(CORVANE_LIBRARY));
    QCOMPARE(modules(), m_modules + QStringList(CORVANE_LIBRARY));
}

void TestLoad::callsNothing()
{
    QCOMPARE(m_calls, QByteArrayList());
}

void TestLoad::startsNoThread()
{
    QCOMPARE(threads(), m_threads);
}

void TestLoad::touchesNoFile()
{
    QCOMPARE(QDir(m_directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList());
}

void TestLoad::runsTheStaticObjectsOfTwoUnitsAndNothingElse()
{
    const auto *library = static_cast<const link_map *>(m_library);
    QByteArrayList names = initialisers(*library);
    std::sort(names.begin(), names.end());
    // The last two are in every shared library: the compiler's start-up code, which registers
    // nothing with today's tools, and the linker's empty frame. The module state of the screen
    // capture is constant, and so needs none.
    QCOMPARE(names,
             QByteArrayList({"_GLOBAL__sub_I_AVAVFoundationFactory.cpp",
                             "_GLOBAL__sub_I_ConfigurationManager.cpp", "_init", "frame_dummy"}));
}

QTEST_GUILESS_MAIN(TestLoad)
#include "tst_load.moc"
