#include "platform/pdf/ImageXObject.h"

#include "platform/IccHeader.h"
#include "platform/pdf/RowDeflater.h"

#include <string_view>

namespace lumivert {
namespace {

// Far beyond any photo; keeps a nonsensical size from being allocated.
constexpr std::size_t longestRow = std::size_t{256} << 20;

std::string_view deviceSpace(int channels) {
    switch (channels) {
    case 1:
        return "/DeviceGray";
    case 3:
        return "/DeviceRGB";
    case 4:
        return "/DeviceCMYK";
    default:
        return {};
    }
}

std::string colorSpaceEntry(PdfFile& file, const SharedBytes& profile, int channels) {
    std::string space = writeIccBasedSpace(file, profile, channels);
    if (space.empty())
        space = deviceSpace(channels);
    return " /ColorSpace " + space;
}

std::string imageEntries(PixelSize size, int bitsPerComponent, bool interpolate) {
    return "/Type /XObject /Subtype /Image /Width " + std::to_string(size.width) + " /Height " +
           std::to_string(size.height) + " /BitsPerComponent " + std::to_string(bitsPerComponent) +
           (interpolate ? " /Interpolate true" : "");
}

bool isWritable(const RowFormat& format) {
    return format.size.width > 0 && format.size.height > 0 &&
           !deviceSpace(format.channels).empty() &&
           (format.bitsPerComponent == 8 || format.bitsPerComponent == 16) &&
           format.bytesPerRow() <= longestRow;
}

} // namespace

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

bool isEmbeddable(const JpegStream& stream) {
    return stream.storedSize.width > 0 && stream.storedSize.height > 0 && !stream.bytes.empty() &&
           !deviceSpace(stream.channels).empty();
}

int writeJpegImage(PdfFile& file, const JpegStream& stream, bool interpolate) {
    std::string entries = imageEntries(stream.storedSize, 8, interpolate) +
                          colorSpaceEntry(file, stream.profile, stream.channels) +
                          " /Filter /DCTDecode";
    if (stream.inverted && stream.channels == 4)
        entries += " /Decode [1 0 1 0 1 0 1 0]";
    const int image = file.newObject();
    file.writeStream(image, entries, stream.bytes.view);
    return image;
}

int writeRowsImage(PdfFile& file, RowSource& source, bool interpolate) {
    const RowFormat& format = source.format();
    if (!isWritable(format)) {
        file.fail();
        return 0;
    }
    const std::string entries = imageEntries(format.size, format.bitsPerComponent, interpolate) +
                                colorSpaceEntry(file, format.profile, format.channels) +
                                " /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                                std::to_string(format.channels) + " /BitsPerComponent " +
                                std::to_string(format.bitsPerComponent) + " /Columns " +
                                std::to_string(format.size.width) + " >>";
    const int image = file.newObject();
    file.beginStream(image, entries);
    const bool whole = deflateRows(source, [&file](std::span<const std::byte> piece) {
        file.append(piece);
        return !file.failed();
    });
    if (!whole)
        file.fail();
    file.endStream();
    return image;
}

} // namespace lumivert
