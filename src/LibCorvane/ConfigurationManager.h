#ifndef LIBCORVANE_CONFIGURATIONMANAGER_H
#define LIBCORVANE_CONFIGURATIONMANAGER_H

#include <LibCorvane/Export.h>

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

/// The process-wide store of persistent settings: the data directory and its JSON files.
///
/// Every file is read once, at its first use, into a QJsonObject in memory. Reading and changing
/// settings works on these objects; a file is written only when a save is asked for.
///
/// \par Creation
/// The first instance() makes the only object, which has no parent and is deleted by the static
/// destructors at process exit. A host that wants another data directory than Qt's calls
/// setConfigPath() before. No file is read and no line is logged at creation.
///
/// \par The data root
/// The directory given to setConfigPath(), or else
/// QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation), which needs the
/// application's name to be set. It is chosen at creation and stays. Creation makes it and its
/// sub-directories where they are missing, but not the parents of the root; failures are silent
/// and show at the first save. With an organisation's name Qt's location lies one level deeper,
/// below a directory that may be missing: make it first.
///
/// | entry        | holds                                                         | made by    |
/// |--------------|---------------------------------------------------------------|------------|
/// | global.json  | the object "global": application configuration, global values | first save |
/// | config.json  | nothing of this library, which neither reads nor writes it    | the host   |
/// | controllers/ | one JSON file per LED controller                              | creation   |
/// | effects/     | one JSON file per lighting effect                             | creation   |
/// | logs/        | log files; see logsPath()                                     | creation   |
/// | dumps/       | crash dumps, "*.dmp"                                          | creation   |
/// | resources/   | downloaded files; see resourcesPath()                         | creation   |
///
/// \par Cache names
/// An object is called by a name relative to the data root, without extension, such as "global" or
/// "controllers/desk". Its file is root + "/" + name + ".json" with every ":" of the name turned
/// into "_". The name itself keeps its ":": "a:b" and "a_b" are two objects that share one file,
/// and the one saved last wins.
///
/// \par Controllers and effects
/// A controller's object is "controllers/" + its name; its content is the host's. An effect's is
/// "effects/" + its name with every "." turned into "_", so that an identifier such as music.wave
/// gives one flat file, effects/music_wave.json: "music.wave" and "music_wave" are one effect. Its
/// members are groups, each an object of keys as a rule; an empty key stands for the whole group.
/// Groups and keys are plain member names, in which a dot has no meaning.
///
/// \par Names that users type
/// A name may hold blanks, dots, colons, quotes, line ends and any letters; an empty one is a name
/// too. The file system has the last word: a name of more than 250 bytes of UTF-8 is too long for
/// most, a "/" leads into a sub-directory, which is not made, and "../" in a controller's name
/// leads out of its directory: keep such names away from the store. A name with a NUL gets no file.
/// An object whose file cannot be written lives on in memory. Some systems take two spellings of a
/// letter, or capitals and small letters, for one file.
///
/// \par Key paths
/// A path such as latestVerion.version names a member of nested objects: it is split at every ".",
/// and empty segments vanish. Keys are case-sensitive. There is no escape for a dot in a key and no
/// step into an array: "list[2]" is an ordinary name.
///
/// \par What is written when
/// saveJsonObject(), save(), the save operations named after an object, setAppConfig() and
/// EnableCleanStartup() write; reset() removes. Nothing else touches the files, least of all the
/// destructor: changes without a save are lost at exit. A file is UTF-8, indented JSON, and always
/// written whole. generateControllerConfig() writes as well, but to another place, which is no part
/// of the store.
///
/// \par What a crash can lose
/// A save removes the old file, opens a new one and writes it, and does not wait for the disk. So
/// between its first step and its last the old settings are not on disk any more. What becomes of
/// them when a save does not come to its end:
///
/// | what ends the save                            | the old settings on disk                 |
/// |-----------------------------------------------|------------------------------------------|
/// | a name that the system refuses                | there are none, and nothing else changes |
/// | a directory that has the file's name          | there are none; it stays, with its files |
/// | a file that may not be removed, nor written   | stay                                     |
/// | no descriptor left to open a file             | are lost, with the file                  |
/// | a full disk, or a limit on the size of files  | are lost; the part that fitted is there  |
/// | a crash or a power cut                        | may be lost; none or a part of the file  |
///
/// A file in a directory that refuses changes cannot be removed. It is written in place if it may
/// be, and stays if it cannot be opened, for want of a descriptor too. Settings that were lost
/// start empty next time. Other files are not touched. The object in memory survives every failed
/// save, which is logged, so that a later one can succeed.
///
/// \par Threads
/// There are no locks, not in instance() either. All calls belong on one thread, as a rule the main
/// thread; a call from another thread must not overlap any other call. appConfigChanged() is
/// emitted on the thread that calls setAppConfig(). Reading changes the store as well: a first use
/// loads a file, and effectJsonValue() may add a group. The static functions that are given
/// everything they work on (loadJsonObjectFromFile(), valWithXPath(), setValWithXPath() and
/// generateControllerConfig()) may run on any thread, on distinct objects and files; so may
/// removeDirectory() and isArrayIndex().
class LIBCORVANE_EXPORT ConfigurationManager : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(ConfigurationManager)
public:
    /// The only object. The first call makes it, and the data directory.
    /// \return never null. The caller does not own it and must not use it from destructors of
    ///         static objects.
    static ConfigurationManager *instance();

    /// Sets #gsConfigPath: the data root of the object that the first instance() will make. Once
    /// that is made, this has no effect on it.
    /// \param path an absolute path without a trailing "/"; empty for the default location.
    static void setConfigPath(const QString &path);

    /// The data root.
    /// \return an absolute path without a trailing "/".
    QString configPath() const;

    /// Where downloaded files go.
    /// \return the data root followed by "/resources".
    QString resourcesPath() const;

    /// Where log files go.
    /// \return the data root followed by "/logs".
    QString logsPath() const;

    /// The object of a cache name, read from its file at the first use.
    ///
    /// A file that is missing or broken gives an empty object and the log line of
    /// loadJsonObjectFromFile(). That object stays: the file is not tried again.
    /// \param name a cache name; see the class description.
    /// \return the object itself, to be read and changed in place. The reference is valid until
    ///         another name is used for the first time, by any operation of this class.
    QJsonObject &jsonObject(const QString &name);

    /// Reads and parses one JSON file. Neither the cache nor the data root plays a part.
    ///
    /// \param path the file's full path, extension included.
    /// \return the object at the file's top level. Empty when that is an array, and empty after a
    ///         failure, which is logged at critical level: "Failed to open" path " errStr:" reason,
    ///         or "Failed to parse" path reason.
    static QJsonObject loadJsonObjectFromFile(const QString &path);

    /// Writes the object of a cache name to its file. A name that was never used gets an empty
    /// object, and the file, which is not read, is overwritten with that.
    ///
    /// Directories are not made here. A failure is logged once at critical level:
    /// "Failed to opened :" file "errStr: " reason. When the file cannot be opened the old one is
    /// gone, if it could be removed; when it cannot be written to its end, the part that was
    /// written stays. See the class description.
    /// \param name a cache name; see the class description.
    void saveJsonObject(const QString &name);

    /// Writes every object that has been used so far, with saveJsonObject(). A failure does not
    /// keep the others from being written.
    void save();

    /// The object "global", the same as globalJsonObj().
    /// \return as jsonObject() gives it, and as long valid.
    QJsonObject &AppConfigJsonObj();
    /// The object "global", the same as AppConfigJsonObj().
    /// \return as jsonObject() gives it, and as long valid.
    QJsonObject &globalJsonObj();

    /// Writes the object "global" with saveJsonObject().
    void saveAppConfigJsonObj();
    /// Writes the object "global" with saveJsonObject().
    void saveGlobalJsonObj();
    /// Writes the object "global" with saveJsonObject().
    void saveGlobalValues();

    /// A value of the object "global".
    /// \param path a key path, such as window.theme.mode.
    /// \return the value; see valWithXPath() for one that is missing.
    QJsonValue globalValue(const QString &path);
    /// The same as globalValue().
    /// \param path a key path.
    /// \return the value; see valWithXPath() for one that is missing.
    QJsonValue appConfig(const QString &path);

    /// Sets a value of the object "global" in memory; see setValWithXPath(). Nothing is written and
    /// no signal is emitted.
    /// \param path a key path; without a key it changes nothing.
    /// \param value Undefined removes the member.
    void setGlobalValue(const QString &path, const QJsonValue &value);
    /// The same with the path already split, in the object of instance().
    /// \param keys from the top; a key may hold any character. An empty list changes nothing.
    /// \param value Undefined removes the member.
    static void setGlobalValue(const QStringList &keys, const QJsonValue &value);

    /// Sets a value as setGlobalValue() does, writes the object "global" at once, then emits
    /// appConfigChanged(), also when writing failed; see saveJsonObject() for the log line.
    /// \param path a key path; the signal carries it as it stands.
    /// \param value Undefined removes the member.
    void setAppConfig(const QString &path, const QJsonValue &value);

    /// The object of a controller.
    /// \param controller its name; any text, but see the class description on names.
    /// \return jsonObject() of "controllers/" + \p controller.
    QJsonObject &controllerJsonObj(const QString &controller);
    /// Writes the object of a controller with saveJsonObject().
    /// \param controller its name.
    void saveControllerJsonObj(const QString &controller);

    /// The object of an effect.
    /// \param effect its name, such as music.wave; any text, but see the class description.
    /// \return jsonObject() of "effects/" + \p effect, with "_" for each ".".
    QJsonObject &effectJsonObj(QString effect);
    /// Writes the object of an effect with saveJsonObject().
    /// \param effect its name.
    void saveEffectJsonObj(QString effect);

    /// A setting of an effect.
    ///
    /// Reading a group that the effect does not have adds it, as null, to the object in memory; the
    /// next save writes that.
    /// \param effect the effect's name.
    /// \param group a top-level member of its object, by its plain name.
    /// \param key a member of the group; empty for the group itself.
    /// \return Undefined when the group has no such key or is no object. Null for a missing group
    ///         that is read whole.
    QJsonValue effectJsonValue(QString effect, QString group, QString key);

    /// The same as a QVariant.
    /// \param effect the effect's name.
    /// \param group a top-level member of its object, by its plain name.
    /// \param key a member of the group; empty for the group itself.
    /// \return QJsonValue::toVariant() of the value: an invalid one for a missing key.
    QVariant effectVariant(QString effect, QString group, QString key);

    /// Sets a setting of an effect in memory; saveEffectJsonObj() writes it. A group that is
    /// missing becomes an object, and one that holds anything but an object loses it to an object.
    ///
    /// \param effect the effect's name.
    /// \param group a top-level member of its object, by its plain name.
    /// \param key a member of the group; empty to replace the group itself.
    /// \param value Undefined removes the key, or the group.
    void setEffectJsonValue(QString effect, QString group, QString key, const QJsonValue &value);

    /// Sets a key of a group as setEffectJsonValue() does, to what QJsonValue::fromVariant() makes
    /// of \p value.
    ///
    /// \param effect the effect's name.
    /// \param group a top-level member of its object, by its plain name.
    /// \param key a member of the group. An empty one does not stand for the group here: it is a
    ///        member with an empty name.
    /// \param value what to keep; an invalid one becomes null.
    void setEffectVariant(QString effect, QString group, QString key, QVariant value);

    /// A setting of an effect, or of its default settings as long as the effect has none.
    ///
    /// When effectJsonValue() gives Null or Undefined, which is logged at info level ("Not found
    /// effect config object about" effect group key), the whole group becomes what
    /// loadJsonObjectFromFile() reads from the default file: other keys of the group are lost, and
    /// a file that cannot be read leaves an empty object. Later reads find the group in memory;
    /// saveEffectJsonObj() writes it.
    ///
    /// \param effect the effect's name.
    /// \param group a top-level member of its object, by its plain name.
    /// \param key a member of the group; empty for the group itself.
    /// \param defaultPath the default file's full path, extension included. It is not read as long
    ///        as the setting is there.
    /// \return the value. From the default file, after a line at debug level ("Succeeded to get
    ///         config object from" path), Undefined for a missing key. Null when that file gives no
    ///         object or an empty one, after a line at critical level ("Failed to get config object
    ///         from" path).
    QJsonValue effectJsonValue(QString effect, QString group, QString key, QString defaultPath);

    /// Removes all settings of controllers and effects, and the downloaded files: the directories
    /// resources, effects and controllers with all they hold. Then makes the sub-directories of the
    /// data root that are missing.
    ///
    /// The directories logs and dumps stay, and so do global.json and config.json, with their
    /// settings; for each of these two removeDirectory() logs "Directory does not exist:" path, and
    /// a host need not worry about it. A directory that cannot be removed stays in part, with the
    /// log line of removeDirectory(), and the others are removed all the same.
    ///
    /// Objects in memory stay as they are, and save() writes all of them again. A host that wants
    /// none of them back calls EnableCleanStartup(), exits without another save, and at the next
    /// start begins with reset().
    void reset();

    /// Makes a note that the next start is to be a clean one: sets "cleanStartup" to true in the
    /// object "global" and writes that at once, without appConfigChanged(). What is to happen then,
    /// and removing the note, is up to the host; nothing in this library reads it.
    void EnableCleanStartup();

    /// The value at a key path of an object.
    ///
    /// \param object where the path begins; not changed.
    /// \param path a key path; see the class description.
    /// \return the object itself for the empty path. Null when a step on the way is missing or is
    ///         no object; Undefined when only the last member is missing, or when the path is made
    ///         of dots only. No part of the object is copied: a text, an array or an object shares
    ///         the object's data, and as long as it is kept, the next change there copies the
    ///         members that stand beside what is changed. A QString made of a text shares nothing.
    static QJsonValue valWithXPath(const QJsonObject &object, const QString &path);

    /// Sets the value at a key path of an object, in place. Objects that are missing on the way are
    /// made, and what stands there and is no object is replaced by one. Members beside the way are
    /// kept.
    /// \param object where the path begins.
    /// \param path a key path; one without a key changes nothing.
    /// \param value Undefined removes the last member.
    static void setValWithXPath(QJsonObject &object, const QString &path, const QJsonValue &value);

    /// The same with the path already split.
    /// \param object where the path begins.
    /// \param keys from the top; a key may hold any character, dots included. An empty list
    ///        changes nothing.
    /// \param value Undefined removes the last member.
    /// \return the changed object. As long as it is kept it shares the object's data, which makes
    ///         the next change of the object copy its top level.
    static QJsonValue setValWithXPath(QJsonObject &object, QStringList keys,
                                      const QJsonValue &value);

    /// Writes the layout of an LED controller: the grid cell of each LED ("key"), and the segments
    /// for effects that follow music.
    ///
    /// The strip starts at the bottom-left corner of the monitor and runs up the left side, along
    /// the top, down the right side and along the bottom to the left: N = \p width + 2 * \p height
    /// + \p bottom keys, numbered from 1. The grid's columns count from 0 at the left to \p width -
    /// 1, its rows from 0 at the top to \p height - 1. Each corner's cell belongs to two keys, the
    /// last of one side and the first of the next.
    ///
    /// | member      | type    | value                                                          |
    /// |-------------|---------|----------------------------------------------------------------|
    /// | "key_array" | array   | for each key {"id": 1 to N, "x": column, "y": row}             |
    /// | "key_music" | array   | for each segment {"id": from 0 on, "direction": 0 or 1,        |
    /// |             |         | "start": its first key, "stop": its last key}                  |
    /// | "key_len"   | integer | \p width                                                       |
    /// | "key_wid"   | integer | \p height, but 1 when that is less than 2                      |
    /// | "key_num"   | integer | N                                                              |
    ///
    /// The segments are, in this order: the left side (direction 1), two of the top (0, 1), the
    /// right side (0), two of the bottom (0, 1); a side without keys has none. Top and bottom are
    /// both split by half of \p width, rounded toward zero. So an odd width leaves the top's middle
    /// key out, and a bottom of less than half the width gets numbers beyond N. A height of 1 means
    /// a single row: it has no left side, and begins with two more segments, which split the keys 1
    /// to \p width (0, 1).
    /// Dimensions are not checked: negative ones go through the same arithmetic, which is done in
    /// 64 bits and holds any sum, as the numbers in the file do.
    ///
    /// The file is "controler_config/" (spelt like this) + \p name + ".json", every ":" of the name
    /// turned into "_", below QStandardPaths::writableLocation(QStandardPaths::DataLocation), which
    /// is not the data root. The folder is made, with its parents, when it is missing. An older
    /// file is replaced.
    ///
    /// Each call logs one line at debug level: the name, " count:" N " height:" \p height " width:"
    /// \p width. Failures are neither reported nor logged: when the file cannot be opened nothing
    /// changes. The same holds for more than 1 000 000 keys, which no strip has, and whose layout
    /// could take all memory.
    ///
    /// \param name the controller's name. A "/" in it leads to a sub-folder, which is not made.
    ///        A name with a NUL gets no file.
    /// \param height keys on each of the two vertical sides.
    /// \param width keys along the top.
    /// \param bottom keys along the bottom; often fewer than \p width, which leaves a gap
    ///        before the bottom-left corner.
    static void generateControllerConfig(QString name, int height, int width, int bottom);

    /// The data root for an object that is still to be made; empty for the default location. Set
    /// it with setConfigPath().
    static QString gsConfigPath;

Q_SIGNALS:
    /// A setting was changed with setAppConfig(). Comes after the save: unless that failed, the new
    /// value stands in global.json already.
    /// \param path the key path as the caller of setAppConfig() wrote it.
    void appConfigChanged(const QString &path);

private:
    // Only the owning pointer may end the object.
    friend struct std::default_delete<ConfigurationManager>;

    ConfigurationManager();
    ~ConfigurationManager() override;

    struct CachedObject {
        QJsonObject object;
        int saves = 0;
    };

    QString filePath(const QString &name) const;

    static std::unique_ptr<ConfigurationManager> s_instance;

    QHash<QString, CachedObject> m_objects;
    QString m_configPath;
};

/// Removes a directory with everything in it, hidden entries included.
///
/// The first failure ends the walk; what was removed until then is gone. A link to a directory is
/// treated as one: the directory that it leads to is emptied, then the link itself cannot be
/// removed, which is a failure. Links that lead nowhere, sockets and pipes are not seen, so that
/// the directory that holds them cannot be removed.
///
/// May be called from any thread, on distinct trees.
/// \param path the directory. An empty path is not taken for the working directory.
/// \return whether the directory is gone. A failure is logged once at warning level:
///         "Directory does not exist:" path (also for a path that is a file), "Failed to remove
///         file:" path or "Failed to remove directory:" path.
LIBCORVANE_EXPORT bool removeDirectory(const QString &path);

/// Finds the first array index, "[" digits "]", anywhere in a text such as "item[7]".
///
/// For hosts that read such steps themselves: key paths know no array steps. May be called from
/// any thread.
/// \param text what to look through.
/// \param[out] index the number; 0 when it does not fit an int; left alone when there is none.
/// \return whether there is an index and it fits an int.
LIBCORVANE_EXPORT bool isArrayIndex(const QString &text, int &index);

#endif
