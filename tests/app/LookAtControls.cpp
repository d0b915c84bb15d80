#include "app/LookAtControls.h"

#include "model/PrintPreset.h"
#include "views/PresetRow.h"
#include "views/controls/Builders.h"
#include "views/controls/Focus.h"
#include "views/controls/MillimetreRow.h"
#include "views/controls/Picker.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QPainter>

#include <array>
#include <memory>

namespace lumivert {

namespace {

struct Model : ObservableObject {
    Published<bool> on{this, true};
    Published<bool> off{this, false};
    Published<SizingMode> mode{this, SizingMode::imageSize};
    Published<std::string> choice{this, "long"};
    Published<std::string> none{this, "gone"};
    Published<double> none0{this, 0};
    Published<double> some{this, 17.25};
    Published<double> beyond{this, 1234.5};
};

enum class State { plain, hovered, pressed, focused, disabled };

std::unique_ptr<QWidget> column(Model& model) {
    const auto nothing = [] {};
    const auto most = [] { return 50.0; };
    const auto items = [] {
        return std::vector<PickerItem>{
            {"long", "A4 (210 × 297 mm), of a name that goes on and on until it has to be cut"},
            {"short", "A4"}};
    };
    PrintPreset preset;
    preset.name = "Glossy with a border, and more";
    std::unique_ptr<QWidget> all(lumivert::column(
        8, {
               text("Headline", TextSize::headline),
               text("Body, and more of it", TextSize::body),
               text("Secondary caption", TextSize::caption, Tone::secondary),
               text("Warning caption", TextSize::caption, Tone::warning),
               text("Error caption", TextSize::caption, Tone::error),
               divider(),
               presetRow(preset, nothing, nothing),
               button("Print", nothing,
                      {.size = ButtonSize::large,
                       .icon = Icon::printer,
                       .fullWidth = true,
                       .prominent = true}),
               button("Show CUPS Command", nothing, {.icon = Icon::terminal, .fullWidth = true}),
               button("Save Current Settings", nothing,
                      {.size = ButtonSize::small, .icon = Icon::plus, .fullWidth = true}),
               button("Choose File...", nothing, {.size = ButtonSize::large}),
               button("Refresh", nothing, {.size = ButtonSize::small}),
               toggle("Borderless", binding(model.on)),
               toggle("Centered", binding(model.off)),
               segmentedPicker("Mode", model.mode),
               picker("Size", items, binding(model.choice)),
               picker("ICC Profile", items, binding(model.none)),
               marginSlider("Top", "of the look", binding(model.none0), most),
               marginSlider("Bottom", "of the look", binding(model.some), most),
               marginSlider("Height", "of the look", binding(model.beyond), most),
           }));
    all->layout()->setContentsMargins(12, 12, 12, 12);
    alignPickerLabels(all.get());
    return all;
}

QList<QWidget*> focusable(QWidget* root) {
    QList<QWidget*> found;
    for (QWidget* widget : root->findChildren<QWidget*>())
        if (widget->focusPolicy() & Qt::TabFocus)
            found << widget;
    return found;
}

void bring(QWidget* root, State state) {
    for (QWidget* widget : focusable(root)) {
        widget->setAttribute(Qt::WA_UnderMouse, state == State::hovered || state == State::pressed);
        if (auto* button = qobject_cast<QAbstractButton*>(widget))
            button->setDown(state == State::pressed);
        if (auto* slider = qobject_cast<QAbstractSlider*>(widget))
            slider->setSliderDown(state == State::pressed);
    }
    if (state == State::disabled)
        root->setEnabled(false);
}

QImage painted(QWidget* root) {
    for (int turn = 0; turn < 3; ++turn)
        QApplication::processEvents();
    return root->grab().toImage();
}

/// Each control with the focus, one after the other, in one picture; of a value the typing field.
QImage paintedWithFocus(QWidget* root) {
    QImage all = painted(root);
    QPainter painter(&all);
    for (QWidget* widget : focusable(root)) {
        widget->setFocus(Qt::TabFocusReason);
        const QImage one = painted(root);
        QWidget* place = widget;
        if (qobject_cast<SegmentedPicker*>(widget->parentWidget()))
            place = widget->parentWidget();
        const QRect around =
            QRect(place->mapTo(root, QPoint()), place->size()).adjusted(-3, -3, 3, 3);
        const double ratio = one.devicePixelRatio();
        const QRect pixels(QPointF(around.topLeft() * ratio).toPoint(), around.size() * ratio);
        painter.drawImage(QPointF(pixels.topLeft()) / ratio, one.copy(pixels));
    }
    return all;
}

} // namespace

QImage controlsInEveryState() {
    Model model;
    std::vector<QImage> columns;
    for (const State state :
         {State::plain, State::hovered, State::pressed, State::focused, State::disabled}) {
        const std::unique_ptr<QWidget> root = column(model);
        ringFocusIn(root.get());
        keepFresh(root.get(), model);
        root->resize(290, std::max(root->sizeHint().height(), root->heightForWidth(290)));
        root->show();
        root->activateWindow();
        QApplication::processEvents();
        bring(root.get(), state);
        if (QWidget* focused = QApplication::focusWidget())
            focused->clearFocus();
        columns.push_back(state == State::focused ? paintedWithFocus(root.get())
                                                  : painted(root.get()));
    }
    int width = 0;
    for (const QImage& each : columns)
        width += each.width();
    QImage all(width, columns.front().height(), QImage::Format_RGB32);
    all.fill(QApplication::palette().color(QPalette::Window));
    QPainter painter(&all);
    int x = 0;
    for (QImage& each : columns) {
        each.setDevicePixelRatio(1);
        painter.drawImage(x, 0, each);
        x += each.width();
    }
    return all;
}

} // namespace lumivert
