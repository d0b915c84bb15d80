#pragma once

#include "platform/FileSystem.h"
#include "platform/Image.h"
#include "platform/PdfContext.h"
#include "platform/ProcessRunner.h"

// Services that hold up the event loop, behind the pointer that says so. Main thread, but for
// files, whose other operations any thread may call.
namespace lumivert {

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

/// Reads by `files` (borrowed); under a busy pointer where that walks whole folders.
class BusyFileSystem : public FileSystem {
public:
    explicit BusyFileSystem(FileSystem& files)
        : m_files(files) {}

    [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;
    [[nodiscard]] std::optional<std::vector<std::string>>
    enumerate(const std::string& folder) override;
    [[nodiscard]] std::string homeDirectory() override;
    [[nodiscard]] std::string temporaryDirectory() override;
    [[nodiscard]] std::string dataHome() override;
    [[nodiscard]] std::vector<std::string> dataDirectories() override;
    bool removeFile(const std::string& path) override;

private:
    FileSystem& m_files;
};

/// Makes documents by `factory` (borrowed), each under a busy pointer for as long as it lives; here
/// on the main thread only.
class BusyPdfContextFactory : public PdfContextFactory {
public:
    explicit BusyPdfContextFactory(PdfContextFactory& factory)
        : m_factory(factory) {}

    [[nodiscard]] std::unique_ptr<PdfContext> create(const std::string& path) override;

private:
    PdfContextFactory& m_factory;
};

} // namespace lumivert
