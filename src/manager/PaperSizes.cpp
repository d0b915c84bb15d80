#include "manager/OptionListing.h"
#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"
#include "manager/Selection.h"
#include "manager/Shell.h"
#include "model/Text.h"
#include "platform/FatalError.h"
#include "platform/FileSystem.h"

#include <cmath>
#include <cstdlib>
#include <locale.h>
#include <map>
#include <set>
#include <string_view>

namespace lumivert {
namespace {

constexpr std::string_view borderlessSuffix = ".Fullbleed";
// ISO 216 A4, for a choice that the PPD gives no dimension.
constexpr SizePoints a4Points{595.28, 841.89};

// The whole field as strtod reads a number in the POSIX locale, whatever the program's own locale:
// white space may lead, nothing may follow; hexadecimal, "inf" and "nan" count.
std::optional<double> numberFrom(const std::string& field) {
    static const locale_t posix = newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    const double value = strtod_l(field.c_str(), &end, posix);
    const bool whole = !field.empty() && end == field.c_str() + field.size();
    return whole ? std::optional(value) : std::nullopt;
}

// A whole number of millimetres in the range of a 64-bit integer.
std::string wholeMillimetres(double millimetres) {
    if (!std::isfinite(millimetres))
        fatalError("the printer's PPD states a paper dimension that is not a finite number");
    constexpr double limit = 9223372036854774784.0; // the largest double below 2^63
    return truncatedText(std::fmin(std::fmax(std::round(millimetres), -limit), limit));
}

double roundedToTenth(double millimetres) {
    return std::round(millimetres * 10) / 10;
}

// A choice is its own label: none of CUPS's needs a friendlier one.
std::string formatPaperName(const std::string& name, double widthMM, double heightMM) {
    return name + " (" + wholeMillimetres(widthMM) + " × " + wholeMillimetres(heightMM) + " mm)";
}

} // namespace

std::map<std::string, SizePoints>
PrintManager::loadPaperDimensions(const std::string& forPrinter) const {
    std::map<std::string, SizePoints> dimensions;
    const std::string ppd = m_platform.files.readFile(ppdPath(forPrinter)).value_or("");
    for (const PpdEntry& entry : ppdEntries(ppd, "PaperDimension")) {
        const std::string value = without(trimmed(entry.value), '"');
        const auto fields = split(value, ' ');
        if (fields.size() < 2)
            continue;
        const auto width = numberFrom(std::string(fields[0]));
        const auto height = numberFrom(std::string(fields[1]));
        if (width && height)
            dimensions.insert_or_assign(std::string(entry.option), SizePoints{*width, *height});
    }
    return dimensions;
}

void PrintManager::loadPaperSizes(const std::string& forPrinter) {
    std::set<std::string> borderlessChoices;
    std::vector<std::string> baseChoices;
    for (std::string& choice : optionChoices(
             shellOutput(m_platform.runProcess, optionListingCommand(forPrinter)), "PageSize")) {
        if (choice.ends_with(borderlessSuffix))
            borderlessChoices.insert(std::move(choice));
        else if (!choice.empty() && choice.find("Custom") == std::string::npos)
            baseChoices.push_back(std::move(choice));
    }

    const auto dimensions =
        baseChoices.empty() ? std::map<std::string, SizePoints>() : loadPaperDimensions(forPrinter);
    m_unmeasuredSizes.clear();
    std::vector<PaperSize> sizes;
    for (const std::string& choice : baseChoices) {
        const auto found = dimensions.find(choice);
        const SizePoints points = found != dimensions.end() ? found->second : a4Points;
        if (found == dimensions.end())
            m_unmeasuredSizes.insert(choice);
        const double widthMM = millimetresFromPoints(points.width);
        const double heightMM = millimetresFromPoints(points.height);
        const auto variant = borderlessChoices.find(choice + std::string(borderlessSuffix));
        sizes.push_back({.id = choice,
                         .name = formatPaperName(choice, widthMM, heightMM),
                         .widthMM = roundedToTenth(widthMM),
                         .heightMM = roundedToTenth(heightMM),
                         .cupsName = choice,
                         .cupsFullbleedName = variant != borderlessChoices.end()
                                                  ? std::optional(*variant)
                                                  : std::nullopt});
    }
    if (sizes.empty())
        sizes.push_back(defaultPaperSize());

    availablePaperSizes = sizes;
    selectOffered(selectedPaperSizeID, sizes, &PaperSize::cupsName, {"A4"});
}

bool PrintManager::selectedPaperSizeIsUnmeasured() const {
    return m_unmeasuredSizes.contains(selectedPaperSizeID);
}

} // namespace lumivert
