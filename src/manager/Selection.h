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
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const Record& record) { return record.id == id; });
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
    for (const std::string_view value : preferred) {
        for (const Record& record : list) {
            if (record.*field == value) {
                selectedID = record.id;
                return;
            }
        }
    }
    selectedID = list.front().id;
}

} // namespace lumivert
