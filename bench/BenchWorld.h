#pragma once

#include "app/SystemServices.h"
#include "platform/ProcessRunner.h"

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
    struct NoTools : ProcessRunner {
        ProcessResult run(const std::string&, const std::vector<std::string>&) override {
            return ProcessOutcome{};
        }
    };

    SystemServices m_services;
    NoTools m_processes;
};

} // namespace lumivert::bench
