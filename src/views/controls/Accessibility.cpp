#include "views/controls/Accessibility.h"

#include "views/controls/Picker.h"
#include "views/controls/StepSlider.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>

namespace lumivert {

namespace {

class AccessiblePicker : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit AccessiblePicker(Picker* picker)
        : QAccessibleWidget(picker, QAccessible::ComboBox)
        , m_picker(picker) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Value)
            return m_picker->currentText();
        const QString text = QAccessibleWidget::text(kind);
        // Behind the group that the description names, the note on the choice.
        const QString note = kind == QAccessible::Description ? m_picker->toolTip() : QString();
        return note.isEmpty() || note == text ? text : text + QStringLiteral(". ") + note;
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = true;
        state.expanded = m_picker->view()->isVisible();
        state.collapsed = !state.expanded;
        state.hasPopup = true;
        return state;
    }

    // Its only child is the list.
    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 ? QAccessible::queryAccessibleInterface(m_picker->view()) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child && child->object() == m_picker->view() ? 0 : -1;
    }

    QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
    void doAction(const QString& name) override {
        if (!actionNames().contains(name))
            return;
        if (m_picker->view()->isVisible())
            m_picker->hidePopup();
        else
            m_picker->showPopup();
    }

    // The choice as a text that can be read and not selected.
    QString text(int start, int end) const override {
        return m_picker->currentText().mid(start, end - start);
    }
    int characterCount() const override { return static_cast<int>(m_picker->currentText().size()); }
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }
    void selection(int, int* start, int* end) const override { *start = *end = 0; }
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QRect characterRect(int) const override { return rect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}

private:
    Picker* m_picker;
};

class AccessibleStepSlider : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleStepSlider(StepSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider)
        , m_slider(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return m_slider->scale().valueAt(m_slider->value()); }
    void setCurrentValue(const QVariant& value) override {
        m_slider->setValue(m_slider->scale().nearestPosition(value.toDouble()));
    }
    QVariant maximumValue() const override {
        return m_slider->scale().valueAt(m_slider->maximum());
    }
    QVariant minimumValue() const override { return m_slider->scale().minimum; }
    QVariant minimumStepSize() const override { return m_slider->scale().step; }

private:
    StepSlider* m_slider;
};

constexpr const char* roleProperty = "accessibleRole";

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    if (auto* picker = qobject_cast<Picker*>(object))
        return new AccessiblePicker(picker);
    if (auto* slider = qobject_cast<StepSlider*>(object))
        return new AccessibleStepSlider(slider);
    if (const QVariant role = object->property(roleProperty); role.isValid())
        return new QAccessibleWidget(static_cast<QWidget*>(object),
                                     static_cast<QAccessible::Role>(role.toInt()));
    return nullptr;
}

} // namespace

void installAccessibility() {
    [[maybe_unused]] static const bool installed =
        (QAccessible::installFactory(makeAccessible), true);
}

QWidget* withRole(QAccessible::Role role, QWidget* widget) {
    installAccessibility();
    widget->setProperty(roleProperty, role);
    return widget;
}

void announce(QWidget* widget, const QString& message, bool assertive) {
    widget->setAccessibleName(message);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(widget, message);
    event.setPoliteness(assertive ? QAccessible::AnnouncementPoliteness::Assertive
                                  : QAccessible::AnnouncementPoliteness::Polite);
#else
    // Of what the bridge passes on to the bus the nearest: screen readers say what a notice that
    // comes up is called.
    Q_UNUSED(assertive)
    QAccessibleEvent event(widget, QAccessible::ObjectShow);
#endif
    QAccessible::updateAccessibility(&event);
}

} // namespace lumivert
