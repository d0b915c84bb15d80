#include "Memory.h"
#include "Pages.h"
#include "SensorFile.h"
#include "Windows.h"

#include <QApplication>
#include <QImageReader>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

// lumivert_bench FOLDER PROFILE: the table, from the photos that scripts/bench made in FOLDER.
// lumivert_bench --sensor PHOTO FILE: a camera RAW of the scene in PHOTO.
// lumivert_bench --one-page PHOTO PROFILE: one page, for measuring memory from outside.
int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QImageReader::setAllocationLimit(0);
    using namespace lumivert::bench;
    try {
        if (argc == 4 && std::string(argv[1]) == "--one-page") {
            makeOnePage(argv[2], argv[3]);
            return 0;
        }
        if (argc == 4 && std::string(argv[1]) == "--sensor") {
            makeSensorFile(argv[2], argv[3]);
            return 0;
        }
        if (argc != 3)
            return 2;
        const std::string folder = argv[1];
        const BenchFiles files{.jpeg45 = folder + "/45mp.jpg",
                               .tiff45 = folder + "/45mp-16bit.tif",
                               .jpeg100 = folder + "/100mp.jpg",
                               .tiff400 = folder + "/400mp.tif",
                               .raw45 = folder + "/45mp.raw",
                               .profile = argv[2],
                               .scratch = folder};
        std::puts("| work | against | times | measured | at most | |\n|---|---|---|---|---|---|");
        benchPages(files);
        benchWindows(files);
        benchMemory(files);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
