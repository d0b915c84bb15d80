#pragma once

#include <string>

namespace lumivert {

/// The program's standard output. Main thread.
class Console {
public:
    virtual ~Console() = default;

    /// Writes `line` and a line break, at once.
    virtual void writeLine(const std::string& line) = 0;
};

} // namespace lumivert
