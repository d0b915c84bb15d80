#pragma once

#include "platform/Observable.h"
#include "views/preview/PaperPreviewLayout.h"
#include "views/preview/PhotoLayer.h"

#include <QRect>
#include <QWidget>

namespace lumivert {

class PrintManager;
class ScreenColors;

/// The sheet of paper with the photo on it as it will print. Draws what `pm` says whenever that
/// changes, but only what has changed. The photo is shown in the colours of the screen that the
/// window is on; `screens` may be null, for sRGB.
class PaperPreview : public QWidget {
    Q_OBJECT
public:
    explicit PaperPreview(PrintManager& pm, ScreenColors* screens = nullptr,
                          QWidget* parent = nullptr);

    [[nodiscard]] const PaperPreviewLayout& currentLayout() const { return m_picture.layout; }
    /// Whether the photo was last painted as well as it can be.
    [[nodiscard]] bool isSettled() const { return m_photo.isSettled(); }

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// All that the drawing depends on, on the grid of device pixels.
    struct Picture {
        PaperPreviewLayout layout;
        double pixelRatio = 1;
        QRect sheet;
        QRect frame;
        /// The whole photo, and what shows of it.
        QRect photo;
        QRect photoBox;

        bool operator==(const Picture&) const = default;
    };

    void refresh();
    [[nodiscard]] Picture pictureNow() const;
    /// Takes the picture as it is now, and has painted what that changes.
    void takePicture();
    void updateSheet();
    void paintGround(QPainter& painter) const;
    void paintSheet(QPainter& painter);
    void paintOutline(QPainter& painter) const;

    PrintManager& m_pm;
    ScreenColors* m_screens;
    Subscription m_screenSubscription;
    Picture m_picture;
    PhotoLayer m_photo{this};
};

} // namespace lumivert
