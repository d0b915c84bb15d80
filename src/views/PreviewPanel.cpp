#include "views/PreviewPanel.h"

#include "manager/PrintManager.h"
#include "views/DropZoneView.h"
#include "views/controls/Appearance.h"
#include "views/controls/Builders.h"
#include "views/preview/PaperPreview.h"

#include <QPaintEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace lumivert {

PreviewPanel::PreviewPanel(PrintManager& pm, ScreenColors* screens, QWidget* parent)
    : QWidget(parent) {
    setMinimumWidth(leastWidth);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    const auto hasImage = [&pm] { return pm.image.get() != nullptr; };

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(visibleWhen(hasImage, new PaperPreview(pm, screens, this)));
    layout->addWidget(visibleWhen([&pm] { return !pm.image.get(); }, new DropZoneView(pm, this)));
    keepFresh(this, pm);
}

void PreviewPanel::paintEvent(QPaintEvent* event) {
    QPainter(this).fillRect(event->rect(), previewGround(palette()));
}

} // namespace lumivert
