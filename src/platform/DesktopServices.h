#pragma once

#include <string>

namespace lumivert {

/// The desktop around the program. Main thread.
class DesktopServices {
public:
    virtual ~DesktopServices() = default;

    /// Opens the file with the desktop's default viewer for it, without waiting for the viewer.
    virtual void openFile(const std::string& path) = 0;
};

} // namespace lumivert
