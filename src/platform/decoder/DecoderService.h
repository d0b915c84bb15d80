#pragma once

#include "platform/Image.h"
#include "platform/decoder/DecoderProcess.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace lumivert {

struct DecoderOptions {
    /// The program `lumivert-decoder`; the file that stands there when the client is made is what
    /// runs from then on.
    std::string path;
    /// The longest edge that the screen has use for, in device pixels; asked at every load. Main
    /// thread.
    std::function<int()> screenEdge;
    /// How long a decoder may take to answer. Developing a large camera RAW takes ten seconds on a
    /// slow machine.
    std::chrono::milliseconds answerTimeout{60'000};
    /// How long a decoder may go without handing over a row, and how long all of a page's rows may
    /// take from their first on. A photo of 400 million samples takes 20 seconds.
    std::chrono::milliseconds rowTimeout{60'000};
    std::chrono::milliseconds pageTimeout{600'000};
};

/// What images share with the client that made them, and keep when it is gone. Any thread.
class DecoderService {
public:
    explicit DecoderService(DecoderOptions options);
    ~DecoderService();

    [[nodiscard]] const DecoderOptions& options() const { return m_options; }
    [[nodiscard]] DecoderPool& pool() { return m_pool; }

    /// Runs `task`, which throws nothing, on the background thread, one after the other. A task of
    /// the same `owner` that still waits is overtaken: its `cancelled` runs, and it does not. After
    /// stop(), and where no thread can be started, `cancelled` runs at once.
    void runInBackground(const void* owner, std::function<void()> task,
                         std::function<void()> cancelled);

    /// Ends the running task's decoder and waits for the task, cancels the waiting ones, ends the
    /// spare decoder.
    void stop();

    /// For a task: lets stop() end the decoder that it is about to wait for. Must go
    /// before the process does.
    class Interruptible {
    public:
        Interruptible(DecoderService& service, const DecoderProcess& process);
        Interruptible(const Interruptible&) = delete;
        Interruptible& operator=(const Interruptible&) = delete;
        ~Interruptible();
        [[nodiscard]] bool isStopped() const { return m_stopped; }

    private:
        DecoderService& m_service;
        bool m_stopped;
    };

private:
    struct Task {
        const void* owner;
        std::function<void()> run;
        std::function<void()> cancelled;
    };
    [[nodiscard]] bool hasThread();
    void work();

    DecoderOptions m_options;
    DecoderPool m_pool;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    bool m_stopped = false;
    pid_t m_waitedFor = -1;
    std::thread m_thread;
};

} // namespace lumivert
