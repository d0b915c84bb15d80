#pragma once

#include "views/PaperPreviewLayout.h"
#include "views/PhotoScaling.h"

#include <QImage>
#include <QRect>
#include <QTimer>
#include <QWidget>

#include <memory>

namespace lumivert {

class PrintManager;

/// The sheet of paper with the photo on it as it will print. Draws what `pm` says whenever that
/// changes: a quick rendition at once, and a fine one, made on another thread, when nothing has
/// moved for a moment. The photo is scaled once for each size of either kind and is then kept.
class PaperPreview : public QWidget {
    Q_OBJECT
public:
    explicit PaperPreview(PrintManager& pm, QWidget* parent = nullptr);
    ~PaperPreview() override;

    [[nodiscard]] const PaperPreviewLayout& currentLayout() const { return m_picture.layout; }
    /// How often the photo was scaled quickly, and finely.
    [[nodiscard]] int draftCount() const { return m_draftCount; }
    [[nodiscard]] int fineCount() const { return m_fineCount; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    /// All that the drawing depends on, on the grid of device pixels.
    struct Picture {
        PaperPreviewLayout layout;
        double pixelRatio = 1;
        QRect sheet;
        QRect frame;
        QRect photoBox;
        PhotoPlacement photo;

        bool operator==(const Picture&) const = default;
    };

    void refresh();
    [[nodiscard]] Picture pictureNow() const;
    void takeRendition();
    void updateFrom(const Picture& before);
    void scaleDraft();
    void startFine();
    void takeFine(const PhotoPlacement& placement, const QImage& image);
    void abandonFine();
    void paintGround(QPainter& painter, const QRect& rect) const;
    void paintSheet(QPainter& painter) const;
    void paintOutline(QPainter& painter) const;

    PrintManager& m_pm;
    Picture m_picture;
    std::unique_ptr<PhotoPyramid> m_pyramid;
    QImage m_scaled;
    PhotoPlacement m_scaledPlacement;
    QTimer m_settled;
    std::shared_ptr<std::atomic<bool>> m_abandoned;
    int m_draftCount = 0;
    int m_fineCount = 0;
};

} // namespace lumivert
