#pragma once

#include <QWidget>

namespace lumivert {

class PrintManager;
class ScreenColors;

/// What the preview column shows while no photo is loaded: the invitation to drop or choose one.
/// The drop itself is the window's.
class DropZoneView : public QWidget {
    Q_OBJECT
public:
    explicit DropZoneView(PrintManager& pm);
};

/// The left column of the window: the sheet with the photo on it, or the invitation to open one, on
/// a neutral ground. `screens` as for PaperPreview.
class PreviewPanel : public QWidget {
    Q_OBJECT
public:
    explicit PreviewPanel(PrintManager& pm, ScreenColors* screens = nullptr);

    static constexpr int leastWidth = 500;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace lumivert
