#include "views/DropZoneView.h"

#include "manager/PrintManager.h"
#include "views/controls/Builders.h"

#include <QPainter>
#include <QVBoxLayout>

namespace lumivert {

namespace {

class Symbol : public QWidget {
public:
    explicit Symbol(QWidget* parent)
        : QWidget(parent) {
        setFixedSize(side, side);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        constexpr double thinPen = 0.75;
        QPainter painter(this);
        paintIcon(painter, Icon::photos, rect(), colorFor(Tone::secondary, palette()), thinPen);
    }

private:
    static constexpr int side = 72; // the drawing fills 56 of them in height
};

} // namespace

DropZoneView::DropZoneView(PrintManager& pm, QWidget* parent)
    : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(16);
    layout->addStretch();
    for (QWidget* item : {
             static_cast<QWidget*>(new Symbol(this)),
             text(tr("Drop image here"), TextSize::title2, Tone::secondary),
             text(tr("or"), TextSize::body, Tone::secondary),
             button(tr("Choose File..."), [&pm] { pm.showFileImporter = true; },
                    {.size = ButtonSize::large}),
         })
        layout->addWidget(item, 0, Qt::AlignHCenter);
    layout->addStretch();
}

} // namespace lumivert
