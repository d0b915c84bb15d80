#include "platform/posix/PosixFunctions.h"

#include "platform/system/ChildProcess.h"
#include "platform/system/Descriptor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>

namespace lumivert {
namespace {

constexpr int pipeCapacity = 1 << 20;

LaunchFailure launchFailure(const std::string& executable, int error) {
    return {executable + ": " + std::generic_category().message(error)};
}

bool holdsNul(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

/// Where a child's output goes, and where it is read afterwards.
struct Output {
    Descriptor writeEnd;
    Descriptor readEnd;
};

// A child that fills a small pipe would wait for a reader, and the reader for the child's end.
std::optional<Output> unnamedFile() {
    Descriptor file(::memfd_create("lumivert", MFD_CLOEXEC));
    // Opened anew for a position of its own: the child's is shared with what it leaves behind.
    Descriptor reader(
        ::open(("/proc/self/fd/" + std::to_string(file.get())).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || !reader)
        return std::nullopt;
    return Output{std::move(file), std::move(reader)};
}

std::optional<Output> openOutput() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;
    Output pipe{Descriptor(ends[1]), Descriptor(ends[0])};
    // Refused beyond /proc/sys/fs/pipe-user-pages-soft.
    if (::fcntl(pipe.writeEnd.get(), F_SETPIPE_SZ, pipeCapacity) < 0)
        return unnamedFile();
    return pipe;
}

} // namespace

void writeLine(const std::string& line) {
    std::fflush(stdout);
    const std::string text = line + '\n';
    (void)writeAll(STDOUT_FILENO, std::as_bytes(std::span(text)));
}

ProcessResult runProcess(const std::string& executable, const std::vector<std::string>& arguments) {
    // The system would cut such a text at its NUL and run something else.
    if (holdsNul(executable) || std::any_of(arguments.begin(), arguments.end(), holdsNul))
        return launchFailure(executable.substr(0, executable.find('\0')), EINVAL);
    auto output = openOutput();
    if (!output)
        return launchFailure(executable, errno);
    const int written = output->writeEnd.get();
    auto child = ChildProcess::start({.path = executable,
                                      .arguments = arguments,
                                      .descriptors = {-1, written, written},
                                      .endsWithStarter = true});
    if (!child)
        return launchFailure(executable, errno);
    output->writeEnd.reset();
    const auto status = child->wait();
    if (!status)
        return launchFailure(executable, errno);
    ProcessOutcome outcome{.exitStatus = *status, .output = {}};
    // Reading fails for no reason but an interruption: what came is all there is.
    (void)readToEnd(output->readEnd.get(), outcome.output);
    return outcome;
}

} // namespace lumivert
