#include "views/controls/Picker.h"

#include "views/controls/AccessiblePicker.h"
#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"

#include <QAbstractItemView>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStylePainter>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

int indexOf(const std::vector<PickerItem>& items, const std::string& id) {
    const auto found = std::ranges::find(items, id, &PickerItem::id);
    return found == items.end() ? -1 : static_cast<int>(found - items.begin());
}

} // namespace

Picker::Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection,
               QWidget* parent)
    : QComboBox(parent)
    , m_items(std::move(items))
    , m_selection(std::move(selection)) {
    AccessiblePicker::install();
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(6);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus); // not by the wheel
    setMaxVisibleItems(20);
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
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const bool cut = shownText(textWidth()) != currentText();
        QToolTip::showText(help->globalPos(), cut ? plainToolTip(currentText()) : QString(), this);
        return true;
    }
    return QComboBox::event(event);
}

void Picker::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    QStyleOptionComboBox option;
    initStyleOption(&option);
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
        auto* button = new QPushButton(QString::fromStdString(m_items[i].name), this);
        button->setCheckable(true);
        button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        whenAppearanceChanges(button, [button] { fillWithAccent(button, button->isChecked()); });
        connect(button, &QPushButton::toggled, button,
                [button](bool down) { fillWithAccent(button, down); });
        m_buttons->addButton(button, static_cast<int>(i));
        layout->addWidget(button, 1);
    }
    connect(m_buttons, &QButtonGroup::idClicked, this, [this](int index) {
        const std::string& id = m_items[static_cast<std::size_t>(index)].id;
        if (id != m_selection.get())
            m_selection.set(id);
        refresh();
    });
}

void SegmentedPicker::refresh() {
    const QSignalBlocker blocker(m_buttons);
    if (auto* button = m_buttons->button(indexOf(m_items, m_selection.get())))
        button->setChecked(true);
}

} // namespace lumivert
