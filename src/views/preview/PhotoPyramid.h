#pragma once

#include "platform/Image.h"

#include <QImage>

#include <memory>
#include <vector>

namespace lumivert {

/// A photo's pixels at full, half, quarter … size, each made from the one before when it is first
/// asked for. The full size is the rendition's own bytes.
class PhotoPyramid {
public:
    explicit PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition);

    /// The smallest level that is at least as large as `size` both ways; the full size where none
    /// is, and the last one that there was memory for.
    [[nodiscard]] QImage levelFor(QSize size);

    [[nodiscard]] const std::shared_ptr<const ScreenRendition>& rendition() const {
        return m_rendition;
    }

private:
    std::shared_ptr<const ScreenRendition> m_rendition;
    std::vector<QImage> m_levels;
};

} // namespace lumivert
