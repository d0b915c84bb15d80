#pragma once

#include "platform/Image.h"
#include "platform/ProcessRunner.h"

namespace lumivert {

/// Shows the wait pointer over every window of the program while it lives, from its construction
/// on, although the event loop does not run: the request is sent to the display server, and no
/// event is handled meanwhile. Nests. Needs the application object. Main thread.
class BusyPointer {
public:
    BusyPointer();
    ~BusyPointer();
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

/// Runs programs by `runner` (borrowed), under a busy pointer.
class BusyProcessRunner : public ProcessRunner {
public:
    explicit BusyProcessRunner(ProcessRunner& runner)
        : m_runner(runner) {}

    [[nodiscard]] ProcessResult run(const std::string& executable,
                                    const std::vector<std::string>& arguments) override;

private:
    ProcessRunner& m_runner;
};

/// Decodes by `decoder` (borrowed), under a busy pointer.
class BusyImageDecoder : public ImageDecoder {
public:
    explicit BusyImageDecoder(ImageDecoder& decoder)
        : m_decoder(decoder) {}

    [[nodiscard]] std::shared_ptr<const Image> decode(const FileUrl& url) override;

private:
    ImageDecoder& m_decoder;
};

} // namespace lumivert
