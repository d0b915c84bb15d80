#pragma once

#include "platform/Bytes.h"
#include "platform/PdfPage.h"

#include <array>
#include <filesystem>
#include <functional>
#include <string>

namespace lumivert {

/// A folder that is gone with its contents at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return m_path / name; }
    [[nodiscard]] bool isEmpty() const { return std::filesystem::is_empty(m_path); }

private:
    std::filesystem::path m_path;
};

struct CommandResult {
    int exitStatus = -1;
    std::string output; // standard output and standard error
};

/// Runs a shell command.
[[nodiscard]] CommandResult runCommand(const std::string& command);

[[nodiscard]] std::string readFileText(const std::string& path);

/// A page of 100 x 200 points.
struct TestPage : PdfPage {
    TestPage()
        : PdfPage{.size = {100, 200}} {}
    void draw(const Bitmap& drawn, RectPoints into,
              const std::optional<PixelRect>& of = std::nullopt) {
        bitmap = &drawn;
        rect = into;
        part = of;
    }
};

/// Writes what `fill` puts on a page into a new file, whose path it gives; empty when that fails.
[[nodiscard]] std::string writePage(const std::string& path,
                                    const std::function<void(TestPage&)>& fill);

/// What qpdf finds wrong with the file; empty for a file without fault.
[[nodiscard]] std::string faultsOf(const std::string& path);

/// The only page's content stream.
[[nodiscard]] std::string contentOf(const std::string& path);

/// The number of the first object whose dictionary holds `text`; 0 when there is none.
[[nodiscard]] int objectHolding(const std::string& path, const std::string& text);

/// The object's dictionary or value as qpdf shows it.
[[nodiscard]] std::string objectText(const std::string& path, int object);

/// The stream's bytes: as stored, or with its filters undone.
[[nodiscard]] std::string rawStream(const std::string& path, int object);
[[nodiscard]] std::string decodedStream(const std::string& path, int object);

/// The page as a renderer shows it, 8-bit RGB.
struct Rendering {
    int width = 0;
    int height = 0;
    std::string rgb;

    [[nodiscard]] std::array<int, 3> at(int x, int y) const;
};
[[nodiscard]] Rendering render(const std::string& path, int dotsPerInch = 72);

[[nodiscard]] std::string textOf(const SharedBytes& bytes);
[[nodiscard]] SharedBytes bytesOf(const std::string& text);

/// Bytes without a pattern, the same for the same seed.
[[nodiscard]] Bytes noise(std::size_t count, unsigned seed = 1);

/// The first 128 bytes of an ICC profile of a data colour space ("RGB ") and then some more.
[[nodiscard]] SharedBytes profileHeader(const std::string& space);

} // namespace lumivert
