#include "views/controls/AccessiblePicker.h"

#include "views/controls/Picker.h"

#include <QAbstractItemView>

namespace lumivert {

namespace {

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* picker = qobject_cast<Picker*>(object);
    return picker ? new AccessiblePicker(picker) : nullptr;
}

} // namespace

AccessiblePicker::AccessiblePicker(QComboBox* picker)
    : QAccessibleWidget(picker, QAccessible::ComboBox)
    , m_picker(picker) {}

void AccessiblePicker::install() {
    [[maybe_unused]] static const bool installed =
        (QAccessible::installFactory(makeAccessible), true);
}

void* AccessiblePicker::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString AccessiblePicker::text(QAccessible::Text kind) const {
    return kind == QAccessible::Value ? m_picker->currentText() : QAccessibleWidget::text(kind);
}

QAccessible::State AccessiblePicker::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = m_picker->view()->isVisible();
    state.collapsed = !state.expanded;
    state.hasPopup = true;
    return state;
}

QAccessibleInterface* AccessiblePicker::child(int index) const {
    return index == 0 ? QAccessible::queryAccessibleInterface(m_picker->view()) : nullptr;
}

int AccessiblePicker::indexOfChild(const QAccessibleInterface* child) const {
    return child && child->object() == m_picker->view() ? 0 : -1;
}

QStringList AccessiblePicker::actionNames() const {
    return {showMenuAction(), pressAction()};
}

void AccessiblePicker::doAction(const QString& name) {
    if (name != showMenuAction() && name != pressAction())
        return;
    if (m_picker->view()->isVisible())
        m_picker->hidePopup();
    else
        m_picker->showPopup();
}

void AccessiblePicker::selection(int, int* start, int* end) const {
    *start = 0;
    *end = 0;
}

QString AccessiblePicker::text(int start, int end) const {
    return m_picker->currentText().mid(start, end - start);
}

int AccessiblePicker::characterCount() const {
    return static_cast<int>(m_picker->currentText().size());
}

QString AccessiblePicker::attributes(int, int* start, int* end) const {
    *start = 0;
    *end = characterCount();
    return {};
}

} // namespace lumivert
