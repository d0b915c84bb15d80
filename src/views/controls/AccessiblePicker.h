#pragma once

#include <QAccessibleWidget>

class QComboBox;

namespace lumivert {

/// A combo box for assistive technology: its name is its label, its text the choice that it shows
/// (Qt's own gives the choice as the name on Unix). Its only child is the list.
class AccessiblePicker : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit AccessiblePicker(QComboBox* picker);

    /// Makes every Picker be seen through this class.
    static void install();

    void* interface_cast(QAccessible::InterfaceType type) override;
    QString text(QAccessible::Text kind) const override;
    QAccessible::State state() const override;
    int childCount() const override { return 1; }
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;

    // The choice as a text that can be read and not selected.
    void selection(int index, int* start, int* end) const override;
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int start, int end) const override;
    int characterCount() const override;
    QRect characterRect(int) const override { return rect(); }
    int offsetAtPoint(const QPoint&) const override { return -1; }
    void scrollToSubstring(int, int) override {}
    QString attributes(int offset, int* start, int* end) const override;

private:
    QComboBox* m_picker;
};

} // namespace lumivert
