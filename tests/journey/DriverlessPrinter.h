#pragma once

#include "PrivateBus.h"
#include "support/TemporaryFolder.h"

#include <QImage>

#include <chrono>
#include <memory>
#include <string>
#include <sys/types.h>

namespace lumivert {

/// A driverless printer (CUPS's ippeveprinter) on the loopback interface, announced nowhere: A4 and
/// 4x6, each with margins of 3 mm and without, 300 dpi in sRGB. It wants a system bus with a name
/// service for printers, and gets stand-ins for both. Main thread. Failures throw
/// std::runtime_error.
class DriverlessPrinter {
public:
    /// Returns when it takes connections.
    DriverlessPrinter();
    ~DriverlessPrinter();
    DriverlessPrinter(const DriverlessPrinter&) = delete;
    DriverlessPrinter& operator=(const DriverlessPrinter&) = delete;

    /// Whether the program is installed (Debian package cups-ipp-utils).
    [[nodiscard]] static bool isInstalled();

    [[nodiscard]] std::string uri() const;

    /// Waits for a sheet and gives its pixels as they arrived, which then are the printer's no
    /// more.
    [[nodiscard]] QImage takeSheet(std::chrono::milliseconds deadline = std::chrono::minutes(1));

private:
    class NameService;

    TemporaryFolder m_folder;
    PrivateBus m_bus;
    std::unique_ptr<NameService> m_nameService;
    int m_port;
    pid_t m_pid = -1;
};

/// The first page of a raster stream of type image/urf with 8-bit RGB pixels.
[[nodiscard]] QImage readUrf(const std::string& stream);

} // namespace lumivert
