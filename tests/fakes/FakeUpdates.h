#pragma once

#include "platform/UpdateClock.h"
#include "platform/UpdateEngine.h"
#include "platform/UpdateWindow.h"

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
    void check(UpdateCheckKind kind, OnProgress progress,
               std::function<void(const UpdateCheckOutcome&)> onDone) override {
        checks.push_back(kind);
        onProgress = std::move(progress);
        m_onChecked = std::move(onDone);
    }
    void cancelCheck() override { m_cancelled = m_onChecked != nullptr; }
    void install(const AvailableUpdate& update, OnProgress progress,
                 std::function<void(const UpdateInstallOutcome&)> onDone) override {
        installs.push_back(update);
        onProgress = std::move(progress);
        m_onInstalled = std::move(onDone);
    }

    void endCheck(const UpdateCheckOutcome& outcome) {
        std::exchange(m_onChecked,
                      nullptr)(m_cancelled ? UpdateCheckOutcome(UpdateCancelled{}) : outcome);
        m_cancelled = false;
    }
    void endInstall(const UpdateInstallOutcome& outcome) {
        std::exchange(m_onInstalled, nullptr)(outcome);
    }
    void turn() {
        if (m_cancelled)
            endCheck(UpdateCancelled{});
    }

    [[nodiscard]] bool checking() const { return m_onChecked != nullptr; }
    [[nodiscard]] bool cancelled() const { return m_cancelled; }

    std::vector<UpdateCheckKind> checks;
    std::vector<AvailableUpdate> installs;
    OnProgress onProgress;

private:
    bool m_cancelled = false;
    std::function<void(const UpdateCheckOutcome&)> m_onChecked;
    std::function<void(const UpdateInstallOutcome&)> m_onInstalled;
};

/// A window that remembers what it was told, and lets the test press its buttons.
class FakeUpdateWindow : public UpdateWindow {
public:
    void setActions(Actions given) override { actions = std::move(given); }
    void present(const UpdateState& given, Attention attention) override {
        state = given;
        attentions.push_back(attention);
        if (attention != Attention::keep && !open) {
            open = true;
            ++openings;
        }
    }
    void close() override { open = false; }
    [[nodiscard]] bool isOpen() const override { return open; }

    template <class T>
    [[nodiscard]] const T* shows() const {
        return open && state ? std::get_if<T>(&*state) : nullptr;
    }

    Actions actions;
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

    std::unique_ptr<UpdateAlarm> after(std::chrono::milliseconds delay,
                                       std::function<void()> task) override {
        const auto id = ++m_count;
        m_tasks[id] = {m_elapsed + delay, std::move(task)};
        return std::make_unique<Alarm>(*this, id);
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
    class Alarm : public UpdateAlarm {
    public:
        Alarm(FakeUpdateClock& clock, int id)
            : m_clock(clock)
            , m_id(id) {}
        ~Alarm() override { m_clock.m_tasks.erase(m_id); }

    private:
        FakeUpdateClock& m_clock;
        int m_id;
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
