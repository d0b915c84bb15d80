#include "Memory.h"
#include "Pages.h"
#include "SensorFile.h"
#include "Timing.h"
#include "Windows.h"
#include "colour/ColorProfiles.h"

#include <QApplication>
#include <QImageReader>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

// lumivert_bench FOLDER PROFILE [TEXT]: the table, or its rows that contain TEXT ("window" for
// those of the window), from the photos and profiles that scripts/bench made in FOLDER, and from
// PROFILE. lumivert_bench --table-profile FILE: the profile of a printer that takes RGB, by tables.
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
        if (argc == 3 && std::string(argv[1]) == "--table-profile") {
            std::ofstream out(argv[2], std::ios::binary);
            return out << lumivert::tablePaperProfile() << std::flush ? 0 : 1;
        }
        if (argc != 3 && argc != 4)
            return 2;
        wantOnly(argc == 4 ? argv[3] : "");
        const std::string folder = argv[1];
        const BenchFiles files{.jpeg45 = folder + "/45mp.jpg",
                               .tiff45of8 = folder + "/45mp-8bit.tif",
                               .tiff45 = folder + "/45mp-16bit.tif",
                               .jpeg100 = folder + "/100mp.jpg",
                               .tiff400 = folder + "/400mp.tif",
                               .raw45 = folder + "/45mp.raw",
                               .heic45 = folder + "/45mp.heic",
                               .profile = argv[2],
                               .tableRgb = folder + "/table-rgb.icc",
                               .tableCmyk = folder + "/table-cmyk.icc",
                               .scratch = folder};
        benchPages(files);
        if (isWanted("window"))
            benchWindows(files);
        benchStalls(files);
        benchMemory(files);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
