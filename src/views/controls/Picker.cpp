#include "views/controls/Picker.h"

#include "views/controls/Accessibility.h"
#include "views/controls/Appearance.h"
#include "views/controls/Focus.h"
#include "views/controls/Labels.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QPainterPath>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStylePainter>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

/// One of several buttons of which one is down.
class Segment : public QPushButton {
public:
    explicit Segment(const PickerItem& item)
        : QPushButton(QString::fromStdString(item.name)) {
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
        const QColor ground = palette().color(QPalette::Active, QPalette::Button);
        const QColor label = palette().color(QPalette::Active, QPalette::ButtonText);
        const QColor onAccent = palette().color(QPalette::Active, QPalette::HighlightedText);

        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(shape, isChecked() ? accentFill(palette(), isDown()) : ground);
        painter.setPen(partColor(palette()));
        painter.drawPath(shape);
        painter.setPen(isChecked() ? onAccent : readableOn(ground, label));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, shownText());
    }

private:
    static constexpr int padding = 6;

    [[nodiscard]] QString shownText() const {
        return fontMetrics().elidedText(text(), Qt::ElideRight, width() - padding);
    }
};

} // namespace

Picker::Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection,
               QWidget* parent)
    : QComboBox(parent)
    , m_items(std::move(items))
    , m_selection(std::move(selection)) {
    installAccessibility();
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    ignoreWheelInPassing(this);
    setMaxVisibleItems(20);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon); // whatever the names
    setMinimumContentsLength(6);
    connect(this, &QComboBox::activated, this, &Picker::choose);
}

void Picker::refresh() {
    const QSignalBlocker blocker(this);
    std::vector<PickerItem> items = m_items();
    if (items != m_shown) {
        clear();
        for (const PickerItem& item : items) {
            const QString name = QString::fromStdString(item.name);
            addItem(name);
            setItemData(count() - 1, plainToolTip(name), Qt::ToolTipRole);
        }
        m_shown = std::move(items);
    }
    const auto selected = std::ranges::find(m_shown, m_selection.get(), &PickerItem::id);
    setCurrentIndex(selected == m_shown.end() ? -1 : static_cast<int>(selected - m_shown.begin()));
}

void Picker::choose(int index) {
    const std::string id = m_shown.at(static_cast<std::size_t>(index)).id;
    if (id != m_selection.get())
        m_selection.set(id);
    // The model has the last word, also where two items share one id.
    refresh();
}

QString Picker::shownText() const {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return fontMetrics().elidedText(currentText(), Qt::ElideRight, field.width() - 4);
}

bool Picker::event(QEvent* event) {
    // A tool tip of its own names the choice, too.
    return (toolTip().isEmpty() && answerWithWhole(this, event, shownText(), currentText())) ||
           QComboBox::event(event);
}

void Picker::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.state &= ~QStyle::State_HasFocus; // the window draws a ring
    option.currentText = shownText();
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void Picker::showPopup() {
    // As wide as the longest name, where the screen has the room.
    const int wanted =
        view()->sizeHintForColumn(0) + view()->verticalScrollBar()->sizeHint().width() + 8;
    const int room = screen()->availableGeometry().width() / 2;
    view()->setTextElideMode(Qt::ElideRight);
    view()->setMinimumWidth(std::max(width(), std::min(wanted, room)));
    QComboBox::showPopup();
}

SegmentedPicker::SegmentedPicker(const std::vector<PickerItem>& items,
                                 Binding<std::string> selection, QWidget* parent)
    : QWidget(parent)
    , m_items(items)
    , m_selection(std::move(selection)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (const PickerItem& item : items) {
        auto* segment = new Segment(item);
        row->addWidget(segment);
        // Not clicked: assistive technology toggles.
        connect(segment, &QPushButton::toggled, this, [this, id = item.id](bool isDown) {
            if (isDown && id != m_selection.get())
                m_selection.set(id);
        });
    }
    whenAppearanceChanges(this, [this, row] {
        for (int i = 0; i < row->count(); ++i)
            row->setStretch(i, static_cast<Segment*>(row->itemAt(i)->widget())->neededWidth());
    });
}

int SegmentedPicker::neededWidth() const {
    int width = 0;
    for (int i = 0; i < layout()->count(); ++i)
        width += static_cast<const Segment*>(layout()->itemAt(i)->widget())->neededWidth();
    return width;
}

void SegmentedPicker::refresh() {
    for (std::size_t i = 0; i < m_items.size(); ++i)
        if (m_items[i].id == m_selection.get())
            static_cast<Segment*>(layout()->itemAt(static_cast<int>(i))->widget())
                ->setChecked(true);
}

} // namespace lumivert
