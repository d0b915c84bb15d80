#include "views/controls/SegmentedPicker.h"

#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

/// One of several buttons of which one is down.
class Segment : public QPushButton {
public:
    Segment(const QString& name, QWidget* parent)
        : QPushButton(name, parent) {
        setCheckable(true);
        setAutoExclusive(true); // a radio button for assistive technology
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }

    [[nodiscard]] int neededWidth() const {
        return fontMetrics().horizontalAdvance(text()) + 2 * padding;
    }

protected:
    bool event(QEvent* event) override {
        return answerWithWhole(this, event, shownText(), text()) || QPushButton::event(event);
    }
    void paintEvent(QPaintEvent*) override {
        // The whole control's shape, of which this is a part.
        const QRectF whole =
            QRectF(parentWidget()->rect()).translated(-pos()).adjusted(0.5, 0.5, -0.5, -0.5);
        QPainterPath shape;
        shape.addRoundedRect(whole, controlRadius, controlRadius);
        const QPalette::ColorGroup group = QPalette::Active;
        const QColor ground = palette().color(group, QPalette::Button);

        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(shape, isChecked() ? accentFill(palette(), isDown()) : ground);
        painter.setPen(partColor(palette()));
        painter.drawPath(shape);
        painter.setPen(isChecked()
                           ? palette().color(group, QPalette::HighlightedText)
                           : readableOn(ground, palette().color(group, QPalette::ButtonText)));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, shownText());
    }

private:
    static constexpr int padding = 6;

    [[nodiscard]] QString shownText() const {
        return fontMetrics().elidedText(text(), Qt::ElideRight, width() - padding);
    }
};

} // namespace

SegmentedPicker::SegmentedPicker(const std::vector<PickerItem>& items,
                                 Binding<std::string> selection, QWidget* parent)
    : QWidget(parent)
    , m_items(items)
    , m_selection(std::move(selection))
    , m_buttons(new QButtonGroup(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        auto* segment = new Segment(QString::fromStdString(m_items[i].name), this);
        m_buttons->addButton(segment, static_cast<int>(i));
        layout->addWidget(segment);
    }
    whenAppearanceChanges(this, [this] { shareWidth(); });
    connect(m_buttons, &QButtonGroup::idClicked, this, [this](int index) {
        const std::string& id = m_items[static_cast<std::size_t>(index)].id;
        if (id != m_selection.get())
            m_selection.set(id);
        refresh();
    });
}

int SegmentedPicker::neededWidth() const {
    int width = 0;
    for (const QAbstractButton* button : m_buttons->buttons())
        width += static_cast<const Segment*>(button)->neededWidth();
    return width;
}

void SegmentedPicker::shareWidth() {
    auto* row = static_cast<QHBoxLayout*>(layout());
    for (int i = 0; i < row->count(); ++i)
        row->setStretch(i, static_cast<Segment*>(row->itemAt(i)->widget())->neededWidth());
}

void SegmentedPicker::refresh() {
    const QSignalBlocker blocker(m_buttons);
    if (auto* button = m_buttons->button(indexOf(m_items, m_selection.get())))
        button->setChecked(true);
}

} // namespace lumivert
