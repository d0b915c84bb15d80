#pragma once

#include "platform/Observable.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert {

/// The first record of the list whose `id` is exactly `id`.
template <class Record>
[[nodiscard]] std::optional<Record> firstWithId(const std::vector<Record>& list,
                                                const std::string& id) {
    const auto found = std::ranges::find(list, id, &Record::id);
    return found != list.end() ? std::optional(*found) : std::nullopt;
}

/// Settles a selection after its list was replaced by `list`, which is not empty: one that is still
/// offered stays; else the first record whose `field` equals the first preferred value that any
/// record has; else the first record.
template <class Record>
void selectOffered(Published<std::string>& selectedID, const std::vector<Record>& list,
                   std::string Record::*field, std::initializer_list<std::string_view> preferred) {
    if (firstWithId(list, selectedID))
        return;
    auto chosen = list.end();
    for (const std::string_view value : preferred)
        if (chosen == list.end())
            chosen = std::ranges::find(list, value, field);
    selectedID = chosen != list.end() ? chosen->id : list.front().id;
}

} // namespace lumivert
