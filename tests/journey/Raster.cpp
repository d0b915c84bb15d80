#include "journey/Raster.h"

#include "platform/posix/PosixFunctions.h"
#include "support/TemporaryFolder.h"

#include <QLocale>
#include <QRegularExpression>
#include <QString>

#include <stdexcept>

namespace lumivert {
namespace {

std::string run(const std::string& tool, const std::vector<std::string>& arguments) {
    const auto result = runProcess("/usr/bin/" + tool, arguments);
    const auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (!outcome || outcome->exitStatus != 0)
        throw std::runtime_error(tool + " failed" + (outcome ? ": " + outcome->output : ""));
    return outcome->output;
}

} // namespace

QImage rasterised(const std::string& pdf, QSize size) {
    const TemporaryFolder folder;
    run("pdftoppm", {"-png", "-singlefile", "-scale-to-x", std::to_string(size.width()),
                     "-scale-to-y", std::to_string(size.height()), pdf, folder / "page"});
    QImage page(QString::fromStdString(folder / "page.png"));
    if (page.size() != size)
        throw std::runtime_error("pdftoppm drew another size");
    return page.convertToFormat(QImage::Format_RGB32);
}

QSizeF pageSizePoints(const std::string& pdf) {
    const QString info = QString::fromStdString(run("pdfinfo", {"-box", pdf}));
    const QRegularExpression box(
        QStringLiteral(R"(MediaBox:\s+([-0-9.]+)\s+([-0-9.]+)\s+([-0-9.]+)\s+([-0-9.]+))"));
    const auto match = box.match(info);
    if (!match.hasMatch())
        throw std::runtime_error("pdfinfo names no media box");
    const auto number = [&](int i) { return QLocale::c().toDouble(match.captured(i)); };
    return {number(3) - number(1), number(4) - number(2)};
}

QRect inkedArea(const QImage& page) {
    QRect area;
    for (int y = 0; y < page.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(page.constScanLine(y));
        for (int x = 0; x < page.width(); ++x)
            if (qRed(row[x]) < 250 || qGreen(row[x]) < 250 || qBlue(row[x]) < 250)
                area |= QRect(x, y, 1, 1);
    }
    return area;
}

} // namespace lumivert
