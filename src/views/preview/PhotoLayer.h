#pragma once

#include "platform/Image.h"
#include "platform/ScreenColors.h"

#include <QImage>
#include <QObject>
#include <QRect>
#include <QTimer>

#include <memory>
#include <thread>
#include <vector>

class QPainter;

namespace lumivert {

/// A photo's pixels at full, half, quarter … size, each made from the one before when it is first
/// asked for. The full size is the rendition's own bytes. All are shown in the screen's colours.
class PhotoPyramid {
public:
    /// `screen` may be null, for one that takes sRGB.
    explicit PhotoPyramid(const std::shared_ptr<const ScreenRendition>& rendition,
                          std::shared_ptr<const ScreenConversion> screen = nullptr);

    /// The smallest level that is at least as large as `size` both ways; the full size where none
    /// is, and the last one that there was memory for.
    [[nodiscard]] QImage levelFor(QSize size);

private:
    struct Level {
        QImage pixels;
        bool isConverted = false; // into the screen's colours; a smaller one begins as this is
    };
    [[nodiscard]] Level& smallestFor(QSize size);

    std::shared_ptr<const ScreenConversion> m_screen;
    std::vector<Level> m_levels;
};

/// The photo as it is painted: at once by the painter itself, from a level of the photo's pyramid;
/// and when its place has stayed for a moment from a picture of just that size, which another
/// thread makes with a better filter and which is kept for as long as the size stays. Where that
/// thread or its memory cannot be had, the painter goes on alone.
class PhotoLayer : public QObject {
    Q_OBJECT
public:
    explicit PhotoLayer(QObject* parent);

    /// Whether that is another picture than before. Null for none, and for a screen of sRGB.
    bool setRendition(std::shared_ptr<const ScreenRendition> rendition,
                      std::shared_ptr<const ScreenConversion> screen = nullptr);
    [[nodiscard]] bool hasPhoto() const { return m_pyramid != nullptr; }

    /// Paints what shows in `box` of the whole photo in `photo`, both in pixels of `painter`.
    void paint(QPainter& painter, const QRect& photo, const QRect& box);

    /// Whether the picture for what was painted last stands ready.
    [[nodiscard]] bool isSettled() const { return !m_settled.isNull(); }

signals:
    void settled();

private:
    /// The part of the photo that shows: of `size`, with the whole photo in `photo` around it.
    struct Part {
        QImage level;
        QRect photo;
        QSize size;

        bool operator==(const Part& other) const {
            return level.cacheKey() == other.level.cacheKey() && photo == other.photo &&
                   size == other.size;
        }
    };

    static QImage scaledPart(const Part& part);
    void settle();
    void take(const Part& part, const QImage& made);

    std::shared_ptr<const ScreenRendition> m_rendition;
    std::shared_ptr<const ScreenConversion> m_screen;
    std::unique_ptr<PhotoPyramid> m_pyramid;
    /// What was painted last, and the picture of it once there is one.
    Part m_part;
    QImage m_settled;
    bool m_isFirst = true;
    QTimer m_still;
    /// The last member: it ends before what it uses.
    std::jthread m_worker;
};

} // namespace lumivert
