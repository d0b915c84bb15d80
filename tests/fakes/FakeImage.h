#pragma once

#include "platform/Image.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivert::fakes {

/// Pixels that only have a shape.
class FakeBitmap : public Bitmap {
public:
    explicit FakeBitmap(PixelSize size)
        : m_size(size) {}

    PixelSize pixelSize() const override { return m_size; }
    std::optional<JpegStream> jpegStream() const override { return std::nullopt; }
    std::unique_ptr<RowSource> rows(const std::optional<ColorTarget>&,
                                    const std::optional<PixelRect>&) const override {
        return nullptr;
    }

private:
    PixelSize m_size;
};

/// A photo of a nominal size in points and a pixel size, one grey on the screen.
class FakeImage : public Image {
public:
    explicit FakeImage(PixelSize pixelSize)
        : FakeImage(pixelSize, {double(pixelSize.width), double(pixelSize.height)}) {}
    FakeImage(PixelSize pixelSize, SizePoints size)
        : pixels(std::make_shared<FakeBitmap>(pixelSize))
        , m_size(size)
        , m_rendition(plain({64, 64 * pixelSize.height / pixelSize.width + 1}, 0x80)) {}

    /// A rendition of one grey.
    static ScreenRendition plain(PixelSize size, int level) {
        Bytes bytes(std::size_t(size.width) * std::size_t(size.height) * 4, std::byte(level));
        for (std::size_t i = 3; i < bytes.size(); i += 4)
            bytes[i] = std::byte{0xff};
        return {size, sharedBytes(std::move(bytes))};
    }

    SizePoints size() const override { return m_size; }
    const ScreenRendition& screenRendition() const override { return m_rendition; }
    void softProof(
        const ColorTarget& target,
        std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const override {
        proofs.push_back({target, std::move(completion)});
    }
    const Bitmap* bitmap() const override { return pixels.get(); }

    struct Proof {
        ColorTarget target;
        std::function<void(std::shared_ptr<const ScreenRendition>)> completion;
    };
    /// The proofs asked for, to be completed by the test.
    mutable std::vector<Proof> proofs;
    /// Null for a photo whose pixels cannot be had.
    std::shared_ptr<FakeBitmap> pixels;

private:
    SizePoints m_size;
    ScreenRendition m_rendition;
};

} // namespace lumivert::fakes
