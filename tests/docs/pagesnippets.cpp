// The pages' examples, compiled in the order in which they stand. What a page leaves to its
// reader's imagination is declared here.

#include <LibCorvane/ConfigurationManager.h>
#include <LibCorvane/FeedbackManager.h>
#include <LibCorvane/NetRCManager.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>

#include <memory>

// An example need not use what it shows.
#pragma GCC diagnostic ignored "-Wunused-variable"

struct Window : QObject {
    void offerUpdate() { }
    void tellOf(const QString &) { }
};

void showFailure();
void showThanks();
void tellTheUser(const QString &text);

void configurationPage();
void configurationPage()
{
#include "configuration.inc"
}

void diagnosticsPage();
void diagnosticsPage()
{
#include "diagnostics.inc"
}

void servicePage(QCoreApplication &application, Window &window, FeedbackManager *feedback,
                 const QString &startTime, const QString &closeTime);
void servicePage(QCoreApplication &application, Window &window, FeedbackManager *feedback,
                 const QString &startTime, const QString &closeTime)
{
#include "service.inc"
}
