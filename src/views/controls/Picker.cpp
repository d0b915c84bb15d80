#include "views/controls/Picker.h"

#include "views/controls/Accessibility.h"
#include "views/controls/Appearance.h"
#include "views/controls/Focus.h"
#include "views/controls/Labels.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyleOptionComboBox>
#include <QStylePainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

Picker::Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection)
    : m_items(std::move(items))
    , m_selection(std::move(selection)) {
    installAccessibility();
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    ignoreWheelInPassing(this);
    setMaxVisibleItems(20);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon); // whatever the names
    setMinimumContentsLength(10);
    connect(this, &QComboBox::activated, this, &Picker::choose);
    whenAppearanceChanges(this, [this] { measureNames(); });
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
        measureNames();
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

void Picker::measureNames() {
    const QFontMetricsF metrics(font()); // rounded down, the longest would be cut
    double longest = 0;
    for (int i = 0; i < count(); ++i)
        longest = std::max(longest, metrics.horizontalAdvance(itemText(i)));
    m_longestName = static_cast<int>(std::ceil(longest));
    // Not updateGeometry(), which tells nobody while it is hidden.
    if (parentWidget())
        QCoreApplication::postEvent(parentWidget(), new QEvent(QEvent::LayoutRequest));
}

QSize Picker::sizeHint() const {
    const QSize hint = QComboBox::sizeHint();
    return {std::max(hint.width(), m_longestName + width() - textPlace().width()), hint.height()};
}

QStyleOptionComboBox Picker::unmirrored() const {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.state &= ~QStyle::State_HasFocus;
    option.direction = Qt::LeftToRight;
    return option;
}

QRect Picker::textPlace() const {
    const QStyleOptionComboBox option = unmirrored();
    QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    // Not every style counts the room before the text.
    field.setLeft(std::max(field.left() + 2, 8));
    field.setRight(field.right() - 2);
    return QStyle::visualRect(layoutDirection(), rect(), field);
}

QString Picker::shownText() const {
    return fontMetrics().elidedText(currentText(), Qt::ElideRight, textPlace().width());
}

void Picker::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    painter.save();
    // Not every style mirrors its arrow, or says where the text has its place.
    if (isRightToLeft()) {
        painter.translate(width(), 0);
        painter.scale(-1, 1);
    }
    painter.drawComplexControl(QStyle::CC_ComboBox, unmirrored());
    painter.restore();
    paintLine(painter, this, textPlace(), Qt::AlignLeft | Qt::AlignVCenter, shownText(),
              QPalette::ButtonText);
}

bool Picker::event(QEvent* event) {
    // A tool tip of its own names the choice, too.
    if (event->type() != QEvent::ToolTip || !toolTip().isEmpty())
        return QComboBox::event(event);
    return answerWithWhole(this, event, shownText(), currentText());
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

/// One of several buttons of which one is down.
struct SegmentedPicker::Segment : QPushButton {
    explicit Segment(const PickerItem& item)
        : QPushButton(QString::fromStdString(item.name))
        , id(item.id) {
        setCheckable(true);
        setAutoExclusive(true); // a radio button for assistive technology
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    [[nodiscard]] int neededWidth() const {
        return fontMetrics().horizontalAdvance(text()) + 2 * padding;
    }

    const std::string id;

protected:
    bool event(QEvent* event) override {
        return answerWithWhole(this, event, shownText(), text()) || QPushButton::event(event);
    }
    void paintEvent(QPaintEvent*) override {
        const QColor ground = active(palette(), QPalette::Button);
        // The whole control's shape, of which this is a part.
        const QRectF whole = QRectF(parentWidget()->rect()).translated(-pos());
        QPainter painter(this);
        paintRounded(painter, whole.adjusted(0.5, 0.5, -0.5, -0.5), controlRadius,
                     isChecked() ? accentFill(palette(), isDown()) : ground, partColor(palette()));
        painter.setPen(isChecked() ? active(palette(), QPalette::HighlightedText)
                                   : readableOn(ground, active(palette(), QPalette::ButtonText)));
        paintLine(painter, this, rect(), Qt::AlignCenter, shownText());
    }

private:
    static constexpr int padding = 6;

    [[nodiscard]] QString shownText() const {
        return fontMetrics().elidedText(text(), Qt::ElideRight, width() - padding);
    }
};

SegmentedPicker::SegmentedPicker(const std::vector<PickerItem>& items,
                                 Binding<std::string> selection)
    : m_selection(std::move(selection)) {
    withRole(QAccessible::Grouping, this);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (const PickerItem& item : items) {
        Segment* segment = m_segments.emplace_back(new Segment(item));
        row->addWidget(segment);
        // Not clicked: assistive technology toggles.
        connect(segment, &QPushButton::toggled, this, [this, segment](bool isDown) {
            if (isDown && segment->id != m_selection.get())
                m_selection.set(segment->id);
        });
    }
    whenAppearanceChanges(this, [this, row] {
        for (Segment* segment : m_segments)
            row->setStretchFactor(segment, segment->neededWidth());
    });
}

QSize SegmentedPicker::sizeHint() const {
    int width = 0;
    for (const Segment* segment : m_segments)
        width += segment->neededWidth();
    return {width, layout()->sizeHint().height()};
}

void SegmentedPicker::refresh() {
    for (Segment* segment : m_segments)
        if (segment->id == m_selection.get())
            segment->setChecked(true);
}

} // namespace lumivert
