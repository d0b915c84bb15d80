#pragma once

#include "fakes/FakePdf.h"
#include "fakes/FakeServices.h"
#include "platform/Platform.h"

namespace lumivert::fakes {

/// A world of fakes. It outlives whoever holds its `platform`.
struct FakePlatform {
    FakeProcessRunner processes;
    FakeFileSystem files;
    FakePreferencesStore preferences;
    FakeImageDecoder images;
    FakeColorSpaceFactory colorSpaces;
    FakePdfContextFactory pdf;
    FakeDispatcher dispatcher;
    FakeDesktopServices desktop;
    FakeUuidSource uuids;
    FakeConsole console;
    Platform platform{processes, files,      preferences, images, colorSpaces,
                      pdf,       dispatcher, desktop,     uuids,  console};

    /// Gives the print system one queue and what its listing says.
    void addQueue(const std::string& name, const std::string& listing = "",
                  const std::string& ppd = "") {
        processes.outcomes["lpstat -p"].output += "printer " + name + " is idle.\n";
        processes.outcomes["lpoptions -p " + name + " -l"].output = listing;
        files.files["/etc/cups/ppd/" + name + ".ppd"] = ppd;
    }
};

} // namespace lumivert::fakes
