#pragma once

#include <QSize>

#include <string>

namespace lumivert {

/// Writes a JPEG at `path`: a smooth blue-green ground with a thick red border and a white
/// diagonal, so that its edges, its corners and its way up can be found on paper. `dotsPerInch` is
/// stated in the file.
void writeTestPhoto(const std::string& path, QSize pixels, int dotsPerInch);

} // namespace lumivert
