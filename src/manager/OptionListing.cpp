#include "manager/OptionListing.h"

#include "model/Text.h"

namespace lumivert {

std::string optionListingCommand(const std::string& printer) {
    return "lpoptions -p " + printer + " -l 2>/dev/null";
}

std::vector<std::string> optionChoices(std::string_view listing, std::string_view keyword) {
    const std::string prefix = std::string(keyword) + "/";
    for (const std::string_view line : split(listing, '\n')) {
        const auto colon = line.find(':');
        if (!line.starts_with(prefix) || colon == std::string_view::npos)
            continue;
        std::vector<std::string> choices;
        for (const std::string_view choice : split(trimmed(line.substr(colon + 1)), ' '))
            choices.push_back(without(choice, '*'));
        return choices;
    }
    return {};
}

std::string ppdPath(const std::string& printer) {
    return "/etc/cups/ppd/" + printer + ".ppd";
}

std::vector<PpdEntry> ppdEntries(std::string_view ppd, std::string_view keyword) {
    std::vector<PpdEntry> entries;
    if (!isUtf8(ppd))
        return entries;
    const std::string prefix = "*" + std::string(keyword) + " ";
    for (std::string_view line : split(ppd, '\n')) {
        if (!line.starts_with(prefix))
            continue;
        line.remove_prefix(prefix.size());
        if (const auto colon = line.find(':'); colon != std::string_view::npos)
            entries.push_back({line.substr(0, colon), line.substr(colon + 1)});
    }
    return entries;
}

} // namespace lumivert
