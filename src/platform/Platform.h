#pragma once

#include <functional>
#include <string>

namespace lumivert {

class ColorSpaceFactory;
class Dispatcher;
class FileSystem;
class ImageDecoder;
class PdfContextFactory;
class PreferencesStore;
class ProcessRunner;
struct Uuid;

/// Every way in which the program's state object reaches the world. The services are borrowed: they
/// outlive whoever holds this. The functions are called on the main thread.
struct Platform {
    ProcessRunner& processes;
    FileSystem& files;
    PreferencesStore& preferences;
    ImageDecoder& images;
    ColorSpaceFactory& colorSpaces;
    PdfContextFactory& pdf;
    Dispatcher& dispatcher;
    /// Opens the file with the desktop's default viewer for it, without waiting for the viewer.
    std::function<void(const std::string& path)> openFile;
    /// A fresh random UUID (RFC 9562, version 4).
    std::function<Uuid()> randomUuid;
    /// Writes the line and a line break to standard output, at once.
    std::function<void(const std::string& line)> writeLine;
};

} // namespace lumivert
