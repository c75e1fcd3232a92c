#include "SceneWindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

// A moving scene to try screen capture with. Says "ready" once it stands on the screen.
int main(int argc, char **argv)
{
    // It is painted without OpenGL, whose drivers take their time to load.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION"))
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Covers the desktop with a moving scene, for trying screen capture."));
    parser.addHelpOption();
    const QCommandLineOption seconds(QStringLiteral("seconds"),
                                     QStringLiteral("End after <N> seconds."), QStringLiteral("N"));
    const QCommandLineOption still(QStringLiteral("still"), QStringLiteral("Move nothing."));
    const QCommandLineOption full(QStringLiteral("full"),
                                  QStringLiteral("Change every pixel in each picture."));
    parser.addOptions({seconds, still, full});
    parser.process(application);

    SceneWindow window(parser.isSet(full)        ? Motion::Full
                           : parser.isSet(still) ? Motion::None
                                                 : Motion::Usual);
    QObject::connect(&window, &SceneWindow::painted, [] {
        std::puts("ready");
        std::fflush(stdout);
    });
    if (parser.isSet(seconds))
        QTimer::singleShot(parser.value(seconds).toInt() * 1000, &application,
                           &QCoreApplication::quit);
    window.show();
    return QApplication::exec();
}
