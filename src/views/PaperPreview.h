#pragma once

#include "views/PaperPreviewLayout.h"
#include "views/PhotoLayer.h"

#include <QPainterPath>
#include <QRect>
#include <QWidget>

#include <array>

namespace lumivert {

class PrintManager;

/// The sheet of paper with the photo on it as it will print. Draws what `pm` says whenever that
/// changes, but only what has changed.
class PaperPreview : public QWidget {
    Q_OBJECT
public:
    explicit PaperPreview(PrintManager& pm, QWidget* parent = nullptr);

    [[nodiscard]] const PaperPreviewLayout& currentLayout() const { return m_picture.layout; }
    /// How often the photo was scaled quickly, and finely.
    [[nodiscard]] int draftCount() const { return m_photo.draftCount(); }
    [[nodiscard]] int fineCount() const { return m_photo.fineCount(); }

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

        /// The parts of the sheet that cover what lies below. Its corners alone are blended.
        [[nodiscard]] std::array<QRect, 3> covered() const;
        [[nodiscard]] int cornerSide() const;
        [[nodiscard]] QPainterPath rounded() const;

        bool operator==(const Picture&) const = default;
    };

    void refresh();
    [[nodiscard]] Picture pictureNow() const;
    void updateFrom(const Picture& before);
    void updateSheet();
    void paintAround(QPainter& painter, const QRegion& region) const;
    [[nodiscard]] bool paintDraft(QPainter& painter, const QRegion& region);
    void paintCorners(QPainter& painter, bool withPhoto);
    void paintGround(QPainter& painter, const QRect& rect) const;
    void paintSheet(QPainter& painter, bool withPhoto);
    void paintOutline(QPainter& painter) const;

    PrintManager& m_pm;
    Picture m_picture;
    PhotoLayer m_photo{this};
};

} // namespace lumivert
