#pragma once

#include <string>
#include <string_view>
#include <vector>

// What a queue says of its options: the listing of `lpoptions -l` and the lines of its PPD file.
namespace lumivert {

/// The command that lists the queue's options. The queue's name is spliced in as it stands.
[[nodiscard]] std::string optionListingCommand(const std::string& printer);

/// The choices of the first line that begins with `keyword` and "/" and holds a ":", in order,
/// without the "*" that marks the default, empty ones included. Nothing without such a line.
[[nodiscard]] std::vector<std::string> optionChoices(std::string_view listing,
                                                     std::string_view keyword);

/// The path of the queue's PPD file.
[[nodiscard]] std::string ppdPath(const std::string& printer);

/// A PPD line "*Keyword Option: Value".
struct PpdEntry {
    /// What stands between the keyword and the first ":", untouched: with its translation part.
    std::string_view option;
    /// What follows that ":", untouched.
    std::string_view value;
};

/// The lines of `ppd` that begin with "*", `keyword` and a space and hold a ":", in order. They
/// look into `ppd`. Empty for a text that is not UTF-8.
[[nodiscard]] std::vector<PpdEntry> ppdEntries(std::string_view ppd, std::string_view keyword);

} // namespace lumivert
