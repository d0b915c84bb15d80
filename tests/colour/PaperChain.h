#pragma once

#include "colour/CupsRaster.h"
#include "fakes/FakeServices.h"
#include "manager/PrintManager.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/posix/PosixFileSystem.h"
#include "support/PrivateScheduler.h"
#include "support/RedirectedFileSystem.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <string>

namespace lumivert {

/// Everything between a photo's file and the numbers that a printer's driver gets: the program's
/// own services and decoder, a scheduler with CUPS's filters, and Ghostscript. Only the desktop,
/// the preferences and the delay before a page is deleted are stood in for.
///
/// Its queues want pixels of 8 bits, a pixel a point, on a sheet of 288 x 432 points without
/// margins: "rgb", "grey" and "inks" in the colours of their names.
class PaperChain {
public:
    PaperChain();

    /// The one that the tests share; it lasts as long as the process.
    [[nodiscard]] static PaperChain& shared();

    struct Job {
        std::string photo;
        /// Bytes of the ICC profile that is chosen; the printer manages the colours when empty.
        std::string profile = {};
        RenderingIntent intent = RenderingIntent::perceptual;
        std::string queue = "rgb";
        /// In millimetres, on all sides; 0 prints borderless.
        double margin = 0;
    };

    /// Prints, and gives what the driver got. Throws std::runtime_error when nothing arrived.
    [[nodiscard]] CupsRaster print(const Job& job);
    /// The page as it would have been printed: the path of a PDF.
    [[nodiscard]] std::string page(const Job& job);
    /// Prints a file that somebody else made.
    [[nodiscard]] CupsRaster printFile(const std::string& path, const std::string& queue);

    /// A queue of the kind of "rgb" whose PPD names a colour profile for its paper.
    void addQueueWithProfile(const std::string& queue, const std::string& profile);
    /// Sets an option the way users do for a queue: lpoptions -p QUEUE -o OPTION.
    void setLpOption(const std::string& queue, const std::string& option);

    [[nodiscard]] const TemporaryFolder& folder() const { return m_folder; }

private:
    void addQueue(const std::string& queue, const std::string& colorModel);
    void prepare(const Job& job);
    [[nodiscard]] CupsRaster arrived(const std::string& queue);
    void run(const std::string& tool, const std::vector<std::string>& arguments);

    TemporaryFolder m_folder;
    PrivateScheduler m_scheduler;
    SchedulerEnvironment m_environment{m_scheduler};
    ScopedEnvironment m_profiles{"XDG_DATA_HOME", m_folder / "data"};
    ScopedEnvironment m_pages{"TMPDIR", m_folder.path()};
    int m_profileCount = 0;

    PosixFileSystem m_realFiles;
    RedirectedFileSystem m_files{m_realFiles, "/etc/cups/ppd/", m_scheduler.ppdFolder()};
    DecoderClient m_images;
    fakes::FakePreferencesStore m_preferences;
    fakes::FakeDispatcher m_dispatcher;
    std::string m_page; // what the viewer was given
    std::unique_ptr<PrintManager> m_manager;
};

} // namespace lumivert
