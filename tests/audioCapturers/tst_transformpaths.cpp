// The processor's answers, beside what the compiler's own support library makes of them.
#include <QtTest>

#include "TransformPaths.h"

using namespace corvane::test;

class TestTransformPaths : public QObject {
    Q_OBJECT
private slots:
    void takesAvx2WhereTheProcessorHasItAndFma();
};

void TestTransformPaths::takesAvx2WhereTheProcessorHasItAndFma()
{
    const bool hasBoth = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    const auto paths = availablePaths();
    QCOMPARE(paths.front() == &audiofft::detail::kAvx2Path, hasBoth);
    QCOMPARE(paths.size(), std::size_t(hasBoth ? 3 : 2));
}

QTEST_GUILESS_MAIN(TestTransformPaths)
#include "tst_transformpaths.moc"
