#include "platform/pdf/PdfPageWriter.h"

#include "model/Models.h"
#include "platform/IccHeader.h"
#include "platform/pdf/PdfFile.h"
#include "platform/pdf/RowDeflater.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace lumivert {
namespace {

// The side of the largest page (ISO 32000-1, Annex C). Nothing beyond shows, and renderers that
// count in fixed point give up on a whole page for one path that is far outside.
constexpr double largestPage = 14400;

std::string_view intentName(RenderingIntent intent) {
    using enum RenderingIntent;
    return intent == perceptual   ? "/Perceptual"
           : intent == saturation ? "/Saturation"
           : intent == absolute   ? "/AbsoluteColorimetric"
                                  : "/RelativeColorimetric";
}

// Cuts the stretch from `start` over `length` to what a page can show.
void cutToLargestPage(double& start, double& length) {
    const double end = start + length;
    if (std::abs(start) <= largestPage && std::abs(end) <= largestPage)
        return;
    start = std::clamp(start, -largestPage, largestPage);
    length = std::clamp(end, -largestPage, largestPage) - start;
}

bool isDrawable(const RectPoints& rect) {
    const auto holds = [](double value) { return std::abs(value) <= largestPdfNumber; };
    return rect.width >= smallestPdfNumber && rect.height >= smallestPdfNumber && holds(rect.x) &&
           holds(rect.y) && holds(rect.x + rect.width) && holds(rect.y + rect.height) &&
           holds(rect.width) && holds(rect.height);
}

// Far beyond any photo; keeps a nonsensical size from being allocated.
constexpr std::size_t longestRow = std::size_t{256} << 20;

// Empty for a count of channels that a PDF has no device space for.
std::string_view deviceSpace(int channels) {
    return channels == 1   ? "/DeviceGray"
           : channels == 3 ? "/DeviceRGB"
           : channels == 4 ? "/DeviceCMYK"
                           : "";
}

// "[/ICCBased 7 0 R]"; empty when the bytes do not begin as a profile of a space of so many
// channels that PDF knows (ISO 32000-1, 8.6.5.5).
std::string writeIccBasedSpace(PdfFile& file, const SharedBytes& profile, int channels) {
    const auto header = iccHeader(profile.view);
    if (!header || header->channels() == 0 || header->channels() != channels)
        return {};
    const int stream = file.newObject();
    file.writeStream(stream,
                     "/N " + std::to_string(channels) +
                         (header->isLab() ? " /Range [0 100 -128 127 -128 127]"
                                          : " /Alternate " + std::string(deviceSpace(channels))),
                     profile.view);
    return "[/ICCBased " + pdfReference(stream) + "]";
}

std::string colorSpaceEntry(PdfFile& file, const SharedBytes& profile, int channels) {
    std::string space = writeIccBasedSpace(file, profile, channels);
    if (space.empty())
        space = deviceSpace(channels);
    return " /ColorSpace " + space;
}

std::string imageEntries(PixelSize size, int bitsPerComponent) {
    return "/Type /XObject /Subtype /Image /Interpolate true /Width " + std::to_string(size.width) +
           " /Height " + std::to_string(size.height) + " /BitsPerComponent " +
           std::to_string(bitsPerComponent);
}

bool isWritable(const RowFormat& format) {
    return format.size.width > 0 && format.size.height > 0 &&
           !deviceSpace(format.channels).empty() &&
           (format.bitsPerComponent == 8 || format.bitsPerComponent == 16) &&
           format.bytesPerRow() <= longestRow;
}

bool isEmbeddable(const JpegStream& stream) {
    return stream.storedSize.width > 0 && stream.storedSize.height > 0 && !stream.bytes.empty() &&
           !deviceSpace(stream.channels).empty();
}

// The stream as an image, byte for byte; its object.
int writeJpegImage(PdfFile& file, const JpegStream& stream) {
    std::string entries = imageEntries(stream.storedSize, 8) +
                          colorSpaceEntry(file, stream.profile, stream.channels) +
                          " /Filter /DCTDecode";
    if (stream.inverted && stream.channels == 4)
        entries += " /Decode [1 0 1 0 1 0 1 0]";
    const int image = file.newObject();
    file.writeStream(image, entries, stream.bytes.view);
    return image;
}

// The rows as a losslessly compressed image; its object. The file fails when there are none, they
// break off, or are of no kind that a PDF can hold: a sheet without its photo would go to the
// printer.
int writeRowsImage(PdfFile& file, RowSource* source) {
    if (!source || !isWritable(source->format())) {
        file.fail();
        return 0;
    }
    const RowFormat& format = source->format();
    const std::string entries = imageEntries(format.size, format.bitsPerComponent) +
                                colorSpaceEntry(file, format.profile, format.channels) +
                                " /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                                std::to_string(format.channels) + " /BitsPerComponent " +
                                std::to_string(format.bitsPerComponent) + " /Columns " +
                                std::to_string(format.size.width) + " >>";
    const int image = file.newObject();
    file.beginStream(image, entries);
    const bool whole = deflateRows(*source, [&file](std::span<const std::byte> piece) {
        file.append(piece);
        return file.isOpen();
    });
    if (!whole)
        file.fail();
    file.endStream();
    return image;
}

// Writes the photo; the operators that show it, and its entry in the page's resources.
std::string drawPhoto(PdfFile& file, const PdfPage& page, std::string& resources) {
    if (!page.bitmap || !isDrawable(page.rect))
        return {};
    const bool converts = page.space && page.space->isDestination;
    const auto stream = converts || page.part ? std::nullopt : page.bitmap->jpegStream();
    const bool embeds = stream && isEmbeddable(*stream);
    const auto target =
        converts ? std::optional(ColorTarget{page.space, page.intent}) : std::nullopt;
    const int image = embeds ? writeJpegImage(file, *stream)
                             : writeRowsImage(file, page.bitmap->rows(target, page.part).get());
    resources += " /XObject << /Im0 " + pdfReference(image) + " >>";
    const auto matrix = imagePlacement(page.rect, embeds ? stream->orientation : 1);
    return "q " + pdfNumbers(matrix) + " cm /Im0 Do Q\n";
}

} // namespace

PdfMatrix imagePlacement(RectPoints rect, int orientation) {
    const auto is = [orientation](auto... any) { return ((orientation == any) || ...); };
    // The square's sides as they lie on the page: turned by a quarter, and which run backwards.
    const bool turned = is(5, 6, 7, 8);
    const bool leftwards = is(2, 3, 5, 8);
    const bool downwards = is(3, 4, 5, 6);
    const double width = leftwards ? -rect.width : rect.width;
    const double height = downwards ? -rect.height : rect.height;
    const double x = leftwards ? rect.x + rect.width : rect.x;
    const double y = downwards ? rect.y + rect.height : rect.y;
    return turned ? PdfMatrix{0, height, width, 0, x, y} : PdfMatrix{width, 0, 0, height, x, y};
}

// Images and profiles are written first, the page's content stream, which is short, behind them.
bool writePdfPage(const std::string& path, const PdfPage& page) try {
    const auto file = PdfFile::create(path);
    if (!file)
        return false;
    const int catalog = file->newObject();
    const int pages = file->newObject();
    const int leaf = file->newObject();
    const int contents = file->newObject();
    std::string resources;
    std::string content;
    if (page.space) {
        content = intentName(page.intent);
        content += " ri\n";
        const std::string space =
            writeIccBasedSpace(*file, page.space->profile, page.space->channels);
        if (!space.empty()) {
            resources += " /ColorSpace << /CS0 " + space + " >>";
            content += "/CS0 cs\n";
        }
    }
    content += drawPhoto(*file, page, resources);
    // Device numbers: white stays bare paper. Through a profile, an absolute intent would print the
    // profile's white point.
    if (!page.whiteAreas.empty())
        content += "1 1 1 rg\n";
    for (RectPoints area : page.whiteAreas) {
        cutToLargestPage(area.x, area.width);
        cutToLargestPage(area.y, area.height);
        // A path without area would still paint every device pixel that it touches (ISO 32000-1,
        // 10.6.5). The comparison also refuses what is not a number.
        if (std::abs(area.width) >= smallestPdfNumber && std::abs(area.height) >= smallestPdfNumber)
            content += pdfNumbers(std::array{area.x, area.y, area.width, area.height}) + " re f\n";
    }
    file->writeStream(contents, "", std::as_bytes(std::span(content)));
    file->writeObject(leaf,
                      "<< /Type /Page /Parent " + pdfReference(pages) + " /MediaBox [" +
                          pdfNumbers(std::array{0.0, 0.0, page.size.width, page.size.height}) +
                          "] /Resources <<" + resources + " >> /Contents " +
                          pdfReference(contents) + " >>");
    file->writeObject(pages, "<< /Type /Pages /Kids [" + pdfReference(leaf) + "] /Count 1 >>");
    file->writeObject(catalog, "<< /Type /Catalog /Pages " + pdfReference(pages) + " >>");
    return file->finish(catalog);
} catch (const std::bad_alloc&) {
    return false;
}

} // namespace lumivert
