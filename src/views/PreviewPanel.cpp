#include "views/PreviewPanel.h"

#include "manager/PrintManager.h"
#include "views/controls/Builders.h"
#include "views/preview/PaperPreview.h"

#include <QPaintEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace lumivert {

namespace {

class Symbol : public QWidget {
public:
    Symbol() { setFixedSize(side, height); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        lineIcon(Icon::photos, IconTint::secondary)
            .paint(&painter, 0, (height - side) / 2, side, side);
    }

private:
    // The drawing leaves free the upper and the lower part of its square.
    static constexpr int side = 80;
    static constexpr int height = 56;
};

} // namespace

DropZoneView::DropZoneView(PrintManager& pm) {
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(16);
    layout->addStretch();
    for (QWidget* item : {
             static_cast<QWidget*>(new Symbol),
             text(tr("Drop image here"), TextSize::title2, Tone::secondary),
             text(tr("or"), TextSize::body, Tone::secondary),
             button(tr("Choose File..."), [&pm] { pm.showFileImporter = true; },
                    {.size = ButtonSize::large}),
         })
        layout->addWidget(item, 0, Qt::AlignHCenter);
    layout->addStretch();
}

PreviewPanel::PreviewPanel(PrintManager& pm, ScreenColors* screens) {
    setMinimumWidth(leastWidth);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    const auto hasImage = [&pm] { return pm.image.get() != nullptr; };

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(visibleWhen(hasImage, new PaperPreview(pm, screens)));
    layout->addWidget(visibleWhen(std::not_fn(hasImage), new DropZoneView(pm)));
    keepFresh(this, pm);
}

void PreviewPanel::paintEvent(QPaintEvent* event) {
    QPainter(this).fillRect(event->rect(), previewGround(palette()));
}

} // namespace lumivert
