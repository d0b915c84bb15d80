#pragma once

#include <optional>
#include <string>

namespace lumivert {

/// The user's preferences: data values under keys. Main thread.
class PreferencesStore {
public:
    virtual ~PreferencesStore() = default;

    /// The bytes stored under `key`; nothing when there are none or the value is of another kind.
    [[nodiscard]] virtual std::optional<std::string> data(const std::string& key) = 0;

    /// Replaces the value under `key`, and no other, on disk at once. A failure is silent and
    /// leaves the previous value.
    virtual void setData(const std::string& key, const std::string& bytes) = 0;
};

} // namespace lumivert
