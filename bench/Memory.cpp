#include "Memory.h"

#include "Timing.h"
#include "model/Text.h"

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace lumivert::bench {
namespace {

// Proportional set size in MB: a page that two processes share counts once. 0 for one that is gone.
double proportionalMB(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("Pss:"))
            return std::stod(line.substr(4)) * 1024 / 1e6;
    return 0;
}

std::vector<pid_t> childrenOf(pid_t process) {
    std::vector<pid_t> children;
    std::error_code gone;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone)) {
        std::ifstream file(task.path() / "children");
        for (pid_t child = 0; file >> child;)
            children.push_back(child);
    }
    return children;
}

// The highest sum over the process and its children, looked at every few milliseconds.
double peakMB(const std::string& photo, const std::string& profile) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    std::vector<std::string> command{self, "--one-page", photo, profile};
    std::vector<char*> arguments;
    for (std::string& argument : command)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    if (posix_spawn(&process, self.c_str(), &actions, nullptr, arguments.data(), environ) != 0)
        throw std::runtime_error("the page process could not be started");
    posix_spawn_file_actions_destroy(&actions);

    double peak = 0;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        double sum = proportionalMB(process);
        for (const pid_t child : childrenOf(process))
            sum += proportionalMB(child);
        peak = std::max(peak, sum);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("the page of " + photo + " failed");
    return peak;
}

} // namespace

void benchMemory(const BenchFiles& files) {
    const auto row = [](const std::string& work, const std::string& photo,
                        const std::string& profile, bool isBesideTheFile, double limit) {
        if (!isWanted(work))
            return;
        const double peak = peakMB(photo, profile);
        const double own = static_cast<double>(std::filesystem::file_size(photo)) / 1e6;
        printRow(work, isBesideTheFile ? "the file: " + fixedText(own, 0) + " MB" : "–",
                 fixedText(peak, 0) + " MB", isBesideTheFile ? peak - own : peak, limit, " MB");
    };
    const std::string peak = "peak memory, program and decoder, ";
    row(peak + "45 MP JPEG with a matrix profile", files.jpeg45, files.profile, false, 200);
    row(peak + "45 MP JPEG with an RGB table profile", files.jpeg45, files.tableRgb, false, 200);
    row(peak + "45 MP TIFF of 16 bits with an RGB table profile, beyond the file's own size",
        files.tiff45, files.tableRgb, true, 200);
    row(peak + "400 MP TIFF, beyond the file's own size", files.tiff400, files.profile, true, 200);
    row(peak + "45 MP camera RAW, developed whole in the decoder", files.raw45, files.profile,
        false, 0);
}

} // namespace lumivert::bench
