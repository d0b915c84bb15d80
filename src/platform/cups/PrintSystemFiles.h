#pragma once

#include "platform/posix/PosixFileSystem.h"

namespace lumivert {

/// The machine's files. A queue's PPD, /etc/cups/ppd/QUEUE.ppd, that cannot be read there (CUPS
/// writes it for root and the group lp only; a remote queue has none) is asked of the print
/// scheduler, which gives the same bytes to any user.
///
/// The scheduler is that of the CUPS tools: CUPS_SERVER, client.conf. It is never answered with a
/// password. Silence ends the question after five seconds; a PPD of more than 64 MiB is none.
class PrintSystemFiles : public PosixFileSystem {
public:
    [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;
};

/// What prints go through, for people: "CUPS 2.4.2".
[[nodiscard]] std::string printSystemName();

} // namespace lumivert
