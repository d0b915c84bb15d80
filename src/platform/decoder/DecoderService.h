#pragma once

#include "platform/decoder/DecoderProcess.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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

/// The decoders that a client and its images share; the images keep it when the client is gone. Any
/// thread.
class DecoderService {
public:
    explicit DecoderService(DecoderOptions options);
    ~DecoderService();

    [[nodiscard]] const DecoderOptions& options() const { return m_options; }

    /// A decoder that waits for its request: the spare one, else a new one. Null when none can be
    /// started.
    [[nodiscard]] std::unique_ptr<DecoderProcess> take();

    /// Starts the spare decoder, so that its start costs nobody time, unless one waits already.
    void prepareSpare();

    /// Has a decoder answer, which ends with its answer; stop() ends it before that. Nothing when
    /// there is no decoder or it does not answer in time (DecoderProcess::ask).
    [[nodiscard]] std::optional<DecoderProcess::Reply> answer(const protocol::Request& request,
                                                              std::span<const int> descriptors);

    using Task = std::function<void(bool isCancelled)>;
    /// Runs `task`, which throws nothing, on the background thread, one after the other. A task of
    /// the same `owner` that still waits is overtaken: it runs cancelled. So do, at once, tasks
    /// after stop() and where no thread can be started.
    void runInBackground(const void* owner, Task task);

    /// Ends the decoder that the running task waits for and the spare one, waits for the task, and
    /// cancels the waiting ones. No task and no spare decoder from here on.
    void stop();

private:
    struct Waiting {
        const void* owner;
        Task run;
    };
    void work();

    const DecoderOptions m_options;
    const DecoderProgram m_program;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::unique_ptr<DecoderProcess> m_spare;
    std::deque<Waiting> m_tasks;
    std::vector<pid_t> m_answering;
    bool m_stopped = false;
    std::thread m_thread;
};

} // namespace lumivert
