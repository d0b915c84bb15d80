#pragma once

#include "platform/ProcessRunner.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace lumivert {

class Dispatcher;
class FileSystem;
class FileUrl;
class Image;
class PreferencesStore;
struct ColorSpace;
struct PdfPage;
struct SharedBytes;

/// Every way in which the program's state object reaches the world. The services are borrowed: they
/// outlive whoever holds this. The functions are called on the main thread.
struct Platform {
    ProcessRunner runProcess;
    FileSystem& files;
    PreferencesStore& preferences;
    /// Reads and decodes the file, as far as the screen needs it. Null for a file that cannot be
    /// read, is no photo, or has no pixels.
    std::function<std::shared_ptr<const Image>(const FileUrl& url)> decodeImage;
    /// Null where the bytes are no ICC profile, or one that a page cannot draw in: a device link, a
    /// named colour or abstract profile, or one of 2 or more than 4 channels. Nothing where the
    /// system did not let that be found out.
    std::function<std::optional<std::shared_ptr<const ColorSpace>>(SharedBytes bytes)>
        colorSpaceFromProfile;
    /// Writes the page as a PDF document into a new file at `path`, readable by the user alone.
    /// False when it could not be made: the disk is full, the folder gone, rows cannot be had or
    /// break off; no file then.
    std::function<bool(const std::string& path, const PdfPage& page)> writePdf;
    Dispatcher& dispatcher;
    /// Opens the file with the desktop's default viewer for it, without waiting for the viewer.
    std::function<void(const std::string& path)> openFile;
    /// A fresh random UUID (RFC 9562, version 4), as uuidText() has it.
    std::function<std::string()> randomUuid;
    /// Writes the line and a line break to standard output, at once.
    std::function<void(const std::string& line)> writeLine;
};

} // namespace lumivert
