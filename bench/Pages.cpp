#include "Pages.h"

#include "BenchWorld.h"
#include "Timing.h"
#include "manager/PrintManager.h"

#include <QImage>
#include <QPainter>
#include <QPdfWriter>

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace lumivert::bench {
namespace {

void prepare(PrintManager& pm, const std::string& photo, const std::string& profile) {
    pm.availablePrinters = {{"Q", "Q"}};
    pm.selectedPrinterID = "Q";
    pm.loadImage(FileUrl::fromPath(photo));
    if (!*pm.image)
        throw std::runtime_error(photo + " did not load");
    if (profile.empty())
        return;
    pm.availableICCProfiles = {{profile, "bench", profile, true}};
    pm.selectedICCProfileID = profile;
}

Seconds page(PrintManager& pm) {
    const Seconds seconds = timed([&] { pm.sendToCUPS(true); });
    if (pm.lastPrintError->has_value())
        throw std::runtime_error(**pm.lastPrintError);
    return seconds;
}

// Reads and writes through a buffer, as a page does; no process is started.
void copyFile(const std::string& from, const std::string& to) {
    static std::array<char, 1 << 20> buffer;
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (in < 0 || out < 0)
        throw std::runtime_error("the copy could not be opened");
    for (ssize_t n = 0; (n = ::read(in, buffer.data(), buffer.size())) > 0;)
        if (::write(out, buffer.data(), static_cast<std::size_t>(n)) != n)
            throw std::runtime_error("the copy failed");
    ::close(in);
    ::close(out);
    ::unlink(to.c_str());
}

void qtPage(const std::string& photo, const std::string& to) {
    QPdfWriter writer(QString::fromStdString(to));
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    painter.setRenderHint(QPainter::LosslessImageRendering);
    painter.drawImage(QRectF(0, 0, writer.width(), writer.height()),
                      QImage(QString::fromStdString(photo)));
}

void row(const std::string& work, const std::string& against, const Comparison& c, double limit) {
    printRow(work, against, milliseconds(c.ours) + " : " + milliseconds(c.theirs), c.ratio, limit,
             " x");
}

} // namespace

void benchPages(const BenchFiles& files) {
    BenchWorld world;
    PrintManager pm(world.appServices().platform);
    const std::string scratch = files.scratch + "/out";

    prepare(pm, files.jpeg45, "");
    const std::string managed = "page PDF, printer managed, 45 MP JPEG";
    row(managed, "copying the JPEG file",
        compare(
            9, [&] { return page(pm); },
            [&] { return timed([&] { copyFile(files.jpeg45, scratch + ".jpg"); }); }),
        3);
    row(managed, "`img2pdf`, whole process",
        compare(
            5, [&] { return page(pm); },
            [&] {
                return timedProcess({"img2pdf", files.jpeg45, "-o", scratch + ".pdf"});
            }),
        0.25);

    prepare(pm, files.jpeg45, files.profile);
    const std::string profiled = "page PDF, profile chosen, 45 MP JPEG, lossless";
    row(profiled, "`vips icc_transform` to an uncompressed file, whole process",
        compare(
            7, [&] { return page(pm); },
            [&] {
                return timedProcess({"vips", "icc_transform", files.jpeg45, scratch + ".v",
                                     files.profile, "--input-profile", "srgb"});
            }),
        1.6);
    row(profiled, "Qt's PDF writer, lossless, no conversion",
        compare(
            3, [&] { return page(pm); },
            [&] { return timed([&] { qtPage(files.jpeg45, scratch + ".pdf"); }); }),
        0.2);

    prepare(pm, files.jpeg45, "");
    pm.selectedICCProfileID = "printer_managed";
    pm.scalingMode = ScalingMode::fillPage;
    row("page PDF, fill with margins (crop), 45 MP JPEG", "`vips` decode alone",
        compare(
            7, [&] { return page(pm); },
            [&] {
                return timedProcess({"vips", "avg", files.jpeg45});
            }),
        2);
    pm.scalingMode = ScalingMode::fitToPage;

    prepare(pm, files.tiff45, files.profile);
    row("page PDF, profile chosen, 45 MP TIFF of 16 bits",
        "`vips icc_transform` to an uncompressed file, whole process",
        compare(
            3, [&] { return page(pm); },
            [&] {
                return timedProcess({"vips", "icc_transform", files.tiff45, scratch + ".v",
                                     files.profile, "--input-profile", "srgb"});
            }),
        0);
    prepare(pm, files.jpeg100, files.profile);
    row("page PDF, profile chosen, 100 MP JPEG",
        "`vips icc_transform` to an uncompressed file, whole process",
        compare(
            3, [&] { return page(pm); },
            [&] {
                return timedProcess({"vips", "icc_transform", files.jpeg100, scratch + ".v",
                                     files.profile, "--input-profile", "srgb"});
            }),
        0);
    prepare(pm, files.raw45, files.profile);
    row("page PDF, profile chosen, 45 MP camera RAW", "`dcraw_emu -4`, whole process",
        compare(
            2, [&] { return page(pm); },
            [&] {
                return timedProcess({"dcraw_emu", "-w", "-o", "4", "-4", "-Z", "-", files.raw45});
            }),
        0);
    ::unlink((scratch + ".v").c_str());
    ::unlink((scratch + ".pdf").c_str());
}

void makeOnePage(const std::string& photo, const std::string& profile) {
    BenchWorld world;
    PrintManager pm(world.appServices().platform);
    prepare(pm, photo, profile);
    (void)page(pm);
}

} // namespace lumivert::bench
