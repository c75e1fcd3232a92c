// Runs a fuzz target over the files of folders, without a fuzzer: the regression test that each
// target is in every build.

#include "Fuzzing.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <cstdio>

namespace {

bool replayFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return false;
    }
    const QByteArray bytes = file.readAll();
    std::printf("%s\n", qPrintable(path)); // the last one before an end is the one that caused it
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.constData()),
                           size_t(bytes.size()));
    return true;
}

/// The number of files; 0 when one could not be read, too.
int replayFolder(const QString &path)
{
    const QFileInfoList files = QDir(path).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &file : files) {
        if (!replayFile(file.filePath()))
            return 0;
    }
    std::printf("%d inputs of %s\n", files.size(), qPrintable(path));
    return files.size();
}

} // namespace

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    for (int i = 1; i < argc; ++i) {
        if (replayFolder(QString::fromLocal8Bit(argv[i])) == 0)
            return 1;
    }
    return argc > 1 ? 0 : 1;
}
