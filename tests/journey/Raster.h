#pragma once

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QSizeF>

#include <string>

// Looking at a PDF as paper, with the tools of poppler.
namespace lumivert {

/// The only page of `pdf`, drawn at `size` pixels. Throws std::runtime_error when it cannot be.
[[nodiscard]] QImage rasterised(const std::string& pdf, QSize size);

/// The only page's media box in points, as pdfinfo reads it.
[[nodiscard]] QSizeF pageSizePoints(const std::string& pdf);

/// The smallest rectangle, in pixels, that holds everything that is not white.
[[nodiscard]] QRect inkedArea(const QImage& page);

} // namespace lumivert
