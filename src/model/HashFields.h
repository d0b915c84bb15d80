#pragma once

#include <cstddef>
#include <functional>

namespace lumivert {

/// One hash over several fields, in their order.
template <class... Fields>
[[nodiscard]] std::size_t hashFields(const Fields&... fields) noexcept {
    std::size_t seed = 0;
    // The golden-ratio mix keeps equal fields in different places apart.
    ((seed ^= std::hash<Fields>{}(fields) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2)),
     ...);
    return seed;
}

} // namespace lumivert

/// The hash of a record that says its own, over what equality compares.
template <class Record>
requires requires(const Record& record) {
    record.hashValue();
}
struct std::hash<Record> {
    std::size_t operator()(const Record& record) const noexcept { return record.hashValue(); }
};
