#include "views/Dropping.h"

#include "model/AsciiCase.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace lumivert {

namespace {

constexpr std::array<std::string_view, 11> acceptedExtensions{
    "jpg", "jpeg", "png", "tiff", "tif", "heic", "raw", "cr2", "cr3", "nef", "arw"};

} // namespace

std::optional<FileUrl> acceptedDrop(const std::optional<std::string>& dataRepresentation) {
    if (!dataRepresentation)
        return std::nullopt;
    auto url = FileUrl::fromDataRepresentation(*dataRepresentation);
    if (!url || std::ranges::find(acceptedExtensions, lowerCased(url->pathExtension())) ==
                    acceptedExtensions.end())
        return std::nullopt;
    return url;
}

} // namespace lumivert
