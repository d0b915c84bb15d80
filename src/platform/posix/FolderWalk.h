#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lumivert {

/// What FileSystem::enumerate promises. One folder is open at a time, however deep the tree; a path
/// longer than PATH_MAX is a folder that cannot be opened.
[[nodiscard]] std::optional<std::vector<std::string>> walkFolder(const std::string& folder);

} // namespace lumivert
