#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace lumivert {

/// Keeps an observation going; ends it when destroyed. May outlive the flag.
class FlagObservation {
public:
    FlagObservation() = default;
    FlagObservation(FlagObservation&&) noexcept = default;
    FlagObservation& operator=(FlagObservation&& other) noexcept;
    ~FlagObservation() { end(); }

    /// Any thread. When it returns, the handler does not run any more and will not (unless it is
    /// the handler that ends its own observation); so do not hold what the handler may wait for.
    void end();

private:
    friend class ObservedFlag;
    struct Receiver {
        std::recursive_mutex running;
        std::function<void()> handler; // empty once ended
        void run();
    };
    explicit FlagObservation(std::shared_ptr<Receiver> receiver)
        : m_receiver(std::move(receiver)) {}

    std::shared_ptr<Receiver> m_receiver;
};

/// A Boolean that any thread may read, change and observe.
class ObservedFlag {
public:
    explicit ObservedFlag(bool value)
        : m_value(value) {}
    ObservedFlag(const ObservedFlag&) = delete;
    ObservedFlag& operator=(const ObservedFlag&) = delete;

    [[nodiscard]] bool get() const { return m_value; }

    /// Runs the handlers, on this thread, when the value is a new one. It stands when they run;
    /// changes from several threads may reach a handler in another order, so that a handler has to
    /// read the flag again.
    void set(bool value);

    /// Runs `handler` now, on this thread, and again after each new value, on the thread that set
    /// it. A handler must not throw.
    [[nodiscard]] FlagObservation observe(std::function<void()> handler);

private:
    std::atomic<bool> m_value;
    std::mutex m_mutex;
    std::vector<std::weak_ptr<FlagObservation::Receiver>> m_receivers;
};

} // namespace lumivert
