#include "views/controls/Picker.h"

#include "views/controls/Accessibility.h"
#include "views/controls/Labels.h"

#include <QAbstractItemView>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStylePainter>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace lumivert {

int indexOf(const std::vector<PickerItem>& items, const std::string& id) {
    const auto found = std::ranges::find(items, id, &PickerItem::id);
    return found == items.end() ? -1 : static_cast<int>(found - items.begin());
}

Picker::Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection,
               QWidget* parent)
    : QComboBox(parent)
    , m_items(std::move(items))
    , m_selection(std::move(selection)) {
    installAccessibility();
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus); // not by the wheel
    setMaxVisibleItems(20);
    connect(this, &QComboBox::activated, this, &Picker::choose);
}

QSize Picker::sizeHint() const {
    constexpr int leastCharacters = 6;
    const QFontMetrics metrics = fontMetrics();
    QStyleOptionComboBox option;
    initStyleOption(&option);
    return style()->sizeFromContents(
        QStyle::CT_ComboBox, &option,
        {metrics.averageCharWidth() * leastCharacters, std::max(metrics.height(), 14) + 2}, this);
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
    const int index = indexOf(m_shown, m_selection.get());
    if (currentIndex() != index)
        setCurrentIndex(index);
}

void Picker::choose(int index) {
    if (index < 0 || index >= static_cast<int>(m_shown.size()))
        return;
    const std::string id = m_shown[static_cast<std::size_t>(index)].id;
    if (id != m_selection.get())
        m_selection.set(id);
    // The model has the last word, also where two items share one id.
    refresh();
}

int Picker::textWidth() const {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return field.width() - 4;
}

QString Picker::shownText(int width) const {
    return fontMetrics().elidedText(currentText(), Qt::ElideRight, width);
}

bool Picker::event(QEvent* event) {
    return answerWithWhole(this, event, shownText(textWidth()), currentText()) ||
           QComboBox::event(event);
}

void Picker::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.state &= ~QStyle::State_HasFocus; // the window draws a ring
    option.currentText = shownText(textWidth());
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void Picker::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QComboBox::wheelEvent(event);
    else
        event->ignore();
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

} // namespace lumivert
