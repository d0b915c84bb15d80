// Whatever the print system's tools and a PPD say. The input's three parts, between NUL bytes: the
// output of lpstat, an option listing, a PPD.
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivert;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto first = std::min(text.find('\0'), text.size());
    const auto second = std::min(text.find('\0', std::min(first + 1, text.size())), text.size());
    const std::string tables =
        text.substr(std::min(first + 1, text.size()), second - std::min(first + 1, second));
    fakes::FakePlatform world;
    world.processes.outcomes["lpstat"].output = text.substr(0, first);
    world.processes.outcomes["lpoptions"].output = tables;
    world.files.files["/etc/cups/ppd/Q.ppd"] = text.substr(std::min(second + 1, text.size()));
    PrintManager manager(world.platform);
    manager.loadPaperSizes("Q");
    manager.loadMediaTypes("Q");
    if (manager.availablePaperSizes.get().empty() || manager.availablePaperTypes.get().empty())
        __builtin_trap(); // there is always one to choose
    return 0;
}
