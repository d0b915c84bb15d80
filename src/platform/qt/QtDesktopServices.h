#pragma once

#include "platform/DesktopServices.h"

namespace lumivert {

/// The desktop's choice of viewer by way of xdg-open or its portal. A failure is silent.
class QtDesktopServices : public DesktopServices {
public:
    void openFile(const std::string& path) override;
};

} // namespace lumivert
