#pragma once

#include "app/SystemServices.h"

#include <string>
#include <vector>

namespace lumivert::bench {

/// So that no window starts with the size that another left.
void forgetPreferences();

/// The program's own services, without any preferences at first; but nothing is sent to a printer
/// and no viewer opens: the page that the viewer would have shown is removed.
class BenchWorld {
public:
    BenchWorld();

    [[nodiscard]] AppServices appServices();

private:
    SystemServices m_services;
};

} // namespace lumivert::bench
