#include "Timing.h"

#include "model/Text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert::bench {

Seconds timed(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Seconds timedProcess(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    int status = 0;
    const Seconds seconds = timed([&] {
        pid_t child = 0;
        if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
            throw std::runtime_error(command.front() + " could not be started");
        waitpid(child, &status, 0);
    });
    posix_spawn_file_actions_destroy(&actions);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(command.front() + " failed");
    return seconds;
}

double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const auto last = static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(last * share + 0.5)];
}

Comparison compare(int pairs, const std::function<Seconds()>& ours,
                   const std::function<Seconds()>& theirs) {
    std::vector<double> a;
    std::vector<double> b;
    std::vector<double> ratios;
    for (int i = 0; i <= pairs; ++i) {
        const Seconds x = ours();
        const Seconds y = theirs();
        if (i == 0)
            continue;
        a.push_back(x);
        b.push_back(y);
        ratios.push_back(x / y);
    }
    return {quantile(a, 0.5), quantile(b, 0.5), quantile(ratios, 0.5)};
}

namespace {
std::string wantedText;
}

void wantOnly(const std::string& text) {
    wantedText = text;
}

bool isWanted(const std::string& work) {
    return work.find(wantedText) != std::string::npos;
}

void printRow(const std::string& work, const std::string& against, const std::string& figures,
              double measured, double limit, const std::string& unit) {
    const std::string bound = limit > 0 ? fixedText(limit, 2) + unit : "–";
    const char* verdict = limit <= 0 ? "" : measured <= limit ? "yes" : "**no**";
    std::printf("| %s | %s | %s | %s%s | %s | %s |\n", work.c_str(), against.c_str(),
                figures.c_str(), fixedText(measured, 2).c_str(), unit.c_str(), bound.c_str(),
                verdict);
    std::fflush(stdout);
}

std::string milliseconds(Seconds seconds) {
    return fixedText(seconds * 1000, seconds < 0.1 ? 1 : 0) + " ms";
}

} // namespace lumivert::bench
