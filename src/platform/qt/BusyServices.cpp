#include "platform/qt/BusyServices.h"

#include "platform/qt/BusyPointer.h"

#include <utility>

namespace lumivert {
namespace {

class BusyPdfContext : public PdfContext {
public:
    explicit BusyPdfContext(std::unique_ptr<PdfContext> context)
        : m_context(std::move(context)) {}

    void beginPage(RectPoints mediaBox) override { m_context->beginPage(mediaBox); }
    void setRenderingIntent(RenderingIntent intent) override {
        m_context->setRenderingIntent(intent);
    }
    void setFillColorSpace(std::shared_ptr<const ColorSpace> space) override {
        m_context->setFillColorSpace(std::move(space));
    }
    void setFillColorRGB(double red, double green, double blue) override {
        m_context->setFillColorRGB(red, green, blue);
    }
    void setInterpolationQuality(InterpolationQuality quality) override {
        m_context->setInterpolationQuality(quality);
    }
    void fillRect(RectPoints rect) override { m_context->fillRect(rect); }
    void draw(const Bitmap& bitmap, RectPoints rect) override { m_context->draw(bitmap, rect); }
    void endPage() override { m_context->endPage(); }
    bool close() override { return m_context->close(); }

private:
    BusyPointer m_busy;
    std::unique_ptr<PdfContext> m_context;
};

} // namespace

ProcessResult BusyProcessRunner::run(const std::string& executable,
                                     const std::vector<std::string>& arguments) {
    const BusyPointer busy;
    return m_runner.run(executable, arguments);
}

std::shared_ptr<const Image> BusyImageDecoder::decode(const FileUrl& url) {
    const BusyPointer busy;
    return m_decoder.decode(url);
}

std::optional<std::string> BusyFileSystem::readFile(const std::string& path) {
    return m_files.readFile(path);
}

std::optional<std::vector<std::string>> BusyFileSystem::enumerate(const std::string& folder) {
    const BusyPointer busy;
    return m_files.enumerate(folder);
}

std::string BusyFileSystem::homeDirectory() {
    return m_files.homeDirectory();
}

std::string BusyFileSystem::temporaryDirectory() {
    return m_files.temporaryDirectory();
}

std::string BusyFileSystem::dataHome() {
    return m_files.dataHome();
}

std::vector<std::string> BusyFileSystem::dataDirectories() {
    return m_files.dataDirectories();
}

bool BusyFileSystem::removeFile(const std::string& path) {
    return m_files.removeFile(path);
}

std::unique_ptr<PdfContext> BusyPdfContextFactory::create(const std::string& path) {
    auto context = m_factory.create(path);
    return context ? std::make_unique<BusyPdfContext>(std::move(context)) : nullptr;
}

} // namespace lumivert
