#include "platform/pdf/PdfPageContext.h"

#include "model/Models.h"
#include "platform/pdf/ImageXObject.h"
#include "platform/pdf/PdfText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <string_view>
#include <utility>

namespace lumivert {
namespace {

// The side of the largest page (ISO 32000-1, Annex C). Nothing beyond shows, and renderers that
// count in fixed point give up on a whole page for one path that is far outside.
constexpr double largestPage = 14400;

std::string_view intentName(RenderingIntent intent) {
    using enum RenderingIntent;
    return intent == perceptual   ? "/Perceptual"
           : intent == saturation ? "/Saturation"
           : intent == absolute   ? "/AbsoluteColorimetric"
                                  : "/RelativeColorimetric";
}

// Cuts the stretch from `start` over `length` to what a page can show.
void cutToLargestPage(double& start, double& length) {
    const double end = start + length;
    if (std::abs(start) <= largestPage && std::abs(end) <= largestPage)
        return;
    start = std::clamp(start, -largestPage, largestPage);
    length = std::clamp(end, -largestPage, largestPage) - start;
}

bool isDrawable(const RectPoints& rect) {
    const auto holds = [](double value) { return std::abs(value) <= largestPdfNumber; };
    return rect.width >= smallestPdfNumber && rect.height >= smallestPdfNumber && holds(rect.x) &&
           holds(rect.y) && holds(rect.x + rect.width) && holds(rect.y + rect.height) &&
           holds(rect.width) && holds(rect.height);
}

double component(double value) {
    return std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0);
}

/// One page on a PdfFile. Images and profiles are written as they are drawn, the page's content
/// stream, which is short, at its end.
class PdfPageContext final : public PdfContext {
public:
    explicit PdfPageContext(std::unique_ptr<PdfFile> file)
        : m_file(std::move(file))
        , m_pages(m_file->newObject())
        , m_page(m_file->newObject()) {}

    void beginPage(RectPoints mediaBox) override {
        m_onPage = true;
        m_mediaBox = mediaBox;
    }

    void setRenderingIntent(RenderingIntent intent) override {
        m_intent = intent;
        m_content += intentName(intent);
        m_content += " ri\n";
    }

    void setFillColorSpace(std::shared_ptr<const ColorSpace> space) override {
        if (!space || m_file->failed())
            return;
        m_fillSpace = std::move(space);
        const std::string value =
            writeIccBasedSpace(*m_file, m_fillSpace->profile, m_fillSpace->channels);
        if (value.empty())
            return;
        const std::string name = "/CS" + std::to_string(m_colorSpaceCount++);
        m_colorSpaces += name + " " + value + " ";
        m_content += name + " cs\n";
    }

    void setFillColorRGB(double red, double green, double blue) override {
        m_fillSpace = nullptr;
        // Device numbers: white stays bare paper. Through a profile, an absolute intent would print
        // the profile's white point.
        m_content +=
            pdfNumbers(std::array{component(red), component(green), component(blue)}) + " rg\n";
    }

    void setInterpolationQuality(InterpolationQuality quality) override { m_quality = quality; }

    void fillRect(RectPoints rect) override {
        cutToLargestPage(rect.x, rect.width);
        cutToLargestPage(rect.y, rect.height);
        // A path without area would still paint every device pixel that it touches (ISO 32000-1,
        // 10.6.5). The comparison also refuses what is not a number.
        if (!(std::abs(rect.width) >= smallestPdfNumber &&
              std::abs(rect.height) >= smallestPdfNumber))
            return;
        m_content += pdfNumbers(std::array{rect.x, rect.y, rect.width, rect.height}) + " re f\n";
    }

    void draw(const Bitmap& bitmap, RectPoints rect) override try {
        if (!m_onPage || m_file->failed() || !isDrawable(rect))
            return;
        const bool interpolate = m_quality == InterpolationQuality::high;
        const bool converts = m_fillSpace && m_fillSpace->isDestination;
        if (!converts) {
            if (const auto stream = bitmap.jpegStream(); stream && isEmbeddable(*stream)) {
                place(writeJpegImage(*m_file, *stream, interpolate), rect, stream->orientation);
                return;
            }
        }
        const auto target =
            converts ? std::optional(ColorTarget{m_fillSpace, m_intent}) : std::nullopt;
        if (const auto rows = bitmap.rows(target))
            place(writeRowsImage(*m_file, *rows, interpolate), rect, 1);
        else
            m_file->fail(); // a sheet without its photo would go to the printer
    } catch (const std::bad_alloc&) {
        m_file->fail();
    }

    void endPage() override {
        if (!m_onPage)
            return;
        m_onPage = false;
        m_pageEnded = true;
        const int contents = m_file->newObject();
        m_file->writeStream(contents, "", m_content);
        const auto [x, y, width, height] = m_mediaBox;
        std::string resources;
        if (!m_colorSpaces.empty())
            resources += " /ColorSpace << " + m_colorSpaces + ">>";
        if (!m_images.empty())
            resources += " /XObject << " + m_images + ">>";
        m_file->writeObject(
            m_page, "<< /Type /Page /Parent " + pdfReference(m_pages) + " /MediaBox [" +
                        pdfNumbers(std::array{x, y, x + width, y + height}) + "] /Resources <<" +
                        resources + " >> /Contents " + pdfReference(contents) + " >>");
    }

    [[nodiscard]] bool close() override {
        if (!m_pageEnded)
            m_file->fail();
        m_file->writeObject(m_pages,
                            "<< /Type /Pages /Kids [" + pdfReference(m_page) + "] /Count 1 >>");
        const int catalog = m_file->newObject();
        m_file->writeObject(catalog, "<< /Type /Catalog /Pages " + pdfReference(m_pages) + " >>");
        return m_file->finish(catalog);
    }

private:
    void place(int image, RectPoints rect, int orientation) {
        const std::string name = "/Im" + std::to_string(m_imageCount++);
        m_images += name + " " + pdfReference(image) + " ";
        m_content +=
            "q " + pdfNumbers(imagePlacement(rect, orientation)) + " cm " + name + " Do Q\n";
    }

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

} // namespace

std::unique_ptr<PdfContext> createPdfFile(const std::string& path) {
    auto file = PdfFile::create(path);
    return file ? std::make_unique<PdfPageContext>(std::move(file)) : nullptr;
}

} // namespace lumivert
