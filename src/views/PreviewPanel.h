#pragma once

#include <QWidget>

namespace lumivert {

class PrintManager;
class ScreenColors;

/// The left column of the window: the sheet with the photo on it, or the invitation to open one, on
/// a neutral ground. `screens` as for PaperPreview.
class PreviewPanel : public QWidget {
    Q_OBJECT
public:
    explicit PreviewPanel(PrintManager& pm, ScreenColors* screens = nullptr,
                          QWidget* parent = nullptr);

    static constexpr int leastWidth = 500;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace lumivert
