#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>

namespace lumivert {

/// The ids of this process's threads.
inline std::set<std::string> threads() {
    std::set<std::string> ids;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        ids.insert(task.path().filename());
    return ids;
}

/// How many of this moment's threads are not among `before`. A mere count is no measure: a thread
/// that was joined can stand in the list a moment longer.
inline std::ptrdiff_t threadsSince(const std::set<std::string>& before) {
    return std::ranges::count_if(threads(), [&](const auto& id) { return !before.contains(id); });
}

} // namespace lumivert
