#include "views/controls/Builders.h"

#include "views/controls/Labels.h"
#include "views/controls/SegmentedPicker.h"

#include <QApplication>
#include <QEvent>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPalette>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

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

template <class Layout>
QWidget* stack(int spacing, Children children) {
    auto* holder = new QWidget;
    auto* layout = new Layout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    for (QWidget* child : children)
        add(*layout, child);
    return holder;
}

QLabel* plainLabel(TextSize size, Tone tone) {
    auto* label = new QLabel;
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

QWidget* labelled(const QString& label, QWidget* control) {
    auto* name = new QLabel(label);
    name->setTextFormat(Qt::PlainText);
    name->setObjectName(pickerLabelName);
    name->setBuddy(control);
    control->setAccessibleName(label);

    auto* holder = new QWidget;
    auto* layout = new QHBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(name);
    layout->addWidget(control, 1);
    return holder;
}

/// A label beside segments, or above them.
class LabelledSegments : public QWidget {
public:
    LabelledSegments(QWidget* row, SegmentedPicker* segments)
        : m_row(row)
        , m_segments(segments) {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(row);
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
            arrange();
        return QWidget::event(event);
    }

private:
    void arrange() {
        auto* layout = static_cast<QBoxLayout*>(m_row->layout());
        const int label = layout->itemAt(0)->sizeHint().width() + layout->spacing();
        layout->setDirection(label + m_segments->neededWidth() <= width()
                                 ? QBoxLayout::LeftToRight
                                 : QBoxLayout::TopToBottom);
    }

    QWidget* m_row;
    SegmentedPicker* m_segments;
};

} // namespace

QMargins mirrored(const QMargins& margins) {
    return QApplication::isRightToLeft()
               ? QMargins(margins.right(), margins.top(), margins.left(), margins.bottom())
               : margins;
}

QWidget* column(int spacing, Children children) {
    return stack<QVBoxLayout>(spacing, children);
}

QWidget* row(int spacing, Children children) {
    return stack<QHBoxLayout>(spacing, children);
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
    whenAppearanceChanges(line, [line] {
        QPalette palette = line->palette();
        palette.setColor(QPalette::WindowText, dividerColor(QApplication::palette()));
        if (line->palette() != palette)
            line->setPalette(palette);
    });
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
    QLabel* label = plainLabel(size, tone);
    label->setText(content);
    return label;
}

QWidget* text(TextSource content, TextSize size, Tone tone) {
    return following(plainLabel(size, tone), std::move(content));
}

QWidget* paragraph(const QString& content, TextSize size, Tone tone) {
    QLabel* label = plainLabel(size, tone);
    label->setWordWrap(true);
    label->setText(content);
    return label;
}

QWidget* elidedText(TextSource content, TextSize size) {
    auto* label = new ElidedLabel;
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
    QObject::connect(box, &QCheckBox::clicked, box, std::move(value.set));
    return box;
}

QWidget* picker(const QString& label, std::function<std::vector<PickerItem>()> items,
                Binding<std::string> selection) {
    auto* control = new Picker(std::move(items), std::move(selection));
    whenRefreshed(control, [control] { control->refresh(); });
    return labelled(label, control);
}

QWidget* segmentedPicker(const QString& label, std::vector<PickerItem> items,
                         Binding<std::string> selection) {
    auto* control = new SegmentedPicker(items, std::move(selection));
    whenRefreshed(control, [control] { control->refresh(); });
    return new LabelledSegments(labelled(label, control), control);
}

void alignPickerLabels(QWidget* root) {
    whenAppearanceChanges(root, [root] {
        const auto labels = root->findChildren<QLabel*>(pickerLabelName);
        int width = 0;
        for (const QLabel* label : labels)
            width = std::max(width, label->sizeHint().width());
        for (QLabel* label : labels)
            label->setFixedWidth(width);
    });
}

} // namespace lumivert
