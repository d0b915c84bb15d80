#pragma once

#include "platform/Bitmap.h"
#include "platform/pdf/PdfFile.h"

#include <string>

namespace lumivert {

/// Writes an ICC profile as a colour space, "[/ICCBased 7 0 R]"; empty when the bytes do not begin
/// as a profile of a space of `channels` components that PDF knows (ISO 32000-1, 8.6.5.5).
[[nodiscard]] std::string writeIccBasedSpace(PdfFile& file, const SharedBytes& profile,
                                             int channels);

/// Writes the stream as an image, byte for byte, and returns its object.
[[nodiscard]] int writeJpegImage(PdfFile& file, const JpegStream& stream, bool interpolate);

/// Whether writeJpegImage can show it: a count of channels that a PDF has a device space for, and a
/// size.
[[nodiscard]] bool isEmbeddable(const JpegStream& stream);

/// Writes the rows as a losslessly compressed image and returns its object. The file fails when the
/// rows break off or are of no kind that a PDF can hold.
[[nodiscard]] int writeRowsImage(PdfFile& file, RowSource& source, bool interpolate);

} // namespace lumivert
