#pragma once

#include "platform/Updates.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivert::fakes {

/// Keeps what it is asked to do until the test says how it ended. A cancelled check ends when the
/// test calls `turn`, as on the event loop's next turn.
class FakeUpdateEngine : public UpdateEngine {
public:
    void check(UpdateCheckKind kind) override {
        checks.push_back(kind);
        m_checking = true;
        m_cancelled = false;
    }
    void cancelCheck() override { m_cancelled = m_checking; }
    void install(const AvailableUpdate& update) override { installs.push_back(update); }

    void endCheck(const UpdateState& outcome) {
        m_checking = false;
        onState(std::exchange(m_cancelled, false) ? UpdateState(UpdateUnanswered{}) : outcome);
    }
    void turn() {
        if (m_cancelled)
            endCheck(UpdateUnanswered{});
    }

    [[nodiscard]] bool checking() const { return m_checking; }
    [[nodiscard]] bool cancelled() const { return m_cancelled; }

    std::vector<UpdateCheckKind> checks;
    std::vector<AvailableUpdate> installs;

private:
    bool m_checking = false;
    bool m_cancelled = false;
};

/// A window that remembers what it was told, and lets the test press its buttons.
class FakeUpdateWindow : public UpdateWindow {
public:
    void present(const UpdateState& given, Attention attention) override {
        state = given;
        attentions.push_back(attention);
        if (attention != Attention::keep && !open) {
            open = true;
            ++openings;
        }
    }
    void closeWindow() override { open = false; }
    [[nodiscard]] bool isOpen() const override { return open; }

    template <class T>
    [[nodiscard]] const T* shows() const {
        return open && state ? std::get_if<T>(&*state) : nullptr;
    }

    std::optional<UpdateState> state;
    std::vector<Attention> attentions;
    bool open = false;
    int openings = 0;
};

/// A clock that stands still until the test moves it; `chance` is the random length it gives out,
/// kept within what was asked for.
class FakeUpdateClock : public UpdateClock {
public:
    std::chrono::sys_seconds now() override { return time; }

    Alarm after(std::chrono::milliseconds delay, std::function<void()> task) override {
        const auto id = ++m_count;
        m_tasks[id] = {m_elapsed + delay, std::move(task)};
        return {nullptr, [this, id](void*) { m_tasks.erase(id); }};
    }

    std::chrono::seconds randomBetween(std::chrono::seconds least,
                                       std::chrono::seconds most) override {
        return std::clamp(chance, least, most);
    }

    /// Lets time pass, running what falls due at its moment.
    void pass(std::chrono::milliseconds length) {
        const auto end = m_elapsed + length;
        while (true) {
            auto next = m_tasks.end();
            for (auto it = m_tasks.begin(); it != m_tasks.end(); ++it)
                if (it->second.due <= end &&
                    (next == m_tasks.end() || it->second.due < next->second.due))
                    next = it;
            if (next == m_tasks.end())
                break;
            moveTo(next->second.due);
            const auto task = std::move(next->second.task);
            m_tasks.erase(next);
            task();
        }
        moveTo(end);
    }
    /// The machine sleeps: time passes, but not for alarms.
    void sleep(std::chrono::seconds length) { time += length; }

    [[nodiscard]] std::size_t alarmCount() const { return m_tasks.size(); }

    std::chrono::sys_seconds time{std::chrono::seconds(1'800'000'000)};
    std::chrono::seconds chance{60};

private:
    struct Task {
        std::chrono::milliseconds due;
        std::function<void()> task;
    };
    void moveTo(std::chrono::milliseconds elapsed) {
        m_part += elapsed - m_elapsed;
        const auto whole = std::chrono::floor<std::chrono::seconds>(m_part);
        time += whole;
        m_part -= whole;
        m_elapsed = elapsed;
    }

    std::chrono::milliseconds m_elapsed{0};
    std::chrono::milliseconds m_part{0};
    int m_count = 0;
    std::map<int, Task> m_tasks;
};

} // namespace lumivert::fakes
