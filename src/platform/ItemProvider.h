#pragma once

#include <functional>
#include <optional>
#include <string>

namespace lumivert {

/// The type identifier under which a dropped file's address, an encoded URL, is asked for.
inline constexpr auto fileUrlType = "public.file-url";

/// One dropped item.
class ItemProvider {
public:
    virtual ~ItemProvider() = default;

    /// Loads the item as `typeIdentifier` and hands its bytes to `completion`, once, on any thread,
    /// possibly after this provider is gone; nothing when it has no such form. Main thread; returns
    /// at once.
    virtual void loadItem(const std::string& typeIdentifier,
                          std::function<void(std::optional<std::string>)> completion) = 0;
};

} // namespace lumivert
