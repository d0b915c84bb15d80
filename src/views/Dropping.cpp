#include "views/Dropping.h"

#include "model/AsciiCase.h"
#include "model/PhotoFormats.h"

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

bool isTaken(const std::string& ending) {
    return std::ranges::any_of(photoFormats(), [&](const PhotoFormat& format) {
        return std::ranges::find(format.dropEndings, ending) != format.dropEndings.end();
    });
}

} // namespace

std::optional<FileUrl> acceptedDrop(const std::optional<std::string>& dataRepresentation) {
    if (!dataRepresentation)
        return std::nullopt;
    auto url = FileUrl::fromDataRepresentation(*dataRepresentation);
    if (!url || !isTaken(lowerCased(url->pathExtension())))
        return std::nullopt;
    return url;
}

} // namespace lumivert
