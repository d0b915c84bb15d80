#include "manager/OptionListing.h"
#include "manager/PrintManager.h"
#include "manager/Selection.h"
#include "manager/Shell.h"
#include "platform/FileSystem.h"

#include <string_view>
#include <utility>

namespace lumivert {
namespace {

// IPP media-type keywords (PWG 5101.1) and what a person calls them.
constexpr std::pair<std::string_view, std::string_view> standardMediaNames[] = {
    {"stationery", "Plain Paper"},
    {"stationery-bond", "Bond Paper"},
    {"stationery-heavyweight", "Heavy Paper"},
    {"stationery-letterhead", "Letterhead"},
    {"stationery-preprinted", "Preprinted"},
    {"stationery-prepunched", "Prepunched"},
    {"stationery-colored", "Colored Paper"},
    {"stationery-lightweight", "Light Paper"},
    {"photographic", "Photo Paper"},
    {"cardstock", "Card Stock"},
    {"envelope", "Envelope"},
    {"envelope-heavyweight", "Heavy Envelope"},
    {"labels", "Labels"},
    {"transparency", "Transparency"},
    {"auto", "Auto"},
    {"any", "Auto"},
};

std::string standardName(const std::string& choice) {
    for (const auto& [keyword, name] : standardMediaNames)
        if (keyword == choice)
            return std::string(name);
    return choice;
}

} // namespace

std::map<std::string, std::string>
PrintManager::loadMediaTypeNames(const std::string& forPrinter) const {
    std::map<std::string, std::string> names;
    const std::string ppd = m_platform.files.readFile(ppdPath(forPrinter)).value_or("");
    for (const PpdEntry& entry : ppdEntries(ppd, "MediaType")) {
        const auto slash = entry.option.find('/');
        if (slash != std::string_view::npos)
            names.insert_or_assign(std::string(entry.option.substr(0, slash)),
                                   std::string(entry.option.substr(slash + 1)));
    }
    return names;
}

void PrintManager::loadMediaTypes(const std::string& forPrinter) {
    const std::string listing =
        shellOutput(m_platform.runProcess, optionListingCommand(forPrinter));
    const auto names = loadMediaTypeNames(forPrinter);

    std::vector<PaperType> types;
    for (const std::string& choice : optionChoices(listing, "MediaType")) {
        if (choice.empty())
            continue;
        const auto label = names.find(choice);
        types.push_back({.id = choice,
                         .name = label != names.end() ? label->second : standardName(choice),
                         .cupsMediaType = choice});
    }
    if (types.empty())
        types.push_back(automaticPaperType());

    availablePaperTypes = types;
    selectOffered(selectedPaperTypeID, types, &PaperType::cupsMediaType, {"auto", "any"});
}

} // namespace lumivert
