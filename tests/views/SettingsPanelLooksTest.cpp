#include "views/PanelFixture.h"
#include "views/controls/Appearance.h"
#include "views/controls/Icons.h"

#include <QFrame>
#include <QImage>
#include <QPushButton>

#include <optional>

namespace lumivert {
namespace {

class LooksTest : public PanelTest {
protected:
    /// Where the widget lies on the panel's page.
    QRect place(QWidget* widget) {
        EXPECT_NE(widget, nullptr);
        if (!widget)
            return {};
        QApplication::processEvents();
        return {widget->mapTo(panel->widget(), QPoint()), widget->size()};
    }
    QRect place(const QString& text) { return place(textShown(*panel, text)); }
    /// What lies between the lower edge of the one and the upper edge of the other.
    int gap(const QRect& above, const QRect& below) { return below.top() - above.bottom() - 1; }
    QGroupBox* box(const QString& title) { return control<QGroupBox>(*panel, title); }
    QWidget* scalingMode() {
        for (Picker* found : shown<Picker>(*panel))
            if (box("Scaling")->isAncestorOf(found))
                return found;
        return nullptr;
    }
    QWidget* segments() { return button("Margins")->parentWidget(); }
    QFrame* divider(const QString& title) {
        for (QFrame* line : shown<QFrame>(*box(title)))
            if (line->frameShape() == QFrame::HLine)
                return line;
        return nullptr;
    }
    void showImageSize() {
        pm->sizingMode = SizingMode::imageSize;
        pm->imageSizeCentered = false;
        QApplication::processEvents();
    }
};

TEST_F(LooksTest, givesEachTextItsRole) {
    load({600, 400}, "/photos/one.jpg");
    pm->availablePrinters = std::vector<Printer>{};
    pm->orientation = PaperOrientation::portrait;
    showImageSize();
    struct Row {
        const char* text;
        TextSize size;
        Tone tone;
    };
    const auto check = [this](const Row& row) {
        QWidget* found = textShown(*panel, row.text);
        ASSERT_NE(found, nullptr) << row.text;
        EXPECT_EQ(found->font(), fontFor(row.size, QApplication::font())) << row.text;
        EXPECT_EQ(found->palette().color(QPalette::WindowText),
                  colorFor(row.tone, QApplication::palette()))
            << row.text;
    };
    check({"one.jpg", TextSize::headline, Tone::primary});
    check({"600 × 400 px", TextSize::caption, Tone::secondary});
    check({"No saved presets", TextSize::caption, Tone::secondary});
    check({"No printers found", TextSize::caption, Tone::warning});
    check({"Margins:", TextSize::caption, Tone::secondary});
    check({"T 0.0  B 20.0  L 0.0  R 20.0 mm", TextSize::caption, Tone::secondary});
    pm->borderless = true;
    pm->selectedPaperSizeID = "gone";
    check({"This paper size may not support borderless printing on all printers.",
           TextSize::caption, Tone::warning});
    pm->lastPrintError = "Print failed";
    check({"Print failed", TextSize::caption, Tone::error});
}

TEST_F(LooksTest, warnsInOrange) {
    pm->availablePrinters = std::vector<Printer>{};
    pm->borderless = true;
    pm->selectedPaperSizeID = "gone";
    for (const char* words :
         {"No printers found",
          "This paper size may not support borderless printing on all printers."}) {
        QWidget* found = textShown(*panel, words);
        ASSERT_NE(found, nullptr) << words;
        EXPECT_NEAR(found->palette().color(QPalette::WindowText).hslHue(), 33, 12) << words;
    }
}

TEST_F(LooksTest, marksButtonsWithTheirIcons) {
    load({600, 400});
    struct Row {
        const char* name;
        Icon icon;
        IconTint tint;
    };
    for (const Row& row : {Row{"Save Current Settings", Icon::plus, IconTint::buttonText},
                           {"Print", Icon::printer, IconTint::onAccent},
                           {"Show CUPS Command", Icon::terminal, IconTint::buttonText}}) {
        const QIcon icon = button(row.name)->icon();
        ASSERT_FALSE(icon.isNull()) << row.name;
        EXPECT_EQ(icon.pixmap(48, 48).toImage(),
                  lineIcon(row.icon, row.tint).pixmap(48, 48).toImage())
            << row.name;
    }
    EXPECT_TRUE(button("Refresh")->icon().isNull());
}

TEST_F(LooksTest, fillsPrintAlone) {
    load({600, 400});
    const auto ground = [this](const char* name) {
        QAbstractButton* found = button(name);
        return found->grab().toImage().pixelColor(8, found->height() / 2);
    };
    const QColor accent = accentFill(QApplication::palette());
    EXPECT_EQ(ground("Print"), accent);
    EXPECT_NE(ground("Show CUPS Command"), accent);
}

TEST_F(LooksTest, hasSmallAndLargeButtonsWhereTheyAreMeant) {
    load({600, 400});
    const int usual = button("Show CUPS Command")->height();
    EXPECT_GT(button("Print")->height(), usual);
    for (const char* name : {"Change Image...", "Refresh", "Save Current Settings"})
        EXPECT_EQ(button(name)->font(), fontFor(TextSize::callout, QApplication::font())) << name;
    for (const char* name : {"Print", "Show CUPS Command"})
        EXPECT_EQ(button(name)->font(), QApplication::font()) << name;
}

TEST_F(LooksTest, leavesFourBetweenTheImagesItems) {
    load({600, 400}, "/photos/one.jpg");
    EXPECT_EQ(gap(place("one.jpg"), place("600 × 400 px")), 4);
    EXPECT_EQ(gap(place("600 × 400 px"), place(button("Change Image..."))), 4);
}

TEST_F(LooksTest, leavesEightBetweenThePresetsItemsAndTwoAroundARow) {
    EXPECT_EQ(gap(place("No saved presets"), place(divider("Presets"))), 8);
    EXPECT_EQ(gap(place(divider("Presets")), place(button("Save Current Settings"))), 8);
    pm->savePreset("One");
    pm->savePreset("Two");
    const QRect one = place(button("One")->parentWidget());
    const QRect two = place(button("Two")->parentWidget());
    EXPECT_EQ(gap(one, two), 2 + 8 + 2);
    EXPECT_EQ(gap(two, place(divider("Presets"))), 2 + 8);
}

TEST_F(LooksTest, leavesTenBetweenTheItemsOfTheOtherGroups) {
    pm->availablePrinters = std::vector<Printer>{};
    pm->selectedICCProfileID = "p";
    const auto row = [this](QWidget* control) { return place(control->parentWidget()); };
    EXPECT_EQ(gap(row(picker("Printer")), place("No printers found")), 10);
    EXPECT_EQ(gap(place("No printers found"), place(button("Refresh"))), 10);
    EXPECT_EQ(gap(row(picker("Size")), row(picker("Type"))), 10);
    EXPECT_EQ(gap(row(picker("Type")), row(picker("Orientation"))), 10);
    EXPECT_EQ(gap(place(button("Borderless")), row(segments())), 10);
    EXPECT_EQ(gap(row(segments()), row(slider("Top"))), 10);
    EXPECT_EQ(gap(row(slider("Top")), row(slider("Bottom"))), 10);
    EXPECT_EQ(gap(row(picker("ICC Profile")), row(picker("Rendering"))), 10);
    showImageSize();
    EXPECT_EQ(gap(row(slider("Width")), row(slider("Height"))), 10);
    EXPECT_EQ(gap(row(slider("Height")), place(divider("Margins"))), 10);
    EXPECT_EQ(gap(place(divider("Margins")), place(button("Centered"))), 10);
    EXPECT_EQ(gap(place(button("Centered")), row(slider("Top"))), 10);
    EXPECT_EQ(gap(row(slider("Left")), place(textShown(*panel, "Margins:")->parentWidget())), 10);
}

TEST_F(LooksTest, padsTheContentOfEveryGroup) {
    load({600, 400});
    pm->lastCUPSCommand = "lp";
    QApplication::processEvents();
    // What a group has beyond its content, wherever the style puts its title.
    const auto around = [this](const char* title, const QRect& first, const QRect& last) {
        const QRect group = place(box(title));
        return std::pair(first.top() - group.top(), group.bottom() - last.bottom());
    };
    const QRect scaling = place(scalingMode()->parentWidget());
    const auto usual = around("Scaling", scaling, scaling);
    EXPECT_GE(usual.second, 4);
    EXPECT_EQ(around("Paper", place(picker("Size")->parentWidget()),
                     place(picker("Orientation")->parentWidget())),
              usual);
    EXPECT_EQ(around("Printer", place(picker("Printer")->parentWidget()), place(button("Refresh"))),
              usual);
    const QRect command = place("lp");
    EXPECT_EQ(around("Command", command, command), std::pair(usual.first + 4, usual.second + 4));
}

TEST_F(LooksTest, standsThePresetsTextInLineWithTheOtherItems) {
    pm->savePreset("l");
    QAbstractButton* preset = button("l");
    const QImage image = panel->widget()->grab().toImage();
    const QRect row = place(preset);
    const QRect line = place(divider("Presets"));
    const QRgb ground = image.pixel(row.left() + 1, row.center().y());
    int ink = row.right();
    for (int y = row.top(); y <= row.bottom(); ++y)
        for (int x = row.left(); x < ink; ++x)
            if (image.pixel(x, y) != ground)
                ink = x;
    EXPECT_NEAR(ink, line.left() + 1, 1) << "an l, or the A below it, has no more beside it";
    EXPECT_LT(row.left(), line.left()) << "the wash under the pointer overhangs";
    EXPECT_EQ(place(button("Delete l")).right(), line.right());
}

TEST_F(LooksTest, keepsNothingOfAFormerFontPaletteOrStyle) {
    load({600, 400});
    pm->savePreset("One");
    pm->lastPrintError = "Print failed";
    pm->borderless = true;
    pm->selectedPaperSizeID = "gone";
    const auto painted = [](SettingsPanel& any) {
        // A text that wraps hears of its width after what holds it.
        for (int round = 0; round < 4; ++round) {
            QApplication::processEvents();
            any.widget()->resize(any.widget()->sizeHint());
        }
        return any.widget()->grab().toImage();
    };
    for (const bool borderless : {true, false}) {
        pm->borderless = borderless;
        showImageSize();
        const QImage before = painted(*panel);
        for (const char* style : {"Fusion", "Windows"}) {
            QApplication::setStyle(style);
            const WithPalette dark(darkPalette());
            const WithFontSize large(12);
            SettingsPanel another(*pm);
            another.resize(panel->size());
            another.show();
            EXPECT_EQ(painted(*panel), painted(another)) << style;
            EXPECT_NE(painted(*panel), before) << style;
        }
        QApplication::setStyle("Fusion");
        EXPECT_EQ(painted(*panel), before) << "as it was at first";
    }
}

TEST_F(LooksTest, leavesEachControlItsHeightHoweverLateItIsShown) {
    load({600, 400});
    for (const double points : {9.0, 16.0}) {
        const WithFontSize font(points);
        for (const char* profile : {"gone", "printer_managed"})
            for (const bool borderless : {true, false}) {
                pm->selectedICCProfileID = profile;
                pm->borderless = borderless;
                QTest::qWait(1);
                for (Picker* found : shown<Picker>(*panel))
                    EXPECT_GE(found->height(), found->minimumSizeHint().height())
                        << accessibleName(found).toStdString() << " at " << points;
                for (QAbstractButton* found : shown<QAbstractButton>(*panel))
                    EXPECT_GE(found->height(), found->minimumSizeHint().height())
                        << accessibleName(found).toStdString() << " at " << points;
            }
    }
}

TEST_F(LooksTest, followsAThemeThatSaysNoMoreThanThatItHasChanged) {
    load({600, 400});
    pm->savePreset("One");
    struct Silence : QObject {
        bool eventFilter(QObject*, QEvent* event) override {
            return event->type() == QEvent::ApplicationFontChange;
        }
    };
    std::optional<Silence> silence(std::in_place);
    qApp->installEventFilter(&*silence);
    const WithFontSize large(14);
    silence.reset();
    QEvent theme(QEvent::ThemeChange);
    QCoreApplication::sendEvent(panel->window(), &theme);
    QApplication::processEvents();
    SettingsPanel another(*pm);
    another.resize(panel->size());
    another.show();
    QApplication::processEvents();
    const auto fonts = [](SettingsPanel& any) {
        QStringList all;
        for (QWidget* widget : any.widget()->findChildren<QWidget*>())
            all << QString("%1 %2").arg(widget->metaObject()->className(),
                                        widget->font().toString());
        return all;
    };
    EXPECT_EQ(fonts(*panel), fonts(another));
    EXPECT_EQ(button("Print")->font().pointSizeF(), 14);
}

TEST_F(LooksTest, hasItsItemsFromTopToBottom) {
    load({600, 400});
    showImageSize();
    pm->lastCUPSCommand = "lp";
    pm->lastPrintError = "Print failed";
    QApplication::processEvents();
    const std::vector<std::pair<const char*, QWidget*>> items{
        {"Borderless", button("Borderless")},
        {"Mode", segments()},
        {"Width", slider("Width")},
        {"Height", slider("Height")},
        {"divider", divider("Margins")},
        {"Centered", button("Centered")},
        {"Top", slider("Top")},
        {"Left", slider("Left")},
        {"summary", textShown(*panel, "Margins:")},
        {"Scaling", box("Scaling")},
        {"Color", box("Color")},
        {"Print", button("Print")},
        {"Show CUPS Command", button("Show CUPS Command")},
        {"Command", box("Command")},
        {"error", textShown(*panel, "Print failed")},
    };
    for (std::size_t i = 1; i < items.size(); ++i)
        EXPECT_GT(place(items[i].second).top(), place(items[i - 1].second).bottom())
            << items[i].first << " below " << items[i - 1].first;
}

} // namespace
} // namespace lumivert
