#pragma once

namespace lumivert {

class ColorSpaceFactory;
class Console;
class DesktopServices;
class Dispatcher;
class FileSystem;
class ImageDecoder;
class PdfContextFactory;
class PreferencesStore;
class ProcessRunner;
class UuidSource;

/// Every service that the program's state object reaches the world through. Borrowed: the services
/// outlive whoever holds this.
struct Platform {
    ProcessRunner& processes;
    FileSystem& files;
    PreferencesStore& preferences;
    ImageDecoder& images;
    ColorSpaceFactory& colorSpaces;
    PdfContextFactory& pdf;
    Dispatcher& dispatcher;
    DesktopServices& desktop;
    UuidSource& uuids;
    Console& console;
};

} // namespace lumivert
