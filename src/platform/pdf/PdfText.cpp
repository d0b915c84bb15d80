#include "platform/pdf/PdfText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace lumivert {

std::string pdfNumber(double value) {
    if (std::isnan(value) || std::abs(value) < smallestPdfNumber)
        return "0";
    value = std::clamp(value, -largestPdfNumber, largestPdfNumber);
    std::array<char, 64> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return error == std::errc{} ? std::string(text.data(), end) : "0";
}

PdfMatrix imagePlacement(RectPoints rect, int orientation) {
    const auto [x, y, w, h] = rect;
    const double right = x + w;
    const double top = y + h;
    switch (orientation) {
    case 2: // mirrored
        return {-w, 0, 0, h, right, y};
    case 3: // upside down
        return {-w, 0, 0, -h, right, top};
    case 4: // mirrored and upside down
        return {w, 0, 0, -h, x, top};
    case 5: // first row at the left, first column at the top
        return {0, -h, -w, 0, right, top};
    case 6: // first row at the right, first column at the top
        return {0, -h, w, 0, x, top};
    case 7: // first row at the right, first column at the bottom
        return {0, h, w, 0, x, y};
    case 8: // first row at the left, first column at the bottom
        return {0, h, -w, 0, right, y};
    default:
        return {w, 0, 0, h, x, y};
    }
}

std::string pdfNumbers(std::span<const double> values) {
    std::string text;
    for (const double value : values) {
        if (!text.empty())
            text += ' ';
        text += pdfNumber(value);
    }
    return text;
}

} // namespace lumivert
