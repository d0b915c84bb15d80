#pragma once

#include "platform/Console.h"

namespace lumivert {

/// Standard output, past stdio's buffer but after what that holds. What cannot be written (nobody
/// reads, the disk is full, the reader of a non-blocking pipe is late) is lost.
class PosixConsole : public Console {
public:
    void writeLine(const std::string& line) override;
};

} // namespace lumivert
