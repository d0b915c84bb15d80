#include "views/controls/Builders.h"

#include "views/controls/Labels.h"

#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

namespace lumivert {

namespace {

// Marks the labels that alignPickerLabels lines up.
constexpr QLatin1String pickerLabelName("pickerLabel");

// How far a child stands out of its group's column to the left.
constexpr const char* overhangProperty = "overhang";

void add(QBoxLayout& layout, QWidget* child) {
    const auto policy = child->sizePolicy().horizontalPolicy();
    const bool natural = policy == QSizePolicy::Fixed || policy == QSizePolicy::Maximum;
    const bool vertical = layout.direction() == QBoxLayout::TopToBottom;
    layout.addWidget(child, 0, natural && vertical ? Qt::AlignLeft : Qt::Alignment());
}

QWidget* stack(QBoxLayout::Direction direction, int spacing, Children children) {
    auto* holder = new QWidget;
    auto* layout = new QBoxLayout(direction, holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    for (QWidget* child : children)
        add(*layout, child);
    return holder;
}

QLabel* plainLabel(const QString& content, TextSize size, Tone tone) {
    auto* label = new QLabel(content);
    label->setTextFormat(Qt::PlainText);
    setTextStyle(label, size, tone);
    return label;
}

QWidget* following(QLabel* label, TextSource content) {
    whenRefreshed(label, [label, content = std::move(content)] {
        const QString text = content();
        if (label->text() != text)
            label->setText(text);
    });
    return label;
}

/// Lays out `holder` as a row of the label and the control.
QWidget* labelled(const QString& label, QWidget* control, QWidget* holder = new QWidget) {
    QLabel* name = plainLabel(label, TextSize::body, Tone::primary);
    name->setObjectName(pickerLabelName);
    name->setBuddy(control);
    control->setAccessibleName(label);

    auto* layout = new QHBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(name);
    layout->addWidget(control, 1);
    return holder;
}

/// Has the label above the segments where both do not fit side by side.
class SegmentsRow : public QWidget {
protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest) {
            auto* row = static_cast<QBoxLayout*>(layout());
            const auto* segments = static_cast<SegmentedPicker*>(row->itemAt(1)->widget());
            const int label = row->itemAt(0)->sizeHint().width() + row->spacing();
            row->setDirection(label + segments->neededWidth() <= width() ? QBoxLayout::LeftToRight
                                                                         : QBoxLayout::TopToBottom);
        }
        return QWidget::event(event);
    }
};

} // namespace

QMargins mirrored(const QMargins& margins) {
    return QApplication::isRightToLeft()
               ? QMargins(margins.right(), margins.top(), margins.left(), margins.bottom())
               : margins;
}

QWidget* column(int spacing, Children children) {
    return stack(QBoxLayout::TopToBottom, spacing, children);
}

QWidget* row(int spacing, Children children) {
    return stack(QBoxLayout::LeftToRight, spacing, children);
}

QWidget* group(const QString& title, int spacing, Children children) {
    auto* box = new QGroupBox(title);
    auto* layout = new QVBoxLayout(box);
    constexpr int padding = 4;
    int overhang = 0;
    for (const QWidget* child : children)
        overhang = std::max(overhang, child->property(overhangProperty).toInt());
    layout->setContentsMargins(mirrored({10 - overhang, 6 + padding, 10, 6 + padding}));
    layout->setSpacing(spacing);
    for (QWidget* child : children) {
        // A layout has no negative margins: all others are indented instead.
        auto* around = new QVBoxLayout;
        const int indent = overhang - child->property(overhangProperty).toInt();
        around->setContentsMargins(mirrored({indent, 0, 0, 0}));
        add(*around, child);
        layout->addLayout(around);
        for (QWidget* control : child->findChildren<QWidget*>())
            if (qobject_cast<Picker*>(control) || qobject_cast<SegmentedPicker*>(control))
                control->setAccessibleDescription(title);
    }
    return box;
}

QWidget* flexibleSpace() {
    auto* space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    return space;
}

QWidget* divider() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    setTextStyle(line, TextSize::body, Tone::divider);
    return line;
}

QWidget* padded(int padding, QWidget* child) {
    QWidget* holder = column(0, {child});
    holder->layout()->setContentsMargins(0, padding, 0, padding);
    return holder;
}

QWidget* overhanging(int overhang, QWidget* child) {
    child->setProperty(overhangProperty, overhang);
    return child;
}

QWidget* visibleWhen(std::function<bool()> condition, QWidget* widget) {
    showWhen(widget, std::move(condition));
    return widget;
}

QWidget* text(const QString& content, TextSize size, Tone tone) {
    return plainLabel(content, size, tone);
}

QWidget* text(TextSource content, TextSize size, Tone tone) {
    return following(plainLabel({}, size, tone), std::move(content));
}

QWidget* paragraph(const QString& content, TextSize size, Tone tone) {
    QLabel* label = plainLabel(content, size, tone);
    label->setWordWrap(true);
    return label;
}

QWidget* elidedText(TextSource content, TextSize size) {
    auto* label = new ElidedLabel(Qt::ElideMiddle);
    setTextStyle(label, size, Tone::primary);
    return following(label, std::move(content));
}

QWidget* numberText(TextSource content, TextSize size, Tone tone) {
    auto* label = new FittedLabel(QString(), Qt::AlignRight);
    label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setTextStyle(label, size, tone);
    whenRefreshed(label, [label, content] { label->setToolTip(content()); });
    return following(label, std::move(content));
}

QWidget* selectableText(TextSource content, TextSize size, Tone tone) {
    auto* view = new WrappedText;
    setTextStyle(view, size, tone);
    whenRefreshed(view, [view, content = std::move(content)] { view->setShownText(content()); });
    return view;
}

QWidget* button(const QString& title, std::function<void()> action, ButtonOptions options) {
    auto* button = new ActionButton(title, options.icon, options.size, options.prominent);
    button->setAccessibleName(title);
    button->setSizePolicy(options.fullWidth ? QSizePolicy::Minimum : QSizePolicy::Fixed,
                          QSizePolicy::Fixed);
    button->setAutoDefault(false);
    button->setShortcut(options.shortcut);
    if (!options.shortcut.isEmpty())
        button->setToolTip(QStringLiteral("%1 (%2)").arg(
            title, options.shortcut.toString(QKeySequence::NativeText)));
    if (options.enabledWhen)
        whenRefreshed(button, [button, enabled = std::move(options.enabledWhen)] {
            button->setEnabled(enabled());
        });
    QObject::connect(button, &QPushButton::clicked, button, std::move(action));
    return button;
}

QWidget* toggle(const QString& label, Binding<bool> value) {
    auto* box = new CheckBox(label);
    box->setAccessibleName(label);
    whenRefreshed(box, [box, get = value.get] {
        const QSignalBlocker blocker(box);
        box->setChecked(get());
    });
    // Not clicked: assistive technology toggles.
    QObject::connect(box, &QCheckBox::toggled, box, std::move(value.set));
    return box;
}

QWidget* numberField(const QString& label, Binding<int> value, int least, int most) {
    auto* field = new QSpinBox;
    field->setRange(least, most);
    // Assistive technology comes upon what is inside, too.
    field->findChild<QLineEdit*>()->setAccessibleName(label);
    ignoreWheelInPassing(field);
    whenRefreshed(field, [field, get = value.get] {
        const QSignalBlocker blocker(field);
        field->setValue(get());
    });
    QObject::connect(field, &QSpinBox::valueChanged, field, std::move(value.set));
    return labelled(label, field);
}

QWidget* picker(const QString& label, std::function<std::vector<PickerItem>()> items,
                Binding<std::string> selection, TextSource note) {
    auto* control = new Picker(std::move(items), std::move(selection));
    whenRefreshed(control, [control, note = std::move(note)] {
        control->refresh();
        control->setToolTip(note ? plainToolTip(note()) : QString());
    });
    return labelled(label, control);
}

QWidget* segmentedPicker(const QString& label, std::vector<PickerItem> items,
                         Binding<std::string> selection) {
    auto* control = new SegmentedPicker(items, std::move(selection));
    whenRefreshed(control, [control] { control->refresh(); });
    return labelled(label, control, new SegmentsRow);
}

void alignPickerLabels(QWidget* root) {
    whenAppearanceChanges(root, [root] {
        const auto labels = root->findChildren<QLabel*>(pickerLabelName);
        int width = 0;
        // Not the hint, which is no smaller than the width that is set here.
        for (const QLabel* label : labels)
            width = std::max(width, label->fontMetrics().horizontalAdvance(label->text()));
        for (QLabel* label : labels)
            label->setFixedWidth(width);
    });
}

} // namespace lumivert
