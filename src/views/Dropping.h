#pragma once

#include "model/FileUrl.h"
#include "platform/ItemProvider.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lumivert {

using ItemProviders = std::vector<std::unique_ptr<ItemProvider>>;

/// The address in a dropped item's bytes, when it ends in one of the endings that a drop accepts:
/// jpg, jpeg, png, tiff, tif, heic, raw, cr2, cr3, nef, arw, in either letter case. Nothing for
/// anything else.
[[nodiscard]] std::optional<FileUrl>
acceptedDrop(const std::optional<std::string>& dataRepresentation);

} // namespace lumivert
