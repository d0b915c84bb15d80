#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

// Observation for one thread: the one that owns the observed object.
namespace lumivert {

/// Keeps a receiver in its signal's list, and alive; both end with the holder. It may outlive the
/// signal.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<const void> receiver)
        : m_receiver(std::move(receiver)) {}
    Subscription(Subscription&&) noexcept = default;
    Subscription& operator=(Subscription&&) noexcept = default;

    void end() { m_receiver.reset(); }

private:
    std::shared_ptr<const void> m_receiver;
};

/// A list of receivers. Receivers run in the order in which they subscribed. While it fires:
/// a receiver subscribed meanwhile is first called at the next firing; one whose subscription ends
/// meanwhile is not called any more; the signal itself may be destroyed by a receiver, and then no
/// other is called.
class Signal {
public:
    using Receiver = std::function<void()>;

    Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    [[nodiscard]] Subscription subscribe(Receiver receiver) {
        std::erase_if(m_receivers, [](const auto& known) { return known.expired(); });
        auto held = std::make_shared<const Receiver>(std::move(receiver));
        m_receivers.push_back(held);
        return Subscription(std::move(held));
    }

    /// Whether this signal still stands afterwards; false when a receiver destroyed it.
    bool fire() {
        const std::weak_ptr<const bool> alive = m_alive;
        for (const auto& known : std::vector(m_receivers)) {
            if (const auto receiver = known.lock())
                (*receiver)();
            if (alive.expired())
                return false;
        }
        return true;
    }

private:
    std::vector<std::weak_ptr<const Receiver>> m_receivers; // expired once unsubscribed
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

/// An object whose published properties notify its observers. Not copied, not moved.
class ObservableObject {
public:
    ObservableObject() = default;
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    /// Calls `receiver` after every assignment to any published property, and at every
    /// announcement; not now.
    [[nodiscard]] Subscription subscribe(std::function<void()> receiver) const {
        return m_changed.subscribe(std::move(receiver));
    }

protected:
    ~ObservableObject() = default;

    /// Notifies the observers without an assignment.
    void announceChange() { m_changed.fire(); }

private:
    template <class>
    friend class Published;

    mutable Signal m_changed;
};

/// A property that notifies at every assignment, also of an equal value: first its own observers,
/// then its object's. The new value stands when they run. It is changed by assignment alone. An
/// observer may destroy the object; the reference that the assignment returns is void then.
template <class T>
class Published {
public:
    Published(ObservableObject* owner, T initial)
        : m_owner(owner)
        , m_value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    Published& operator=(T value) {
        m_value = std::move(value);
        if (m_changed.fire())
            m_owner->announceChange();
        return *this;
    }

    [[nodiscard]] const T& get() const { return m_value; }
    operator const T&() const { return m_value; }
    const T* operator->() const { return &m_value; }
    const T& operator*() const { return m_value; }

    /// Calls `receiver` after every assignment to this property; not now.
    [[nodiscard]] Subscription subscribe(std::function<void()> receiver) const {
        return m_changed.subscribe(std::move(receiver));
    }

private:
    ObservableObject* m_owner;
    T m_value;
    mutable Signal m_changed;
};

} // namespace lumivert
