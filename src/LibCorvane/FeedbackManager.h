#ifndef LIBCORVANE_FEEDBACKMANAGER_H
#define LIBCORVANE_FEEDBACKMANAGER_H

#include <LibCorvane/Export.h>

#include <QObject>
#include <QString>

QT_BEGIN_NAMESPACE
class QZipWriter;
QT_END_NAMESPACE

/// Gathers what a user's problem report needs, and packs it into one zip file.
///
/// The host makes an object per report, gives it the user's message and contact information, calls
/// copyAppleCrashLogs() if it wants the system's crash reports beside the package, then
/// zipFeedbackFile(), and hands the object to NetRCManager::sendFeedback(). All files lie in the
/// data root of the configuration store, ConfigurationManager::configPath(). The host owns the
/// object.
///
/// \par Files
/// | below the data root                  | content                        | written by |
/// |--------------------------------------|--------------------------------|------------|
/// | contact information + ".txt"         | the user's message, UTF-8      | setUserMsg() |
/// | Corvane_ + MAC + "_" + time + ".zip" | the package                    | zipFeedbackFile() |
/// | ips/                                 | copies of system crash reports | copyAppleCrashLogs() |
/// | "userContactInfo" in global.json     | the contact information        | setUserContactInfo() |
///
/// Nothing of this is removed here: clearing up is the host's, once a report is sent.
///
/// \par The package
/// Its entries, in this order:
///
/// | entries                                                                | at most          |
/// |------------------------------------------------------------------------|------------------|
/// | controllers/, dumps/, effects/, logs/, logs/devices/,                  |                  |
/// | logs/usrOptions/, capturerScreenshot/                                  | always all seven |
/// | global.json                                                            |                  |
/// | all files below controllers, hidden ones and sub-folders included      |                  |
/// | all files below effects, likewise                                      |                  |
/// | the message file, unless the contact information is empty              |                  |
/// | *.log in logs                                                          | the newest 30    |
/// | *.log in logs/devices                                                  | the newest 30    |
/// | *.log in logs/usrOptions                                               | the newest 20    |
/// | *.png in capturerScreenshot                                            | the newest 20    |
/// | *.dmp in dumps                                                         | the newest 256   |
///
/// Names are relative to the data root, with "/", in UTF-8. What is missing or cannot be read is
/// left out without a word. The ips folder and config.json are not packed. See addFileToZip() and
/// addLastFilesToZip() for the rules.
///
/// \par The contact information is a file name
/// It is used as it stands, so it is up to the host to keep what is no good in a file name out of
/// it. With a "/" in it the message file belongs into a sub-folder, which is not made: without one,
/// setUserMsg() fails with its log line. With "../" it lies outside the data root, and its entry in
/// the package begins with "../". An existing file there is treated as setUserMsg() and
/// setUserContactInfo() treat any: the one writes over its beginning, the other replaces nothing.
///
/// \par Threads
/// Everything runs on the thread that calls it, to the end; there are no locks. As it uses the
/// configuration store, that is the store's thread. A package of 100 MB keeps it busy for some
/// seconds.
class LIBCORVANE_EXPORT FeedbackManager : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(FeedbackManager)
public:
    /// Reads the contact information back from the configuration store, has that save its global
    /// values, and chooses the package's name, feedbackFileName(), from the network hardware
    /// address and the local time. Makes no file of its own.
    /// \param parent owns the object; may be null.
    explicit FeedbackManager(QObject *parent = nullptr);

    /// Leaves all files where they are.
    ~FeedbackManager() override;

    /// The hardware address of the first network interface that is no loop-back one, up or down.
    /// \return as Qt writes it, for example "3C:22:FB:01:02:03". Empty when there is none.
    QString getMacAddress() const;

    /// Builds the package; see the class description. Each file is read whole into memory, one at
    /// a time.
    ///
    /// Nothing is logged. A package that could not be written to its end, as on a full disk, is
    /// removed, and so is one of more than 4 GiB, which the format cannot hold: one that is there
    /// afterwards is whole. Only the format's other limit, 65535 entries, is not watched.
    ///
    /// \param zipPath the file's path; a file that is there is overwritten.
    void zipFeedbackFile(const QString &zipPath);

    /// Builds the package under its own name. A second call of the same object overwrites the first
    /// call's package.
    /// \return feedbackFileName(), also when it could not be written.
    QString zipFeedbackFile();

    /// Packs a file, or all files below a folder. For a step that zipFeedbackFile() takes; for the
    /// class QZipWriter see Qt's private header <private/qzipwriter_p.h>.
    ///
    /// A file is read whole and gets the entry of its path relative to \p baseDir. A folder gets no
    /// entry; its files and sub-folders, hidden ones included, are packed in the order in which the
    /// file system lists them. Links are followed, but not into a folder that is being packed
    /// already. What is missing, cannot be read, holds 2 GiB or more, or is neither file nor
    /// folder, is left out.
    ///
    /// \param zip where to; open for writing.
    /// \param baseDir an absolute path without a trailing "/". The entry's name is what remains of
    ///        the file's absolute path after this many characters and one more.
    /// \param path relative to \p baseDir, or absolute and below it.
    void addFileToZip(QZipWriter &zip, const QString &baseDir, const QString &path);

    /// Packs the newest files of one folder, newest first, without hidden ones and sub-folders. The
    /// time of the last modification counts, to the millisecond; among files of one time, names in
    /// ascending order decide.
    /// \param zip where to; open for writing.
    /// \param baseDir as for addFileToZip().
    /// \param subDir the folder, relative to \p baseDir. A missing one gives nothing.
    /// \param count how many at most.
    /// \param pattern a wildcard such as "*.log"; capitals and small letters are alike to it.
    void addLastFilesToZip(QZipWriter &zip, const QString &baseDir, QString subDir, int count,
                           const QString &pattern);

    /// Copies the newest 20 crash reports, "*.ips", that macOS keeps for this user, from
    /// Library/Logs/DiagnosticReports in the home directory to the folder ips of the data root,
    /// which is made if it is missing. A report that is there already stays as it is.
    ///
    /// Logged: without the source, "[FeedbackManager]: Not found path:" and its path at warning
    /// level, and nothing is done; otherwise "[FeedbackManager]: ", the source, a carriage return
    /// and line feed, and the target at debug level. A copy that fails is not reported.
    void copyAppleCrashLogs();

    /// How to reach the user.
    /// \return what setUserContactInfo() was last given, in this object or one before; may be
    ///         empty.
    QString userContactInfo() const;

    /// The user's message.
    /// \return what setUserMsg() of this object was last given; at first empty.
    QString userMsg() const;

    /// The package's name, chosen at creation.
    /// \return a full path: data root + "/Corvane_" + getMacAddress() + "_" + the time as
    ///         "yyyy-MM-dd_hh-mm-ss" + ".zip". It need not exist.
    QString feedbackFileName() const;

public Q_SLOTS:
    /// Keeps the message and writes it, in UTF-8, to the message file, which is named after the
    /// contact information of this moment (".txt" while that is empty).
    ///
    /// A file that is there is written over, not shortened: the end of a longer message before
    /// stays. A file that cannot be opened is logged at warning level, "Failed to open user
    /// feedback message file. " reason; a write that fails is not.
    /// \param msg any text.
    void setUserMsg(QString msg);

    /// Renames the message file, if there is one, after the new contact information, keeps that and
    /// has the configuration store save it as "userContactInfo". A rename that fails, as onto a
    /// file that exists, is not reported: the old file then stays.
    /// \param contactInfo a text that is good in a file name; see the class description. May be
    ///        empty.
    void setUserContactInfo(QString contactInfo);

private:
    QString messageFile() const;
    void packEverything(QZipWriter &zip);

    QString m_feedbackFileName;
    QString m_userMsg;
    QString m_userContactInfo;
};

#endif
