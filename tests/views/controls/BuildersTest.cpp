#include "views/controls/Builders.h"

#include "views/controls/ControlFixture.h"
#include "views/controls/Labels.h"
#include "views/controls/Picker.h"
#include "views/controls/StepSlider.h"

#include <QCheckBox>
#include <QFrame>
#include <QGroupBox>
#include <QHelpEvent>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QStyleOptionButton>
#include <QToolTip>

#include <algorithm>
#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<bool> on{this, false};
    Published<int> copies{this, 3};
    Published<std::string> words{this, "one"};
    Published<ScalingMode> scaling{this, ScalingMode::fitToPage};
    Published<std::vector<Printer>> list{this, {{"a", "Alpha"}, {"b", "Beta"}}};
    Published<std::string> selection{this, "b"};
};

class BuildersTest : public testing::Test {
protected:
    Model model;
    NotificationCount notifications{model};
    std::unique_ptr<QWidget> root;

    /// Keeps the widget fresh and lays it out `width` wide.
    QWidget& build(QWidget* widget, int width = 270) {
        root.reset(column(0, {widget}));
        root->resize(width, 400);
        keepFresh(root.get(), model);
        root->show();
        QApplication::processEvents();
        return *widget;
    }
    static QString described(QWidget& widget) {
        return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Description);
    }
    TextSource words() {
        return [this] { return QString::fromStdString(model.words); };
    }
};

TEST_F(BuildersTest, toggleIsBoundBothWays) {
    auto& box = dynamic_cast<QCheckBox&>(build(toggle("Borderless", binding(model.on))));
    EXPECT_EQ(box.text(), "Borderless");
    EXPECT_FALSE(box.isChecked());
    model.on = true;
    refreshed();
    EXPECT_TRUE(box.isChecked());
    EXPECT_EQ(notifications.taken(), 1);
    box.click();
    EXPECT_FALSE(model.on);
    EXPECT_EQ(notifications.taken(), 1);
    QAccessible::queryAccessibleInterface(&box)->actionInterface()->doAction(
        QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(model.on) << "by assistive technology";
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(BuildersTest, pickerOfRecordsIsBoundBothWays) {
    build(picker("Printer", model.list, model.selection));
    auto* box = control<Picker>(*root, "Printer");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->currentText(), "Beta");
    model.selection = "a";
    refreshed();
    EXPECT_EQ(box->currentText(), "Alpha");
    notifications.taken();
    QTest::keyClick(box, Qt::Key_Down);
    EXPECT_EQ(model.selection.get(), "b");
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(BuildersTest, numberFieldIsBoundBothWaysWithinItsBounds) {
    build(numberField("Copies", binding(model.copies), 1, 99));
    auto* field = control<QSpinBox>(*root, "Copies");
    ASSERT_NE(field, nullptr);
    EXPECT_NE(control<QLineEdit>(*root, "Copies"), nullptr) << "what is typed into, too";
    EXPECT_EQ(field->value(), 3);
    model.copies = 200;
    refreshed();
    EXPECT_EQ(field->value(), 99);
    EXPECT_EQ(model.copies.get(), 200) << "only a person's change writes";
    EXPECT_EQ(notifications.taken(), 1);
    QTest::keyClick(field, Qt::Key_Down);
    EXPECT_EQ(model.copies.get(), 98);
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(BuildersTest, pickerOfAChoiceListsItsCases) {
    build(picker("Mode", model.scaling));
    auto* box = control<Picker>(*root, "Mode");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->count(), 3);
    QTest::keyClick(box, Qt::Key_End);
    EXPECT_EQ(model.scaling.get(), ScalingMode::actualSize);
}

TEST_F(BuildersTest, pickerLabelsLineUp) {
    build(column(0, {picker("A", model.scaling), picker("A long label", model.scaling)}));
    alignPickerLabels(root.get());
    QApplication::processEvents();
    const auto boxes = shown<Picker>(*root);
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_EQ(boxes[0]->mapTo(root.get(), QPoint()).x(), boxes[1]->mapTo(root.get(), QPoint()).x());
}

TEST_F(BuildersTest, textFollowsItsSource) {
    auto& label = dynamic_cast<QLabel&>(build(text(words())));
    EXPECT_EQ(label.text(), "one");
    model.words = "two & <b>three</b>";
    refreshed();
    EXPECT_EQ(label.text(), "two & <b>three</b>");
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
}

TEST_F(BuildersTest, buttonRunsItsActionAndFollowsItsCondition) {
    int runs = 0;
    auto& shownButton = dynamic_cast<QPushButton&>(
        build(button("Go", [&] { ++runs; }, {.enabledWhen = [this] { return model.on.get(); }})));
    EXPECT_FALSE(shownButton.isEnabled());
    shownButton.click();
    EXPECT_EQ(runs, 0);
    model.on = true;
    refreshed();
    shownButton.click();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(accessibleName(&shownButton), "Go");
}

TEST_F(BuildersTest, buttonSizesAreOrdered) {
    const auto height = [](ButtonSize size) {
        return std::unique_ptr<QWidget>(button("Go", [] {}, {.size = size}))->sizeHint().height();
    };
    EXPECT_GE(height(ButtonSize::regular), height(ButtonSize::small));
    EXPECT_GT(height(ButtonSize::large), height(ButtonSize::regular));
}

TEST_F(BuildersTest, buttonsIconGrowsWithTheFontAndGivesWayToTheText) {
    build(button("Save Current Settings", [] {}, {.icon = Icon::plus, .fullWidth = true}));
    auto* made = control<QPushButton>(*root, "Save Current Settings");
    EXPECT_EQ(made->iconSize().height(), 16);
    const int narrow = made->fontMetrics().horizontalAdvance(made->text()) + 16;
    made->resize(made->sizeHint());
    const QImage whole = made->grab().toImage();
    made->resize(narrow, made->height());
    const QImage cut = made->grab().toImage();
    made->setIcon({});
    EXPECT_EQ(cut, made->grab().toImage());
    EXPECT_NE(cut, whole.copy(0, 0, narrow, whole.height()));
    const WithFontSize large(18);
    EXPECT_GT(made->iconSize().height(), 20);
}

TEST_F(BuildersTest, naturalButtonsStandAtTheLeftAndFullOnesAreStretched) {
    build(column(0, {button("Natural", [] {}), button("Full", [] {}, {.fullWidth = true})}));
    auto* natural = control<QPushButton>(*root, "Natural");
    auto* full = control<QPushButton>(*root, "Full");
    EXPECT_EQ(natural->x(), 0);
    EXPECT_EQ(natural->width(), natural->sizeHint().width());
    EXPECT_EQ(full->width(), 270);
}

TEST_F(BuildersTest, prominentButtonIsFilledOnlyWhileEnabled) {
    auto& shownButton = build(button("Print", [] {}, {.fullWidth = true, .prominent = true}));
    const auto ground = [&] {
        return shownButton.grab().toImage().pixelColor(8, shownButton.height() / 2);
    };
    EXPECT_EQ(ground(), accentFill(QApplication::palette()));
    shownButton.setEnabled(false);
    EXPECT_NE(ground(), accentFill(QApplication::palette()));
}

TEST_F(BuildersTest, buttonNamesItsShortcutInItsToolTip) {
    auto& shownButton = build(button("Print", [] {}, {.shortcut = QKeySequence("Ctrl+P")}));
    EXPECT_EQ(shownButton.toolTip(), "Print (Ctrl+P)");
    EXPECT_EQ(described(shownButton), "Ctrl+P") << "its name is said already";
}

TEST_F(BuildersTest, groupsTitleDescribesItsPickersAndButtons) {
    build(group("Scaling", 10, {picker("Mode", model.scaling), button("Refresh", [] {})}));
    EXPECT_EQ(described(*control<Picker>(*root, "Mode")), "Scaling");
    EXPECT_EQ(described(*control<QPushButton>(*root, "Refresh")), "Scaling");
}

TEST_F(BuildersTest, segmentsStandBelowTheirLabelWhereBothDoNotFit) {
    build(segmentedPicker("Mode", model.scaling), 600);
    QWidget* segments = shown<SegmentedPicker>(*root).front();
    QWidget* label = textShown(*root, "Mode");
    EXPECT_GT(segments->x(), label->geometry().right());
    root->resize(200, 400);
    QApplication::processEvents();
    EXPECT_GT(segments->y(), label->geometry().bottom());
    EXPECT_EQ(segments->x(), 0);
    EXPECT_GT(root->heightForWidth(200), root->heightForWidth(600)) << "before it is laid out";
}

TEST_F(BuildersTest, pickersStandBelowTheirLabelsWhereTheirChoicesWouldNotBeRead) {
    build(group("Scaling", 10, {picker("Orientation", model.scaling)}), 270);
    const Picker* box = shown<Picker>(*root).front();
    QWidget* label = textShown(*root, "Orientation");
    EXPECT_GT(box->x(), label->geometry().right());
    const WithFontSize large(16);
    QApplication::processEvents();
    EXPECT_GT(box->y(), label->geometry().bottom());
    EXPECT_GT(box->width(), 200);
}

TEST_F(BuildersTest, pickersStandBelowTheirLabelsWhereAnyOfTheirNamesWouldBeCut) {
    Published<std::vector<PickerItem>> names{&model, {{"a", "Short"}}};
    Published<std::string> choice{&model, "a"};
    Published<bool> isShown{&model, true};
    const auto items = [&] { return names.get(); };
    build(group("Paper", 10,
                {visibleWhen([&] { return isShown.get(); }, picker("Type", items, binding(choice))),
                 picker("Size", model.list, model.selection)}));
    Picker* box = control<Picker>(*root, "Type");
    const auto isBelow = [&] {
        refreshed();
        QApplication::processEvents();
        const auto below = [&](const char* name) {
            return control<Picker>(*root, name)->y() > textShown(*root, name)->geometry().bottom();
        };
        EXPECT_EQ(below("Size"), below("Type")) << "in one group";
        return below("Type");
    };
    const auto offer = [&](const QString& name) {
        names = std::vector<PickerItem>{{"a", "Short"}, {"b", name.toStdString()}};
    };
    EXPECT_FALSE(isBelow());
    offer("Of a name as long as the group");
    EXPECT_TRUE(isBelow()) << "though what is chosen is short";
    const int height = root->heightForWidth(270);
    isShown = false;
    refreshed();
    offer("B");
    isShown = true;
    EXPECT_FALSE(isBelow()) << "as of a list that changed while it was hidden";
    EXPECT_LT(root->heightForWidth(270), height);

    for (const double points : {8.0, 10.0, 12.0}) {
        const WithFontSize font(points);
        QString name = "N";
        for (offer(name); !isBelow(); offer(name))
            name += 'n';
        name.chop(1);
        offer(name);
        choice = "b";
        EXPECT_FALSE(isBelow()) << points;
        QHelpEvent help(QEvent::ToolTip, {5, 5}, box->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(box, &help);
        EXPECT_FALSE(QToolTip::isVisible()) << "cut at " << points;
        choice = "a";
    }
}

TEST_F(BuildersTest, groupIsCalledByItsTitle) {
    auto& box = dynamic_cast<QGroupBox&>(build(group("Paper", 10, {text("x")})));
    EXPECT_EQ(box.title(), "Paper");
    EXPECT_EQ(accessibleName(&box), "Paper");
}

TEST_F(BuildersTest, columnsLeaveTheirSpacingBetweenShownItemsOnly) {
    build(column(10, {text("a"), visibleWhen([this] { return model.on.get(); }, text("b")),
                      text("c"), flexibleSpace()}));
    const auto top = [this](const char* label) {
        QWidget* found = textShown(*root, label);
        return found->mapTo(root.get(), QPoint()).y();
    };
    const int height = textShown(*root, "a")->height();
    EXPECT_EQ(top("c") - top("a"), height + 10);
    model.on = true;
    refreshed();
    QApplication::processEvents();
    EXPECT_EQ(top("c") - top("a"), 2 * (height + 10));
}

TEST_F(BuildersTest, dividerIsQuiet) {
    auto& line = dynamic_cast<QFrame&>(build(divider()));
    EXPECT_EQ(line.frameShape(), QFrame::HLine);
    EXPECT_LT(contrastRatio(line.palette().color(QPalette::WindowText),
                            line.palette().color(QPalette::Window)),
              3);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&line)->role(), QAccessible::Separator);
}

TEST_F(BuildersTest, elidedTextKeepsToItsWidthAndTellsTheWholeInItsToolTip) {
    std::string name(200, 'x');
    name.append(".jpg");
    model.words = name;
    refreshed();
    auto& label = dynamic_cast<QLabel&>(
        build(elidedText(words(), TextSize::headline, Tone::primary, Qt::ElideMiddle)));
    EXPECT_EQ(root->width(), 270);
    EXPECT_EQ(label.text().toStdString(), model.words.get()) << "whole for assistive technology";
    QHelpEvent help(QEvent::ToolTip, {5, 5}, label.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&label, &help);
    EXPECT_EQ(QToolTip::text().toStdString(), model.words.get());
    QToolTip::hideText();
    ASSERT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
    model.words = "short.jpg";
    refreshed();
    QApplication::sendEvent(&label, &help);
    EXPECT_FALSE(QToolTip::isVisible());
}

TEST_F(BuildersTest, selectableTextWrapsAWordThatIsTooLong) {
    model.words = std::string(300, 'x');
    refreshed();
    auto& view =
        dynamic_cast<QTextEdit&>(build(selectableText(words(), TextSize::caption, Tone::error)));
    EXPECT_EQ(view.width(), 270);
    EXPECT_GT(view.height(), 5 * view.fontMetrics().height());
    EXPECT_EQ(view.document()->size().width(), 270);
    EXPECT_LE(view.document()->size().height(), view.height()) << "all of it can be seen";
    EXPECT_TRUE(view.textInteractionFlags() & Qt::TextSelectableByMouse);
    EXPECT_TRUE(view.isReadOnly());
    EXPECT_EQ(accessibleName(&view).toStdString(), model.words.get());
    view.selectAll();
    EXPECT_EQ(view.textCursor().selectedText().toStdString(), model.words.get());
}

TEST_F(BuildersTest, selectableTextGrowsWithItsText) {
    model.words = "one line";
    refreshed();
    auto& view = build(selectableText(words(), TextSize::caption, Tone::error));
    const int before = view.height();
    model.words = "one line\nand another\nand a third";
    refreshed();
    QApplication::processEvents();
    EXPECT_GT(view.height(), before * 2);
}

TEST_F(BuildersTest, selectableTextKeepsASelectionWhileItsTextStays) {
    auto& view =
        dynamic_cast<QTextEdit&>(build(selectableText(words(), TextSize::caption, Tone::primary)));
    for (const char* text : {"one", "a b", "a\u00a0b", "a\nb\n", "a\u2029b"}) {
        model.words = text;
        refreshed();
        view.selectAll();
        model.on = true;
        refreshed();
        EXPECT_TRUE(view.textCursor().hasSelection()) << text;
    }
}

QImage painted(QWidget& widget) {
    return widget.grab().toImage();
}

/// The first and the last column with ink.
std::pair<int, int> inkColumns(const QImage& image) {
    const QRgb ground = image.pixel(0, 0);
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x)
        for (int y = 0; y < image.height(); ++y)
            if (image.pixel(x, y) != ground) {
                first = first < 0 ? x : first;
                last = x;
            }
    return {first, last};
}

/// The contrast to `ground` of what stands out most in the strip.
double bestContrast(const QImage& image, const QRect& strip, const QColor& ground) {
    double best = 1;
    for (int y = strip.top(); y <= strip.bottom(); ++y)
        for (int x = strip.left(); x <= strip.right(); ++x)
            best = std::max(best, contrastRatio(image.pixelColor(x, y), ground));
    return best;
}

TEST_F(BuildersTest, toggleAndSliderHaveAnOutlineThatCanBeSeen) {
    for (const QPalette& palette : {QPalette(QColor(0xef, 0xef, 0xef)), darkPalette()}) {
        const WithPalette with(palette);
        const QColor ground = palette.color(QPalette::Window);
        auto& box = build(toggle("Borderless", binding(model.on)));
        QStyleOptionButton option;
        option.initFrom(&box);
        const QRect indicator =
            box.style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, &box);
        EXPECT_GE(bestContrast(painted(*root), indicator.translated(box.pos()), ground), 3);

        double value = 0;
        auto& slider = dynamic_cast<StepSlider&>(build(
            new StepSlider({[&value] { return value; }, [&value](double to) { value = to; }})));
        slider.refresh({.minimum = 0, .maximum = 50, .step = 0.5});
        QApplication::processEvents();
        // Right of the knob, which stands at the left.
        const QRect groove(slider.geometry().center().x(), slider.y(), 40, slider.height());
        EXPECT_GE(bestContrast(painted(*root), groove, ground), 3);
    }
}

TEST(FittedLabel, makesItsFontSmallerUntilTheReferenceFits) {
    const QString summary = "T 20.0  B 20.0  L 35.5  R 35.5 mm";
    for (double points = 9; points <= 16; points += 0.5)
        for (const QString& text : {QString("888.8 mm"), QString("1234.5 mm"), summary}) {
            const std::unique_ptr<QLabel> made(fittedLabel("888.8 mm", Qt::AlignRight));
            QLabel& label = *made;
            label.setFont(scaledFont(QApplication::font(), points / 9));
            label.setText(text);
            label.resize(text == summary ? 175 : 55, 30);
            const auto [first, last] = inkColumns(painted(label));
            EXPECT_GE(first, 1) << text.toStdString() << " at " << points;
            EXPECT_GE(last, label.width() - 5) << "at the right";
        }
    const std::unique_ptr<QLabel> made(fittedLabel("888.8 mm", Qt::AlignRight));
    QLabel& label = *made;
    label.setFont(scaledFont(QApplication::font(), 16.0 / 9));
    label.setText("297.0 mm");
    label.resize(55, 30);
    const auto [first, last] = inkColumns(painted(label));
    label.setText("7.0 mm");
    const int shortWidth = inkColumns(painted(label)).second - inkColumns(painted(label)).first;
    EXPECT_LT(shortWidth, (last - first) * 0.85) << "as small as the longer ones";
}

TEST(FittedLabel, keepsDigitsEquallyWide) {
    const std::unique_ptr<QLabel> made(fittedLabel({}, Qt::AlignLeft));
    QLabel& label = *made;
    label.setFont(QFont("DejaVu Serif", 20));
    label.setText("111.1");
    const int ones = label.sizeHint().width();
    label.setText("888.8");
    EXPECT_EQ(label.sizeHint().width(), ones);
}

TEST(FittedLabel, paintsDigitsEquallyWide) {
    const QFont font("Goudy Bookletter 1911", 24); // whose figures differ in width
    const QFontMetrics metrics(font);
    if (metrics.horizontalAdvance("111111") == metrics.horizontalAdvance("000000"))
        GTEST_SKIP() << "this machine lacks fonts-goudybookletter";
    const std::unique_ptr<QLabel> made(fittedLabel({}, Qt::AlignLeft));
    QLabel& label = *made;
    label.setFont(font);
    label.resize(400, 60);
    // The stroke behind them moves only as far as the digits' cells let it.
    const auto lastStroke = [&label](const QString& digits) {
        label.setText("|" + digits + "|");
        return inkColumns(painted(label)).second;
    };
    for (const char* digits : {"000000", "222222", "777777", "987654"})
        EXPECT_EQ(lastStroke(digits), lastStroke("111111")) << digits;
}

TEST(MenuText, keepsItsDotsAtItsEndWhereMenusRunFromRightToLeft) {
    const QString dots = "Open Image...";
    EXPECT_EQ(menuText(dots), dots);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    const QString mirrored = menuText(dots);
    const QString hebrew = QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd...");
    EXPECT_EQ(menuText(hebrew), hebrew);
    QApplication::setLayoutDirection(Qt::LeftToRight);
    // As menus draw it.
    const auto painted = [](const QString& text) {
        QImage image(200, 30, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setLayoutDirection(Qt::RightToLeft);
        painter.drawText(image.rect(), Qt::AlignLeft | Qt::AlignAbsolute, text);
        return image;
    };
    const QImage right = painted(mirrored);
    const int before = inkColumns(painted("Open Image")).first;
    EXPECT_EQ(inkColumns(right).first, before) << "no dots before it";
    EXPECT_NE(inkColumns(painted(dots)).first, before) << "as there are without it";
}

TEST(PlainToolTip, showsMarkupAsItIs) {
    EXPECT_EQ(plainToolTip("a < b"), "a < b");
    EXPECT_EQ(plainToolTip("<b>x</b>"), "&lt;b&gt;x&lt;/b&gt;");
}

} // namespace
} // namespace lumivert
