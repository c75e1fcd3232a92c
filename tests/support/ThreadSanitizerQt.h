#ifndef CORVANE_TESTS_THREADSANITIZERQT_H
#define CORVANE_TESTS_THREADSANITIZERQT_H

#include <QCoreApplication>
#include <QTest>

#if defined(__SANITIZE_THREAD__)
#define CORVANE_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define CORVANE_THREAD_SANITIZER
#endif
#endif

namespace corvane::test {

#ifdef CORVANE_THREAD_SANITIZER

/// Qt is not instrumented: ThreadSanitizer does not see what its mutexes, events, queued calls,
/// threads and thread pools order, and takes what relies on that for races. The source of this unit
/// stands before the functions of Qt that the library calls, and tells the sanitizer what each of
/// them orders; this application does so for the delivery of events. Nothing that Qt does not order
/// is hidden.
///
/// With CORVANE_UNSEEN_LOCKS in the environment the sanitizer is told nothing of mutexes: what
/// relies on one must then be reported, which proves that such a race would be found.
class Application : public QCoreApplication {
public:
    using QCoreApplication::QCoreApplication;
    bool notify(QObject *receiver, QEvent *event) override;
};

#else

using Application = QCoreApplication;

#endif

/// Runs the tests of one class in an application that ThreadSanitizer can follow.
template <typename TestClass>
int runThreadTests(int &argc, char **argv, const char *sourcePath)
{
    Application application(argc, argv);
    QTest::setMainSourcePath(sourcePath);
    TestClass tests;
    return QTest::qExec(&tests, argc, argv);
}

} // namespace corvane::test

/// In place of QTEST_GUILESS_MAIN, for tests with the label "threads".
#define CORVANE_THREADS_MAIN(TestClass)                                                            \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        return corvane::test::runThreadTests<TestClass>(argc, argv, __FILE__);                     \
    }

#endif
