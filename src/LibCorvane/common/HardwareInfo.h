#ifndef LIBCORVANE_COMMON_HARDWAREINFO_H
#define LIBCORVANE_COMMON_HARDWAREINFO_H

#include <LibCorvane/Export.h>

#include <QObject>
#include <QString>

/// Simple questions about this machine, answered as text for reports.
///
/// Every query is static, asks the system anew at each call and keeps nothing; an object of this
/// class is needed for none of them. What is not known is an empty text or an empty part of a text.
/// The formats are fixed, odd ones included: readers of reports rely on them.
///
/// \par The native settings store
/// cpuType() and dCard() read the registry of Windows through QSettings. Elsewhere there is none
/// and the texts are empty. (Qt then takes the registry path for the name of a settings file in the
/// working directory. None is ever made there; should one of that very name lie there, it is read.)
///
/// \par Threads
/// screen() belongs on the thread of the QApplication. All others may be called on any thread, and
/// on several at once.
class LIBCORVANE_EXPORT HardwareInfo : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(HardwareInfo)
public:
    /// Asks nothing.
    /// \param parent owns the object; may be null.
    explicit HardwareInfo(QObject *parent = nullptr);

    /// Ends nothing: an object holds nothing.
    ~HardwareInfo() override;

    /// An identifier of the processor's kind, not of this one processor.
    /// \return the fourth word that getcpuid() gives for leaf 1 (its features), then the first
    ///         (family, model and stepping), each in upper-case hexadecimal without leading zeros
    ///         and with nothing between, for example "BFEBFBFF906EA". Empty on other processors
    ///         than x86.
    static QString get_cpuId();

    /// Asks the processor's CPUID instruction, sub-leaf 0.
    /// \param block receives the four result words in the order EAX, EBX, ECX, EDX; all 0
    ///        for a leaf that the processor does not have. Untouched on other processors than x86.
    /// \param leaf what to ask for, for example 1 for version and features.
    static void getcpuid(unsigned int *block, unsigned int leaf);

    /// The processor's name.
    /// \return what the native settings store has, see the class description; else empty.
    static QString cpuType();

    /// Nothing: reports have no figure for the memory.
    /// \return always empty.
    static QString memory();

    /// The system's name and version.
    /// \return QSysInfo::productType(), a blank, QSysInfo::productVersion(), a blank and the fixed
    ///         text "dmkm\Device0", for example "osx 10.15 dmkm\Device0".
    static QString osVersion();

    /// The names of the graphics adapters of NVIDIA, Intel and AMD, in this order.
    /// \return what the native settings store has, see the class description; trimmed, with a line
    ///         feed between. Empty when it has none.
    static QString dCard();

    /// The sizes of the screens in Qt's device-independent pixels.
    /// \return each size with the number of screens that have it, in the order in which they are
    ///         first met: "(1920 X 1080) X 2、 (2560 X 1440) X 1". Between two entries stand U+3001
    ///         (an ideographic comma) and a blank. Empty without a QApplication.
    static QString screen();

    /// All drives of QDir::drives(), which on macOS and Linux is the root alone.
    /// \return for each one its name, which may be empty, a blank, the space that is free for this
    ///         user in GiB, "G/", the whole space in KiB (not GiB, in spite of the "G" that
    ///         follows), "G" and two blanks. Figures are rounded down. For example "Macintosh HD
    ///         100G/536870912G  " for 100 GiB free of 512 GiB.
    static QString disk();

    /// Nothing: reports have no name for the sound output.
    /// \return always empty.
    static QString audioOut();

    /// A network hardware address without separators, for example "3C22FB010203".
    ///
    /// The interfaces are those of QNetworkInterface::allInterfaces() that are not loop-back ones,
    /// up or down. Logged at debug level: "QNetworkInterface::allInterfaces() count:" with the
    /// number of all, before, and "HardwareInfo::getMacStr:" with the result, after.
    ///
    /// \param wanted "0" for the first interface's address; or an address without separators, in
    ///        upper case, that is to be found again.
    /// \return the address asked for. When no interface has the wanted one, that of the last
    ///         interface. Empty when that interface has none, or when there is no interface; then
    ///         "******Local hardware address acquisition failed!" is logged at warning level.
    static QString getMacStr(QString wanted);
};

#endif
