#pragma once

#include <string>

namespace lumivert {

/// Opens the file with the desktop's choice of viewer, by way of xdg-open or its portal, without
/// waiting for the viewer. A failure is silent. Main thread.
void openFile(const std::string& path);

} // namespace lumivert
