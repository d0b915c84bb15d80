#pragma once

#include "manager/PageGeometry.h"
#include "platform/Observable.h"
#include "views/preview/PhotoLayer.h"

#include <QRect>
#include <QWidget>

namespace lumivert {

class PrintManager;
class ScreenColors;

/// Where the sheet, the photo and the outline lie, in the view's own units (device-independent
/// pixels), y downwards.
struct PaperPreviewLayout {
    /// In the view's coordinates. Without area where the view has no room for a sheet.
    RectPoints sheet;
    /// The image's box and the outline, in the sheet's coordinates; at least 1 each way.
    RectPoints frame;
    bool outlined = false;

    bool operator==(const PaperPreviewLayout&) const = default;
};

/// The sheet centred in a view of `width` by `height`, as large as fits with 40 left free on every
/// side, and the area that `margins` (millimetres) leave on it.
[[nodiscard]] PaperPreviewLayout paperPreviewLayout(double width, double height,
                                                    const OrientedPaper& paper,
                                                    const Margins& margins, bool borderless);

/// Paints the shadow of an opaque sheet around it: black at 0.3, blurred over 8, 4 downwards, times
/// `pixelRatio`. Made once for a pixel ratio, stretched for any size; main thread.
void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio);

/// The sheet of paper with the photo on it as it will print. Draws what `pm` says whenever that
/// changes, but only what has changed. The photo is shown in the colours of the screen that the
/// window is on; `screens` may be null, for sRGB.
class PaperPreview : public QWidget {
    Q_OBJECT
public:
    explicit PaperPreview(PrintManager& pm, ScreenColors* screens = nullptr);

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
