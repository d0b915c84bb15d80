#pragma once

#include <QWidget>

namespace lumivert {

class PrintManager;

/// The left column of the window: the sheet with the photo on it, or the invitation to open one, on
/// a neutral ground.
class PreviewPanel : public QWidget {
    Q_OBJECT
public:
    explicit PreviewPanel(PrintManager& pm, QWidget* parent = nullptr);

    static constexpr int leastWidth = 500;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace lumivert
