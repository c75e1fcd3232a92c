// A processor without the CPUID instruction.

#include <LibCorvane/common/CpuId_p.h>
#include <LibCorvane/common/HardwareInfo.h>

#include <QtTest>

class TestHardwareInfoPortable : public QObject {
    Q_OBJECT
private slots:
    void identifiesNoProcessor();
    void leavesTheBlockAsItWas();
};

void TestHardwareInfoPortable::identifiesNoProcessor()
{
    QVERIFY(!corvane::cpuIdWords(1));
    QCOMPARE(HardwareInfo::get_cpuId(), QString());
}

void TestHardwareInfoPortable::leavesTheBlockAsItWas()
{
    unsigned block[] = {1, 2, 3, 4};
    HardwareInfo::getcpuid(block, 1);
    for (unsigned i = 0; i < 4; ++i)
        QCOMPARE(block[i], i + 1);
}

QTEST_APPLESS_MAIN(TestHardwareInfoPortable)
#include "tst_hardwareinfo_portable.moc"
