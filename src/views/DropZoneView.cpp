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
        setFixedSize(side, height);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintIcon(painter, Icon::photos, QRectF(0, (height - side) / 2.0, side, side),
                  colorFor(Tone::secondary, palette()));
    }

private:
    // The drawing leaves free the upper and the lower part of its square.
    static constexpr int side = 80;
    static constexpr int height = 56;
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
