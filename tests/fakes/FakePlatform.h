#pragma once

#include "fakes/FakePdf.h"
#include "fakes/FakeServices.h"
#include "platform/Platform.h"
#include "support/PrintValues.h"

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace lumivert::fakes {

/// The UUID whose last digits are `number`, in hexadecimal.
inline std::string numberedUuid(unsigned number) {
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "00000000-0000-0000-0000-%012X", number);
    return text.data();
}

/// A world of fakes. It outlives whoever holds its `platform`.
struct FakePlatform {
    FakeProcessRunner processes;
    FakeFileSystem files;
    FakePreferencesStore preferences;
    FakeImageDecoder images;
    FakePdfWriter pdf;
    FakeDispatcher dispatcher;
    /// What the desktop's viewer was given, and what was written to standard output.
    std::vector<std::string> opened;
    std::vector<std::string> lines;
    /// UUIDs count up in the last byte: …01, …02.
    unsigned lastUuid = 0;

    const Platform platform{
        .runProcess =
            [this](const auto& executable, const auto& arguments) {
                return processes.run(executable, arguments);
            },
        .files = files,
        .preferences = preferences,
        .decodeImage = [this](const FileUrl& url) { return images.decode(url); },
        .colorSpaceFromProfile = fakeColorSpace,
        .writePdf = [this](const std::string& path,
                           const PdfPage& page) { return pdf.write(path, page); },
        .dispatcher = dispatcher,
        .openFile = [this](const std::string& path) { opened.push_back(path); },
        .randomUuid = [this] { return numberedUuid(++lastUuid); },
        .writeLine = [this](const std::string& line) { lines.push_back(line); }};

    FakePlatform() = default;
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    /// Gives the print system one queue and what its listing says.
    void addQueue(const std::string& name, const std::string& listing = "",
                  const std::string& ppd = "") {
        processes.outcomes["lpstat -p"].output += "printer " + name + " is idle.\n";
        processes.outcomes["lpoptions -p " + name + " -l"].output = listing;
        files.files["/etc/cups/ppd/" + name + ".ppd"] = ppd;
    }
};

} // namespace lumivert::fakes
