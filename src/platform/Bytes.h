#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace lumivert {

using Bytes = std::vector<std::byte>;

/// Immutable bytes with shared ownership; `owner` keeps what `view` looks at alive (a vector, a
/// mapping of a file in memory).
struct SharedBytes {
    std::shared_ptr<const void> owner;
    std::span<const std::byte> view;

    [[nodiscard]] bool empty() const { return view.empty(); }
};

/// Takes over `bytes`.
[[nodiscard]] inline SharedBytes sharedBytes(Bytes bytes) {
    auto owner = std::make_shared<const Bytes>(std::move(bytes));
    return {owner, *owner};
}

} // namespace lumivert
