#pragma once

#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/ChildProcess.h"
#include "platform/system/Descriptor.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace lumivert {

/// One running decoder. Destroyed, it is ended and waited for, whatever it is doing. One thread.
class DecoderProcess {
public:
    /// `socket`: the program's end of the door (DecoderProtocol.h).
    DecoderProcess(ChildProcess child, Descriptor socket);

    [[nodiscard]] bool isRunning();

    struct Reply {
        protocol::Answer answer;
        std::vector<Descriptor> descriptors;
    };

    /// Sends the request and waits for its answer. Nothing when the decoder ends, answers with
    /// anything but a well-formed "done" of the same kind, or stays silent for so long.
    [[nodiscard]] std::optional<Reply> ask(const protocol::Request& request,
                                           std::span<const int> descriptors,
                                           std::chrono::milliseconds timeout);

    [[nodiscard]] pid_t pid() const { return m_child.pid(); }

private:
    ChildProcess m_child;
    Descriptor m_socket;
};

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
    /// Runs a task, soft proofs one after the other; any thread.
    std::function<void(std::function<void()> task)> inBackground = [](const auto& task) { task(); };
};

/// The decoders that a client and its images share; the images keep it when the client is gone. Any
/// thread.
class DecoderService {
public:
    explicit DecoderService(DecoderOptions options);

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

    /// The number of a soft proof that is asked for. The last one given is the one still wanted.
    [[nodiscard]] std::uint64_t nextProof() { return ++m_lastProof; }
    [[nodiscard]] bool isWanted(std::uint64_t proof) const { return proof == m_lastProof; }

    /// Ends the spare decoder and those that answer. No more answers and no spare from here on.
    void stop();

private:
    [[nodiscard]] std::unique_ptr<DecoderProcess> start();

    const DecoderOptions m_options;
    // Kept open: an update that puts another program at its path changes nothing for this one.
    const Descriptor m_program;
    std::atomic<bool> m_hasStarted = false;
    std::mutex m_mutex;
    std::unique_ptr<DecoderProcess> m_spare;
    std::vector<pid_t> m_answering;
    bool m_stopped = false;
    std::atomic<std::uint64_t> m_lastProof = 0;
};

} // namespace lumivert
