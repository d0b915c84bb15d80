#pragma once

#include "fakes/FakeImage.h"
#include "model/Models.h"
#include "model/Text.h"
#include "platform/PdfContext.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert::fakes {

/// What was drawn, a call a line, numbers with three decimals.
struct PdfRecord {
    std::string path;
    std::vector<std::string> calls;
    /// The rectangles of the bitmaps drawn and of the areas filled, in full.
    std::vector<RectPoints> drawn;
    std::vector<RectPoints> filled;
    RectPoints mediaBox;
    /// Whether the context was destroyed, and so whether a failed file is gone.
    bool released = false;
};

inline std::string text(RectPoints r) {
    return fixedText(r.x, 3) + " " + fixedText(r.y, 3) + " " + fixedText(r.width, 3) + " " +
           fixedText(r.height, 3);
}

class FakePdfContext : public PdfContext {
public:
    FakePdfContext(PdfRecord& record, bool closes)
        : m_record(record)
        , m_closes(closes) {}
    ~FakePdfContext() override { m_record.released = true; }

    void beginPage(RectPoints mediaBox) override {
        note("beginPage " + text(mediaBox));
        m_record.mediaBox = mediaBox;
    }
    void setRenderingIntent(RenderingIntent intent) override {
        note("intent " + std::string(rawValue(intent)));
    }
    void setFillColorSpace(std::shared_ptr<const ColorSpace> space) override {
        note("space of " + std::to_string(space->channels));
    }
    void setFillColorRGB(double red, double green, double blue) override {
        note("color " + fixedText(red, 3) + " " + fixedText(green, 3) + " " + fixedText(blue, 3));
    }
    void setInterpolationQuality(InterpolationQuality quality) override {
        note(quality == InterpolationQuality::high ? "interpolation high" : "interpolation none");
    }
    void fillRect(RectPoints rect) override {
        note("fill " + text(rect));
        m_record.filled.push_back(rect);
    }
    void draw(const Bitmap& bitmap, RectPoints rect) override {
        const auto crop = static_cast<const FakeBitmap&>(bitmap).crop;
        std::string of = "whole";
        if (crop)
            of = "crop " + std::to_string(crop->x) + "," + std::to_string(crop->y) + "," +
                 std::to_string(crop->width) + "," + std::to_string(crop->height);
        note("draw " + of + " in " + text(rect));
        m_record.drawn.push_back(rect);
    }
    void endPage() override { note("endPage"); }
    bool close() override {
        note("close");
        return m_closes;
    }

private:
    void note(std::string_view call) { m_record.calls.emplace_back(call); }

    PdfRecord& m_record;
    bool m_closes;
};

class FakePdfContextFactory {
public:
    std::unique_ptr<PdfContext> create(const std::string& path) {
        if (willCreate)
            willCreate();
        if (!creates)
            return nullptr;
        documents.push_back(std::make_unique<PdfRecord>());
        documents.back()->path = path;
        return std::make_unique<FakePdfContext>(*documents.back(), closes);
    }

    std::function<void()> willCreate;
    bool creates = true;
    bool closes = true;
    std::vector<std::unique_ptr<PdfRecord>> documents;
};

/// Takes bytes that begin with "profile" for an RGB destination, "grey profile" for a grey one and
/// "input profile" for one that is no destination; of "lost profile" nothing can be found out.
inline std::optional<std::shared_ptr<const ColorSpace>> fakeColorSpace(SharedBytes bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.view.data()),
                                bytes.view.size());
    if (text.starts_with("profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 3, true});
    if (text.starts_with("grey profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 1, true});
    if (text.starts_with("input profile"))
        return std::make_shared<ColorSpace>(ColorSpace{bytes, 3, false});
    if (text.starts_with("lost profile"))
        return std::nullopt;
    return nullptr;
}

} // namespace lumivert::fakes
