#pragma once

#include "fakes/FakeImage.h"
#include "model/Models.h"
#include "model/Text.h"
#include "platform/PdfPage.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert::fakes {

/// What a page shows, a line each in the order in which it is painted, numbers with three decimals.
struct PdfRecord {
    std::string path;
    std::vector<std::string> lines = {};
    /// The rectangles of the bitmaps drawn and of the areas filled, in full.
    std::vector<RectPoints> drawn = {};
    std::vector<RectPoints> filled = {};
    SizePoints size = {};
};

inline std::string text(RectPoints r) {
    return fixedText(r.x, 3) + " " + fixedText(r.y, 3) + " " + fixedText(r.width, 3) + " " +
           fixedText(r.height, 3);
}

inline std::string text(PixelRect part) {
    return std::to_string(part.x) + "," + std::to_string(part.y) + "," +
           std::to_string(part.width) + "," + std::to_string(part.height);
}

inline bool isInside(PixelRect part, PixelSize size) {
    return part.x >= 0 && part.y >= 0 && part.width > 0 && part.height > 0 &&
           part.x + part.width <= size.width && part.y + part.height <= size.height;
}

inline PdfRecord recordOf(const std::string& path, const PdfPage& page) {
    PdfRecord record{.path = path, .filled = page.whiteAreas, .size = page.size};
    auto& lines = record.lines;
    lines.push_back("page " + fixedText(page.size.width, 3) + " " + fixedText(page.size.height, 3));
    if (page.space) {
        lines.push_back("intent " + std::string(rawValue(page.intent)));
        lines.push_back("space of " + std::to_string(page.space->channels));
    }
    if (page.bitmap && page.part && !isInside(*page.part, page.bitmap->pixelSize())) {
        lines.push_back("draw a part that the bitmap lacks");
    } else if (page.bitmap) {
        lines.push_back("draw " + (page.part ? "part " + text(*page.part) : "whole") + " in " +
                        text(page.rect));
        record.drawn.push_back(page.rect);
    }
    for (const RectPoints& area : page.whiteAreas)
        lines.push_back("white " + text(area));
    return record;
}

/// Keeps the pages that it is given.
class FakePdfWriter {
public:
    bool write(const std::string& path, const PdfPage& page) {
        if (willWrite)
            willWrite();
        if (writes)
            pages.push_back(std::make_unique<PdfRecord>(recordOf(path, page)));
        return writes;
    }

    std::function<void()> willWrite;
    bool writes = true;
    std::vector<std::unique_ptr<PdfRecord>> pages;
};

/// Takes bytes that begin with "profile" for an RGB destination, "grey profile" for a grey one and
/// "input profile" for one that is no destination; of "lost profile" nothing can be found out.
inline std::optional<std::shared_ptr<const ColorSpace>> fakeColorSpace(SharedBytes bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.view.data()),
                                bytes.view.size());
    if (text.starts_with("profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 3, true});
    if (text.starts_with("grey profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 1, true});
    if (text.starts_with("input profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 3, false});
    if (text.starts_with("lost profile"))
        return std::nullopt;
    return nullptr;
}

} // namespace lumivert::fakes
