#pragma once

#include "model/FileUrl.h"
#include "platform/Dispatcher.h"
#include "platform/FileSystem.h"
#include "platform/Image.h"
#include "platform/PreferencesStore.h"
#include "platform/ProcessRunner.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lumivert::fakes {

/// Answers shell commands from a table; a command that is not in it prints nothing and succeeds.
/// Only "/bin/zsh" with "-c" can be launched.
class FakeProcessRunner {
public:
    ProcessResult run(const std::string& executable, const std::vector<std::string>& arguments) {
        if (executable != "/bin/zsh" || arguments.size() != 2 || arguments[0] != "-c")
            return LaunchFailure{"not the shell"};
        if (willRun)
            willRun(arguments[1]);
        commands.push_back(arguments[1]);
        if (launchFailure)
            return LaunchFailure{*launchFailure};
        for (const auto& [prefix, outcome] : outcomes)
            if (arguments[1].starts_with(prefix))
                return outcome;
        return ProcessOutcome{};
    }

    /// What a command that begins so does.
    std::map<std::string, ProcessOutcome> outcomes;
    std::optional<std::string> launchFailure;
    /// Called before a command is run.
    std::function<void(const std::string&)> willRun;
    std::vector<std::string> commands;
};

/// Files and the listings of folders, in two tables; neither follows from the other.
class FakeFileSystem : public FileSystem {
public:
    std::optional<std::string> readFile(const std::string& path) override {
        reads.push_back(path);
        const auto found = files.find(path);
        return found != files.end() ? std::optional(found->second) : std::nullopt;
    }
    std::optional<std::vector<std::string>> enumerate(const std::string& folder) override {
        enumerated.push_back(folder);
        const auto found = folders.find(folder);
        return found != folders.end() ? std::optional(found->second) : std::nullopt;
    }
    std::string homeDirectory() override { return home; }
    std::string temporaryDirectory() override { return temporary; }
    std::vector<std::string> dataFolders() override { return data; }
    bool removeFile(const std::string& path) override {
        removed.push_back(path);
        return removes;
    }

    std::map<std::string, std::string> files;
    /// What enumerate answers for a folder.
    std::map<std::string, std::vector<std::string>> folders;
    std::string home = "/home/ada";
    std::vector<std::string> data{"/home/ada/.local/share", "/usr/local/share", "/usr/share"};
    std::string temporary = "/tmp/ada";
    bool removes = true;
    std::vector<std::string> reads;
    std::vector<std::string> enumerated;
    std::vector<std::string> removed;
};

class FakePreferencesStore : public PreferencesStore {
public:
    std::optional<std::string> data(const std::string& key) override {
        reads.push_back(key);
        const auto found = values.find(key);
        return found != values.end() ? std::optional(found->second) : std::nullopt;
    }
    void setData(const std::string& key, const std::string& bytes) override {
        values[key] = bytes;
        ++writes;
    }

    std::map<std::string, std::string> values;
    std::vector<std::string> reads;
    int writes = 0;
};

/// Hands out the image registered for a path.
class FakeImageDecoder {
public:
    std::shared_ptr<const Image> decode(const FileUrl& url) {
        if (willDecode)
            willDecode();
        decoded.push_back(url.path());
        const auto found = images.find(url.path());
        return found != images.end() ? found->second : nullptr;
    }

    std::map<std::string, std::shared_ptr<const Image>> images;
    std::function<void()> willDecode;
    std::vector<std::string> decoded;
};

/// Keeps tasks until the test runs them.
class FakeDispatcher : public Dispatcher {
public:
    void asyncOnMain(std::function<void()> task) override { onMain.push_back(std::move(task)); }
    void asyncInBackground(std::chrono::milliseconds delay, std::function<void()> task) override {
        inBackground.push_back({delay, std::move(task)});
    }

    /// Runs what waits for the main thread, also what that adds.
    void runMain() {
        while (!onMain.empty()) {
            const auto task = std::move(onMain.front());
            onMain.erase(onMain.begin());
            task();
        }
    }

    std::vector<std::function<void()>> onMain;
    std::vector<std::pair<std::chrono::milliseconds, std::function<void()>>> inBackground;
};

} // namespace lumivert::fakes
