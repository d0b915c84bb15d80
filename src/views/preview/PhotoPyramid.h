#pragma once

#include "platform/Image.h"
#include "platform/ScreenColors.h"

#include <QImage>

#include <memory>
#include <vector>

namespace lumivert {

/// A photo's pixels at full, half, quarter … size, each made from the one before when it is first
/// asked for. The full size is the rendition's own bytes. All are shown in the screen's colours.
class PhotoPyramid {
public:
    /// `screen` may be null, for one that takes sRGB.
    explicit PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition,
                          std::shared_ptr<const ScreenConversion> screen = nullptr);

    /// The smallest level that is at least as large as `size` both ways; the full size where none
    /// is, and the last one that there was memory for.
    [[nodiscard]] QImage levelFor(QSize size);

    [[nodiscard]] bool isOf(const std::shared_ptr<const ScreenRendition>& rendition,
                            const std::shared_ptr<const ScreenConversion>& screen) const {
        return rendition == m_rendition && screen == m_screen;
    }

private:
    [[nodiscard]] std::size_t indexFor(QSize size);

    std::shared_ptr<const ScreenRendition> m_rendition;
    std::shared_ptr<const ScreenConversion> m_screen;
    std::vector<QImage> m_levels; // in sRGB
    /// The level asked for last, in the screen's colours.
    QImage m_shown;
    std::size_t m_shownIndex = 0;
};

} // namespace lumivert
