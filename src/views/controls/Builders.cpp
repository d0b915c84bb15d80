#include "views/controls/Builders.h"

#include "views/controls/Accessibility.h"

#include <QEvent>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStyle>
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
    layout.addWidget(child, 0, natural ? Qt::AlignLeft : Qt::Alignment());
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

/// The label beside its control, or above it where both do not fit; of all rows in one holder
/// alike.
class LabelledRow : public QWidget {
public:
    LabelledRow(const QString& label, QWidget* control)
        : m_name(static_cast<QLabel*>(text(label)))
        , m_control(control) {
        m_name->setObjectName(pickerLabelName);
        m_name->setBuddy(control);
        control->setAccessibleName(label);
        for (QWidget* child : {static_cast<QWidget*>(m_name), control})
            child->setParent(this);
        QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }

    QSize sizeHint() const override {
        return {neededWidth(), std::max(nameHeight(), hint().height())};
    }
    QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }
    int heightForWidth(int width) const override {
        return isBeside(width) ? sizeHint().height() : nameHeight() + gapBelow + hint().height();
    }

protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::LayoutRequest)
            for (QObject* each : parentWidget()->children())
                if (auto* row = dynamic_cast<LabelledRow*>(each)) {
                    row->updateGeometry();
                    row->place();
                }
        if (event->type() == QEvent::Resize)
            place();
        return QWidget::event(event);
    }

private:
    static constexpr int gap = 8;
    static constexpr int gapBelow = 4; // less than there is to what else is above

    [[nodiscard]] QSize hint() const { return m_control->sizeHint(); }
    [[nodiscard]] int nameHeight() const { return m_name->sizeHint().height(); }
    [[nodiscard]] int nameWidth() const {
        // Not the label's hint, which does not follow a width that is set.
        return std::max(m_name->minimumWidth(),
                        m_name->fontMetrics().horizontalAdvance(m_name->text()));
    }
    [[nodiscard]] int neededWidth() const { return nameWidth() + gap + hint().width(); }
    [[nodiscard]] bool isBeside(int width) const {
        return std::ranges::all_of(parentWidget()->children(), [width](const QObject* each) {
            const auto* row = dynamic_cast<const LabelledRow*>(each);
            return !row || row->neededWidth() <= width;
        });
    }
    void place() {
        const bool beside = isBeside(width());
        const int x = beside ? nameWidth() + gap : 0;
        const int y = beside ? (height() - hint().height()) / 2 : nameHeight() + gapBelow;
        const auto put = [this](QWidget* child, const QRect& place) {
            child->setGeometry(QStyle::visualRect(layoutDirection(), rect(), place));
        };
        put(m_name, {0, 0, nameWidth(), beside ? height() : nameHeight()});
        put(m_control, {x, y, width() - x, hint().height()});
    }

    QLabel* m_name;
    QWidget* m_control;
};

} // namespace

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
    layout->setContentsMargins(10 - overhang, 6 + padding, 10 - overhang, 6 + padding);
    layout->setSpacing(spacing);
    for (QWidget* child : children) {
        // A layout has no negative margins: all others are indented instead; by spaces, which are
        // mirrored with the text.
        auto* line = new QHBoxLayout;
        line->setSpacing(0);
        line->addSpacing(overhang - child->property(overhangProperty).toInt());
        add(*line, child);
        line->addSpacing(overhang);
        layout->addLayout(line);
        if (qobject_cast<QPushButton*>(child))
            child->setAccessibleDescription(title);
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
    return withRole(QAccessible::Separator, line);
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
    return new LabelledRow(label, field);
}

QWidget* picker(const QString& label, std::function<std::vector<PickerItem>()> items,
                Binding<std::string> selection, TextSource note) {
    auto* control = new Picker(std::move(items), std::move(selection));
    whenRefreshed(control, [control, note = std::move(note)] {
        control->refresh();
        control->setToolTip(note ? plainToolTip(note()) : QString());
    });
    return new LabelledRow(label, control);
}

QWidget* segmentedPicker(const QString& label, std::vector<PickerItem> items,
                         Binding<std::string> selection) {
    auto* control = new SegmentedPicker(items, std::move(selection));
    whenRefreshed(control, [control] { control->refresh(); });
    return new LabelledRow(label, control);
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
