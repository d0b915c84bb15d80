#pragma once

#include "platform/Updates.h"

namespace lumivert {

/// The system's clock, timers of the event loop, and the system's random numbers.
class QtUpdateClock : public UpdateClock {
public:
    [[nodiscard]] std::chrono::sys_seconds now() override;
    [[nodiscard]] Alarm after(std::chrono::milliseconds delay, std::function<void()> task) override;
    [[nodiscard]] std::chrono::seconds randomBetween(std::chrono::seconds least,
                                                     std::chrono::seconds most) override;
};

} // namespace lumivert
