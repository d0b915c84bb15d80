#pragma once

#include "model/Models.h"
#include "platform/PdfContext.h"
#include "platform/pdf/PdfFile.h"

#include <string>

namespace lumivert {

/// One page on a PdfFile. Images and profiles are written as they are drawn, the page's content
/// stream, which is short, at its end.
class PdfPageContext final : public PdfContext {
public:
    explicit PdfPageContext(std::unique_ptr<PdfFile> file);

    void beginPage(RectPoints mediaBox) override;
    void setRenderingIntent(RenderingIntent intent) override;
    void setFillColorSpace(std::shared_ptr<const ColorSpace> space) override;
    void setFillColorRGB(double red, double green, double blue) override;
    void setInterpolationQuality(InterpolationQuality quality) override;
    void fillRect(RectPoints rect) override;
    void draw(const Bitmap& bitmap, RectPoints rect) override;
    void endPage() override;
    [[nodiscard]] bool close() override;

private:
    void place(int image, RectPoints rect, int orientation);

    std::unique_ptr<PdfFile> m_file;
    int m_pages;
    int m_page;
    bool m_onPage = false;
    bool m_pageEnded = false;
    RectPoints m_mediaBox;
    std::string m_content;
    std::string m_colorSpaces; // entries of the page's resources
    std::string m_images;
    int m_colorSpaceCount = 0;
    int m_imageCount = 0;
    RenderingIntent m_intent = RenderingIntent::relative; // a page's initial intent
    std::shared_ptr<const ColorSpace> m_fillSpace;        // null: a device space
    InterpolationQuality m_quality = InterpolationQuality::none;
};

/// Begins a document in a new file at `path`, written object by object, so that a page of any size
/// takes a few MiB of memory. Null where a file is there already or none can be. Any thread.
[[nodiscard]] std::unique_ptr<PdfContext> createPdfFile(const std::string& path);

} // namespace lumivert
