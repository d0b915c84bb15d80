#include "views/controls/Picker.h"

#include "views/controls/AccessiblePicker.h"
#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"

#include <QAbstractItemView>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStylePainter>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

int indexOf(const std::vector<PickerItem>& items, const std::string& id) {
    const auto found = std::ranges::find(items, id, &PickerItem::id);
    return found == items.end() ? -1 : static_cast<int>(found - items.begin());
}

/// One of several buttons of which one is down.
class Segment : public QPushButton {
public:
    Segment(const QString& name, QWidget* parent)
        : QPushButton(name, parent) {
        setCheckable(true);
        setAutoExclusive(true); // a radio button for assistive technology
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        whenAppearanceChanges(this, [this] { fillWithAccent(this, isChecked()); });
        connect(this, &QPushButton::toggled, this,
                [this](bool down) { fillWithAccent(this, down); });
    }

    [[nodiscard]] int neededWidth() const {
        return fontMetrics().horizontalAdvance(text()) + 2 * padding;
    }

protected:
    void initStyleOption(QStyleOptionButton* option) const override {
        QPushButton::initStyleOption(option);
        option->text = shownText();
    }
    bool event(QEvent* event) override {
        return answerWithWhole(this, event, shownText(), text()) || QPushButton::event(event);
    }
    void paintEvent(QPaintEvent*) override {
        QStylePainter painter(this);
        painter.setFont(shownFont());
        QStyleOptionButton option;
        initStyleOption(&option);
        painter.drawControl(QStyle::CE_PushButton, option);
    }

private:
    static constexpr int padding = 6;

    [[nodiscard]] int room() const { return width() - 2 * padding; }

    /// The button's own, or a somewhat smaller one in which the name fits.
    [[nodiscard]] QFont shownFont() const {
        constexpr double least = 0.76;
        constexpr double step = 0.02;
        QFont shown = font();
        for (double factor = 1 - step;
             QFontMetrics(shown).horizontalAdvance(text()) > room() && factor >= least;
             factor -= step)
            shown = scaledFont(font(), factor);
        return shown;
    }

    [[nodiscard]] QString shownText() const {
        return QFontMetrics(shownFont()).elidedText(text(), Qt::ElideRight, room());
    }
};

} // namespace

Picker::Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection,
               QWidget* parent)
    : QComboBox(parent)
    , m_items(std::move(items))
    , m_selection(std::move(selection)) {
    AccessiblePicker::install();
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
