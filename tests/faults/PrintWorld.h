#pragma once

#include "journey/JourneyWorld.h"
#include "manager/PrintManager.h"
#include "support/PrivateScheduler.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lumivert {

/// The program without its window, ready to print: real services and decoder, a queue of a private
/// scheduler, a photo that is loaded and a profile that is chosen. PPDs are read from `ppds`, apart
/// from the scheduler's own copies.
class PrintWorld {
public:
    explicit PrintWorld(PrivateScheduler& scheduler);
    ~PrintWorld();

    [[nodiscard]] PrintManager& manager() { return *m_manager; }

    /// Prints; the message that stands afterwards, empty for none.
    std::string print();
    /// The page that reached the printer; nothing where none did.
    [[nodiscard]] std::optional<std::string> arrived();
    /// The pages that lie in the temporary folder.
    [[nodiscard]] std::size_t pages() const;
    /// Ends the program.
    void quit();

    /// Puts a program of that name and script before all others of PATH.
    void replaceTool(const std::string& name, const std::string& script);
    /// What a tool of the print system says to these arguments; throws when it fails.
    void run(const std::string& tool, const std::vector<std::string>& arguments);

    static constexpr auto queue = "Photo_A3";

    PrivateScheduler& scheduler;
    TemporaryFolder folder;
    const std::string photo = folder / "photos/photo.jpg";
    const std::string profile = folder / "data/icc/paper.icc";
    const std::string ppd = folder / "ppd/Photo_A3.ppd";
    const std::string temporary = folder / "tmp";
    const std::string tools = folder / "tools";
    /// What is run where the shell is asked for.
    std::string shell = "/bin/zsh";

private:
    ScopedEnvironment m_temporary;
    ScopedEnvironment m_data;
    ScopedEnvironment m_path;

    std::unique_ptr<JourneyWorld> m_services;
    std::unique_ptr<PrintManager> m_manager;
};

} // namespace lumivert
