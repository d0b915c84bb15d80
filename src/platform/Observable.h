#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

// Observation for one thread: the one that owns the observed object.
namespace lumivert {

class Subscription;

/// A list of receivers. Receivers run in the order in which they subscribed. While it fires:
/// a receiver subscribed meanwhile is first called at the next firing; one whose subscription ends
/// meanwhile is not called any more; the signal itself may be destroyed by a receiver, and then no
/// other is called.
template <class... Arguments>
class Signal {
public:
    using Receiver = std::function<void(Arguments...)>;

    Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() { m_state->alive = false; }

    [[nodiscard]] Subscription subscribe(Receiver receiver);

    /// Whether this signal still stands afterwards; false when a receiver destroyed it.
    bool fire(Arguments... arguments) {
        const std::shared_ptr<State> state = m_state; // keeps the list alive
        const std::size_t count = state->entries.size();
        ++state->firing;
        const Depth depth{*state};
        for (std::size_t i = 0; i < count && state->alive; ++i) {
            // A copy: the list may grow, and so move, while the receiver runs.
            const std::shared_ptr<const Receiver> receiver = state->entries[i].receiver;
            if (receiver)
                (*receiver)(arguments...);
        }
        return state->alive;
    }

private:
    struct Entry {
        std::uint64_t id;
        std::shared_ptr<const Receiver> receiver; // null once unsubscribed
    };
    struct State {
        std::vector<Entry> entries;
        std::uint64_t nextId = 0;
        int firing = 0;
        bool alive = true;

        void remove(std::uint64_t id) {
            // Let go of last: what a receiver holds may end other subscriptions of this list.
            std::shared_ptr<const Receiver> released;
            for (Entry& entry : entries)
                if (entry.id == id)
                    released = std::exchange(entry.receiver, nullptr);
            if (firing == 0)
                sweep();
        }
        void sweep() {
            std::erase_if(entries, [](const Entry& entry) { return !entry.receiver; });
        }
    };
    // Ends one level of firing, also when a receiver throws.
    struct Depth {
        State& state;
        ~Depth() {
            if (--state.firing == 0)
                state.sweep();
        }
    };

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// Holds a receiver in its signal's list; ends with its holder. It may outlive the signal.
class Subscription {
public:
    Subscription() = default;
    Subscription(Subscription&& other) noexcept
        : m_end(std::exchange(other.m_end, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            end();
            m_end = std::exchange(other.m_end, nullptr);
        }
        return *this;
    }
    ~Subscription() { end(); }

    void end() {
        if (const auto endNow = std::exchange(m_end, nullptr))
            endNow();
    }

private:
    template <class...>
    friend class Signal;
    explicit Subscription(std::function<void()> endIt)
        : m_end(std::move(endIt)) {}

    std::function<void()> m_end;
};

template <class... Arguments>
Subscription Signal<Arguments...>::subscribe(Receiver receiver) {
    const std::uint64_t id = m_state->nextId++;
    m_state->entries.push_back({id, std::make_shared<const Receiver>(std::move(receiver))});
    return Subscription([state = std::weak_ptr<State>(m_state), id] {
        if (const auto alive = state.lock())
            alive->remove(id);
    });
}

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

    mutable Signal<> m_changed;
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
    mutable Signal<> m_changed;
};

} // namespace lumivert
