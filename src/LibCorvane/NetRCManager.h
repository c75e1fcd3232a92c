#ifndef LIBCORVANE_NETRCMANAGER_H
#define LIBCORVANE_NETRCMANAGER_H

#include <LibCorvane/Export.h>

#include <QDate>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class FeedbackManager;

/// The client of the maker's web service: asks for the newest version, downloads and verifies its
/// installer, uploads feedback, and reports when the application was in use.
///
/// A host makes one, calls checkVersion(), and on hasNewAppVersion() may call downloadLatestApp().
/// sendFeedback() and uploadAppOnOffTime() stand for themselves. Nothing is sent unless one of the
/// operations is called.
///
/// \par The service
/// Every request goes over plain HTTP to serviceHost(). Nothing tells the true service from
/// another one that answers in its place, and the digest of the installer comes the same way as the
/// installer: it finds damage, not forgery. A host that runs the installer should check a signature
/// of its own first. Feedback and reports can be read on the way. Redirections are not followed,
/// proxies are used as the application's QNetworkProxy says, and no operation has a time limit.
///
/// \par Failures
/// Nothing is thrown or returned; failures are logged by the operation that met them. A request
/// that fails reports its error first and finishes then, and both are handled: the lines of the
/// second follow those of the first.
///
/// \par Threads
/// Everything happens on the thread that made the object, and needs its event loop: operations,
/// signals, completion functions and log lines. There are no locks, and the object cannot be moved
/// to another thread. As it uses the ConfigurationManager, its thread is that one's, normally the
/// main thread. setServiceHost() and serviceHost() belong there too. compareVersion() and
/// convertDateMacro() may be called on any thread.
///
/// \par Re-entrancy
/// uploadAppOnOffTime() with a close time handles all events of its thread while it waits: timers,
/// queued calls and the user's clicks. Whatever they lead to happens inside that call, which may
/// include another such call, or the end of this object. The host's slots and completion functions
/// may do anything as well, also run event loops.
///
/// \par Ownership
/// Requests belong to the object and end with it, silently. It may be deleted at any time: in a
/// slot of its own signals too. A download that is cut off like that leaves its part of the
/// installer on the disk; the next download begins anew.
class LIBCORVANE_EXPORT NetRCManager : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(NetRCManager)
public:
    /// Sends nothing.
    /// \param parent the usual QObject owner, or null.
    explicit NetRCManager(QObject *parent = nullptr);

    /// Ends all requests that are under way; nothing is logged or emitted any more.
    ~NetRCManager() override;

    /// Sets the host that all later requests of the process go to.
    ///
    /// Not guarded: call it on the thread that sends, best before the first request.
    /// \param hostAndPort a host's name or address, with ":" and a port where that is not 80, such
    ///        as "127.0.0.1:8080"; an address of IPv6 in brackets. Empty for the default.
    static void setServiceHost(const QString &hostAndPort);

    /// The host that requests go to.
    /// \return what setServiceHost() was given, or the default that the library was built with
    ///         (LIBCORVANE_SERVICE_HOST). Unless it was built with another one, that is
    ///         "service.corvane.invalid", which no network resolves.
    static QString serviceHost();

    /// Asks the service for the newest version of this executable.
    ///
    /// Returns at once. The request is a GET of "/update_check.php?app=" + the executable's file
    /// name, which is not encoded: a "#" or a "&" in it cuts it short. An answer in JSON sets the
    /// global values "latestVerion.version", "latestVerion.pkgUrl" and "latestVerion.sha256"
    /// (spelt like this) of the ConfigurationManager, which are saved, and then
    ///
    /// - the service's version is the same or newer than QCoreApplication::applicationVersion(), by
    ///   compareVersion(): info "The new version has been made available", and hasNewAppVersion().
    ///   A running version that is up to date is announced as well!
    /// - it is older: info "Latest version: " version "  current version" running "  no need to
    ///   update". An answer that names no version counts as "0.0.0.1".
    ///
    /// An answer that is not JSON changes nothing and is logged: warning "An error occurred while
    /// trying to parse the Network JSON file". A request that fails is logged as a warning, "An
    /// error occurred while trying to request version information" reason; then what came of the
    /// answer, as a rule nothing, is treated as above. So a page of an HTTP error that is JSON
    /// counts as an answer.
    void checkVersion();

    /// Downloads the installer that the last answer to checkVersion() named, and verifies it.
    ///
    /// Returns at once. The file is always ConfigurationManager::resourcesPath() + "/install.exe",
    /// on every system; an older one is overwritten from the start. Call it once for each
    /// announcement: a second download while one runs writes into the same file, and neither will
    /// be whole.
    ///
    /// The installer is hashed and written as it arrives, so that memory does not grow with it.
    /// When all of it is on the disk and its SHA-256 is the announced one (in either case of
    /// letters): info "The new installation file has been downloaded", and
    /// newInstallationFileDownloaded(). Both digests are logged at debug level before.
    ///
    /// Otherwise there is no signal, and the file is removed:
    /// - the file cannot be opened: warning "An error occurred when trying to create the
    ///   installation file" reason; nothing is sent, and nothing removed.
    /// - the transfer fails, also with an HTTP error, and before an answer to checkVersion():
    ///   warning "Error:" reason, then, once the request has finished, the debug line and the next
    ///   warning. It comes even if the digests are equal.
    /// - the digests differ: warning "The md5 of the new installation file is wrong".
    /// - the file cannot be written, on a full disk for example: warning "An error occurred when
    ///   trying to write the installation file" reason; the transfer is cancelled, and the lines of
    ///   one that failed follow.
    /// - somebody deleted the QFile that is this object's child: critical "The QFile object
    ///   has been null when reading some new data" for each piece of the rest. The file stays.
    void downloadLatestApp();

    /// Uploads a feedback package, with the user's message and contact information, as a form.
    ///
    /// Returns at once. The package at FeedbackManager::feedbackFileName() must have been built; it
    /// is read while it is sent, and neither changed nor removed. The form is posted to
    /// "/app/logupload.php" and has three parts: "msg", "file_name" and "upload_file_minidump",
    /// which declares the file's name with ".zip" once more at its end. The package's name is
    /// logged at debug level.
    ///
    /// The two functions are called on this object's thread, each at most once. When the request
    /// has finished, for better or for worse, \p onSent is called; when it fails, \p onError is
    /// called first and \p onSent all the same. So \p onSent means that the exchange is over, and
    /// only a call of \p onError before that it failed. What the service answers is not looked at
    /// but logged whole at debug level, followed by the info "A feedback have sent to server"; the
    /// failure's line comes first: warning "An error occurred while uploading the feedback" reason.
    ///
    /// Neither function is called when nothing can be sent, nor when this object is deleted before
    /// the end:
    /// - the package does not exist: critical "The feedback file is not exist" path
    /// - it cannot be read: critical "An error occurred while opeing the feedback file" reason
    /// - Qt refuses the request at once: warning "An error occurred while posting the feedback
    ///   request" reason
    ///
    /// \param feedback may be deleted once the call has returned. Null stands for a new one, which
    ///        belongs to this object; as its package has not been built, that is the first case.
    /// \param onSent may be empty.
    /// \param onError may be empty; gets the code of the failure.
    void sendFeedback(QPointer<FeedbackManager> feedback, std::function<void()> onSent,
                      std::function<void(QNetworkReply::NetworkError)> onError);

    /// Reports when the application was started, or that it is being closed.
    ///
    /// With an empty \p closeTime it returns at once. Otherwise it returns when the request has
    /// finished, so that the report has left before the application ends. Meanwhile it handles the
    /// events of its thread; see the class description. There is no time limit: a service that
    /// accepts the request and then says nothing holds up the caller, and
    /// QCoreApplication::quit() only counts afterwards. Who cannot wait that long has a timer
    /// delete this object, which ends the wait and the request.
    ///
    /// The report is JSON, posted to "/activate.php": the executable's file name, the application's
    /// version, the hardware address of HardwareInfo::getMacStr("0") and the two times. Two lines
    /// at info level: "[NetRCManager]: Prepare to upload to AppOnOffTime to the server, startTime:
    /// " \p startTime ", clostTime: " \p closeTime, and in the end "[NetRCManager]:
    /// uploadAppOnOffTime  server reply: " with the code of the error, QNetworkReply::NoError
    /// without one. A failure is not reported otherwise; the service's answer is not read.
    ///
    /// \param startTime any text; sent as it is.
    /// \param closeTime likewise; empty for the report of a start.
    void uploadAppOnOffTime(QString startTime, QString closeTime);

Q_SIGNALS:
    /// The service offers a version that is not older than the running one; see checkVersion().
    void hasNewAppVersion();

    /// The installer lies on the disk, whole and verified; see downloadLatestApp(). It belongs to
    /// the host, until the next download overwrites it.
    /// \param filename its full path.
    void newInstallationFileDownloaded(QString filename);

private:
    QNetworkAccessManager m_network;
    QString m_latestVersion;
    QString m_downloadUrl;
    QString m_installerDigest;
};

/// Whether version \p a is greater than version \p b.
///
/// Versions are split at "." and compared part by part as decimal numbers. A part that is missing,
/// empty or no number ("3-beta") counts as 0, so that "1.2" and "1.2.0" are equal.
/// May be called on any thread.
/// \param a a version, such as "1.10".
/// \param b the version to compare with.
/// \return true only when \p a is greater; false for equal ones.
LIBCORVANE_EXPORT bool compareVersion(QString a, QString b);

/// The date in a text such as "Mar 14 2024".
///
/// For the compiler's `__DATE__`; but compilers write days below 10 with a blank in place of the
/// first digit ("Mar  4 2024"), which is passed on to QDate::fromString() like that and gives no
/// date. May be called on any thread.
/// \param date an English month of three letters, blank, day of two digits, blank, year of four.
/// \return the date; an invalid one for any other text.
LIBCORVANE_EXPORT QDate convertDateMacro(const QString &date);

#endif
