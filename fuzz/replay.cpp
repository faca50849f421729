// Usage: REPLAY DIRECTORY
// Runs each file of a corpus through the target that this is linked with.

#include "FuzzHost.h"

#include <QDirIterator>

int main(int argc, char **argv)
{
    require(argc == 2, "one directory is named");
    int count = 0;
    for (QDirIterator files(argv[1], QDir::Files); files.hasNext(); ++count) {
        QFile file(files.next());
        require(file.open(QIODevice::ReadOnly), "the file can be read");
        const QByteArray input = file.readAll();
        std::printf("%s\n", qUtf8Printable(file.fileName()));
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()),
                               std::size_t(input.size()));
    }
    require(count > 0, "the corpus holds files");
    return 0;
}
