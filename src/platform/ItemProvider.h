#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumivert {

/// The type identifier under which a dropped file's address, an encoded URL, is asked for.
inline constexpr auto fileUrlType = "public.file-url";

/// One dropped item: loads it as `typeIdentifier` and hands its bytes to `completion`, once, on any
/// thread, possibly after this provider is gone; nothing when it has no such form. Main thread;
/// returns at once.
using ItemProvider = std::function<void(
    const std::string& typeIdentifier, std::function<void(std::optional<std::string>)> completion)>;
using ItemProviders = std::vector<ItemProvider>;

} // namespace lumivert
