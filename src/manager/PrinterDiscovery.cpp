#include "manager/PrintManager.h"
#include "manager/Selection.h"
#include "manager/Shell.h"
#include "model/Text.h"

namespace lumivert {
namespace {

std::vector<Printer> printersFrom(std::string_view output) {
    std::vector<Printer> printers;
    for (const std::string_view line : split(output, '\n')) {
        const auto fields = split(line, ' ');
        if (fields.size() < 2)
            continue;
        // The second word is the Swedish form of the same CUPS message.
        const std::string keyword = lowerCased(fields[0]);
        if (keyword != "printer" && keyword != "skrivare")
            continue;
        printers.push_back({.id = std::string(fields[1]), .name = std::string(fields[1])});
    }
    return printers;
}

// Line breaks belong to the value: only an output that ends without one names a queue.
std::optional<std::string> defaultDestinationFrom(std::string_view output) {
    const auto colon = output.rfind(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    return std::string(trimmed(output.substr(colon + 1)));
}

} // namespace

void PrintManager::detectPrinters() {
    availablePrinters = printersFrom(shellOutput(m_platform.runProcess, "lpstat -p 2>/dev/null"));

    const auto destination =
        defaultDestinationFrom(shellOutput(m_platform.runProcess, "lpstat -d 2>/dev/null"));
    const std::vector<Printer> printers = availablePrinters;
    if (destination && firstWithId(printers, *destination))
        selectedPrinterID = *destination;

    if (selectedPrinterID->empty() && !printers.empty())
        selectedPrinterID = printers.front().id;
    if (selectedPrinterID->empty())
        return;
    // A copy: an observer may select another printer while the lists are replaced.
    const std::string printer = selectedPrinterID;
    loadPaperSizes(printer);
    loadMediaTypes(printer);
}

} // namespace lumivert
