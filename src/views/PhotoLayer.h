#pragma once

#include "views/PhotoPlacement.h"
#include "views/PhotoPyramid.h"

#include <QImage>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <memory>

class QPainter;

namespace lumivert {

/// The photo in the size in which it is painted: a draft at once, and a fine rendition, made on
/// another thread, when the size has stayed for a moment. Each is made once for a size and kept,
/// but for drafts so large that keeping them would cost more than they do (see paintDraft).
class PhotoLayer : public QObject {
    Q_OBJECT
public:
    explicit PhotoLayer(QObject* parent);
    ~PhotoLayer() override;

    /// Whether that is another photo than before. Null for none.
    bool setRendition(std::shared_ptr<const ScreenRendition> rendition);
    [[nodiscard]] bool hasPhoto() const { return m_pyramid != nullptr; }

    /// Paints a large draft that is not at hand as an image straight into what `painter` paints on,
    /// at `origin` in its coordinates and without regard to its clip. On a window of 3840 x 2160
    /// that saves 5 of 15 ms. False, with nothing done, where it is not to be had so: use image().
    bool paintDraft(QPainter& painter, QPoint origin, const PhotoPlacement& placement);

    /// The photo as placed: the fine rendition, or else the draft, which is made if need be.
    [[nodiscard]] const QImage& image(const PhotoPlacement& placement);

    /// How often the photo was scaled quickly, and finely.
    [[nodiscard]] int draftCount() const { return m_draftCount; }
    [[nodiscard]] int fineCount() const { return m_fineCount; }

signals:
    /// The fine rendition of the placement last asked for stands ready.
    void refined();

private:
    [[nodiscard]] QImage levelForDraft(const PhotoPlacement& placement);
    void noteDraft(const PhotoPlacement& placement);
    void startFine();
    void takeFine(const PhotoPlacement& placement, const QImage& image);
    void abandonFine();

    std::unique_ptr<PhotoPyramid> m_pyramid;
    /// Null while the draft of m_placement was only painted.
    QImage m_image;
    PhotoPlacement m_placement;
    bool m_isFirst = true;
    QTimer m_settled;
    std::shared_ptr<std::atomic<bool>> m_abandoned;
    int m_draftCount = 0;
    int m_fineCount = 0;
};

} // namespace lumivert
