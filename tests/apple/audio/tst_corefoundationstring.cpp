#include "StringSystem.h"

#include <LibCorvane/audioCapturers/CoreFoundationString.h>

#include <QTest>

#include <atomic>
#include <cstdlib>
#include <new>

using namespace corvane::test;
using Calls = QList<QByteArray>;

namespace {

/// Whether the buffer that the string was converted in has been given back.
std::atomic<bool> bufferIsFree{false};

void release(void *block)
{
    if (block && block == StringSystem::instance().buffer)
        bufferIsFree = true;
    std::free(block);
}

const Calls kCopyingCalls{"CFStringGetCStringPtr", "CFStringGetLength",
                          "CFStringGetMaximumSizeForEncoding", "CFStringGetCString"};

} // namespace

// These stand before the program's and the library's.

void *operator new(std::size_t size)
{
    if (void *block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void operator delete(void *block) noexcept
{
    release(block);
}

void operator delete(void *block, std::size_t) noexcept
{
    release(block);
}

class TestCoreFoundationString : public QObject {
    Q_OBJECT
private slots:
    void init();
    void nullGivesNull();
    void texts_data();
    void texts();
    void failedConversionGivesNull();
    void stringWithoutMaximumSizeGivesNull();
    void bufferHoldsTheLongestText();
};

void TestCoreFoundationString::init()
{
    StringSystem::instance() = {};
    bufferIsFree = false;
}

void TestCoreFoundationString::nullGivesNull()
{
    QVERIFY(cfStringToQString(nullptr).isNull());
    QCOMPARE(StringSystem::instance().calls, Calls());
}

void TestCoreFoundationString::texts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain letters") << "Built-in Microphone";
    QTest::newRow("nothing at all is empty, not null") << "";
    QTest::newRow("letters of two bytes inside") << QString::fromUtf8("Mikrofon für Zoë");
    QTest::newRow("letters of three bytes") << QString::fromUtf8("内蔵マイク");
    QTest::newRow("a sign beyond the first plane") << QString::fromUtf8("a 🎤 b");
}

void TestCoreFoundationString::texts()
{
    QFETCH(QString, text);
    const __CFString direct{text, true};
    const QString fromDirect = cfStringToQString(&direct);
    QCOMPARE(fromDirect, text);
    QVERIFY(!fromDirect.isNull());
    QCOMPARE(StringSystem::instance().calls, Calls{"CFStringGetCStringPtr"});

    init();
    const __CFString copied{text, false};
    const QString fromCopy = cfStringToQString(&copied);
    QCOMPARE(fromCopy, text);
    QVERIFY(!fromCopy.isNull());
    QCOMPARE(StringSystem::instance().calls, kCopyingCalls);
    QVERIFY(bufferIsFree);
}

void TestCoreFoundationString::failedConversionGivesNull()
{
    const __CFString string{"unconvertible", false, false};
    QVERIFY(cfStringToQString(&string).isNull());
    QCOMPARE(StringSystem::instance().calls, kCopyingCalls);
    QVERIFY(bufferIsFree);
}

void TestCoreFoundationString::stringWithoutMaximumSizeGivesNull()
{
    StringSystem::instance().maximumSize = -1; // Core Foundation's answer to an overflow
    const __CFString string{"too long", false};
    QVERIFY(cfStringToQString(&string).isNull());
}

void TestCoreFoundationString::bufferHoldsTheLongestText()
{
    const __CFString string{QString(1000, QChar(0x20ac)), false};
    QCOMPARE(cfStringToQString(&string), string.text);
    QCOMPARE(StringSystem::instance().bufferSize, CFIndex(3001));
}

QTEST_GUILESS_MAIN(TestCoreFoundationString)
#include "tst_corefoundationstring.moc"
