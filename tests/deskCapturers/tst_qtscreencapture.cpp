#include <LibCorvane/deskCapturers/QtScreenCapture.h>
#include <support/LogCapture.h>

#include <QMetaMethod>
#include <QTest>

#include <type_traits>

using namespace corvane::test;

static_assert(std::is_base_of_v<IDeskCapture, QtScreenCapture>);
static_assert(std::is_abstract_v<QtScreenCapture>);
static_assert(std::is_abstract_v<IDeskCapture>);
// The interface has no meta-object of its own.
static_assert(std::is_same_v<decltype(&IDeskCapture::metaObject), decltype(&QObject::metaObject)>);

namespace {

/// As a host would complete it.
class WhiteScreen : public QtScreenCapture {
public:
    using QtScreenCapture::QtScreenCapture;
    cv::Mat nextFrame() override { return {9, 16, CV_8UC4, cv::Scalar(255, 255, 255, 255)}; }
};

} // namespace

class TestQtScreenCapture : public QObject {
    Q_OBJECT
private slots:
    void knowsNoSizes();
    void setOutputSizeIsASlotThatDoesNothing();
    void framesComeFromTheSubclass();
    void belongsToItsParent();
};

void TestQtScreenCapture::knowsNoSizes()
{
    const LogCapture log;
    WhiteScreen capture;
    QVERIFY(!capture.outputSize().isValid());
    QVERIFY(!capture.originSize().isValid());
    QCOMPARE(logged(log), QStringList());
}

void TestQtScreenCapture::setOutputSizeIsASlotThatDoesNothing()
{
    const QMetaObject &meta = QtScreenCapture::staticMetaObject;
    const QMetaMethod slot = meta.method(meta.indexOfSlot("setOutputSize(QSize)"));
    QCOMPARE(slot.access(), QMetaMethod::Public);
    QVERIFY(slot.methodIndex() >= meta.methodOffset());
    WhiteScreen capture;
    QVERIFY(QMetaObject::invokeMethod(&capture, "setOutputSize", Q_ARG(QSize, QSize(64, 36))));
    QVERIFY(!capture.outputSize().isValid());
}

void TestQtScreenCapture::framesComeFromTheSubclass()
{
    WhiteScreen capture;
    IDeskCapture &screen = capture;
    const cv::Mat frame = screen.nextFrame();
    QCOMPARE(QSize(frame.cols, frame.rows), QSize(16, 9));
}

void TestQtScreenCapture::belongsToItsParent()
{
    QObject parent;
    const auto *capture = new WhiteScreen(&parent);
    QCOMPARE(capture->parent(), &parent);
    QVERIFY(capture->inherits("QtScreenCapture"));
    QVERIFY(!capture->inherits("IDeskCapture"));
}

// Qt's screens need an application with a platform; the class does not.
QTEST_GUILESS_MAIN(TestQtScreenCapture)
#include "tst_qtscreencapture.moc"
