#include "platform/updates/ObservedFlag.h"

#include <utility>

namespace lumivert {

FlagObservation& FlagObservation::operator=(FlagObservation&& other) noexcept {
    if (this != &other) {
        end();
        m_receiver = std::move(other.m_receiver);
    }
    return *this;
}

void FlagObservation::end() {
    if (const auto receiver = std::exchange(m_receiver, nullptr)) {
        const std::lock_guard lock(receiver->running);
        receiver->handler = nullptr;
    }
}

void FlagObservation::Receiver::run() {
    const std::lock_guard lock(running);
    // A copy: a handler that ends its observation destroys the original while it runs.
    if (const auto copy = handler)
        copy();
}

void ObservedFlag::set(bool value) {
    std::vector<std::shared_ptr<FlagObservation::Receiver>> receivers;
    {
        const std::lock_guard lock(m_mutex);
        if (m_value.exchange(value) == value)
            return;
        std::erase_if(m_receivers, [&](const auto& weak) {
            if (auto receiver = weak.lock())
                receivers.push_back(std::move(receiver));
            return weak.expired();
        });
    }
    for (const auto& receiver : receivers)
        receiver->run();
}

FlagObservation ObservedFlag::observe(std::function<void()> handler) {
    const auto receiver = std::make_shared<FlagObservation::Receiver>();
    receiver->handler = std::move(handler);
    {
        const std::lock_guard lock(m_mutex);
        m_receivers.emplace_back(receiver);
    }
    FlagObservation observation(receiver);
    receiver->run();
    return observation;
}

} // namespace lumivert
