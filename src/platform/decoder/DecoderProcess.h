#pragma once

#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/ChildProcess.h"
#include "platform/system/Descriptor.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace lumivert {

/// The program that decoders run, opened when this was made and kept open: an update that puts
/// another one at `path` changes nothing for whoever holds this.
struct DecoderProgram {
    explicit DecoderProgram(std::string itsPath);

    std::string path;
    Descriptor file;
    /// The first decoder tells on standard error which walls the system lacks.
    mutable std::atomic<bool> hasRun = false;
};

/// One running decoder. Destroyed, it is ended and waited for, whatever it is doing. One thread.
class DecoderProcess {
public:
    /// Null when it cannot be started.
    [[nodiscard]] static std::unique_ptr<DecoderProcess> start(const DecoderProgram& program);

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
    DecoderProcess(ChildProcess child, Descriptor socket);

    ChildProcess m_child;
    Descriptor m_socket;
};

} // namespace lumivert
