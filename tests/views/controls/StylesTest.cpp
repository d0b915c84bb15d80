#include "views/controls/Appearance.h"
#include "views/controls/Builders.h"
#include "views/controls/ControlFixture.h"
#include "views/controls/Focus.h"
#include "views/controls/MillimetreRow.h"
#include "views/controls/Picker.h"
#include "views/controls/StepSlider.h"

#include <QHelpEvent>
#include <QImage>
#include <QPainter>
#include <QStyle>
#include <QStyleFactory>
#include <QToolTip>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

// Every control under every style that the machine has, as pixels.
namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<bool> on{this, true};
    Published<SizingMode> mode{this, SizingMode::imageSize};
    Published<ScalingMode> scaling{this, ScalingMode::fitToPage};
    Published<double> length{this, 12.5};
};

struct Look {
    QString style;
    bool dark;
    double points;
    double scale;
};

void PrintTo(const Look& look, std::ostream* out) {
    *out << look.style.toStdString() << (look.dark ? " dark " : " light ") << look.points << " pt "
         << look.scale;
}

std::vector<Look> looks() {
    std::vector<Look> all;
    for (const QString style : {"Fusion", "Windows", "Adwaita", "Adwaita-Dark", "Breeze"})
        if (style.startsWith("Adwaita") || style == "Fusion" || style == "Windows" ||
            QStyleFactory::keys().contains(style))
            for (const bool dark : {false, true})
                for (const double points : {8.0, 10.0, 16.0})
                    for (const double scale : {1.0, 1.5, 2.0})
                        // Adwaita's are two styles, each with a palette of its own.
                        if (!style.startsWith("Adwaita") || dark == style.endsWith("Dark"))
                            all.push_back({style, dark, points, scale});
    return all;
}

class StylesTest : public testing::TestWithParam<Look> {
protected:
    void SetUp() override {
        const Look& look = GetParam();
        std::unique_ptr<QStyle> style(QStyleFactory::create(look.style));
        if (!style)
            GTEST_SKIP() << "this machine lacks the style";
        const bool own = look.style.startsWith("Adwaita");
        const QPalette palette = own         ? style->standardPalette()
                                 : look.dark ? darkPalette()
                                             : QPalette(QColor(0xef, 0xef, 0xef));
        QApplication::setStyle(style.release());
        m_palette.emplace(palette);
        m_font.emplace(look.points);

        root.reset(column(
            10, {button("Print", [] {},
                        {.size = ButtonSize::large,
                         .icon = Icon::printer,
                         .fullWidth = true,
                         .prominent = true}),
                 button("Refresh", [] {}, {.size = ButtonSize::small}),
                 toggle("Borderless", binding(model.on)), segmentedPicker("Mode", model.mode),
                 picker("Scaling", model.scaling),
                 marginSlider("Top", "of the test", binding(model.length), [] { return 50.0; }),
                 flexibleSpace()}));
        root->layout()->setContentsMargins(16, 16, 16, 16);
        ringFocusIn(root.get());
        root->resize(300, 420);
        keepFresh(root.get(), model);
        root->show();
        root->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(root.get()));
        QApplication::processEvents();
    }
    void TearDown() override {
        root.reset();
        m_font.reset();
        m_palette.reset();
        QApplication::setStyle("Fusion");
    }

    QRect place(QWidget* widget) { return {widget->mapTo(root.get(), QPoint()), widget->size()}; }
    QImage painted() {
        const double scale = GetParam().scale;
        QImage image(root->size() * scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        QPainter painter(&image);
        root->render(&painter);
        return image;
    }
    QImage painted(const QRect& place) {
        const double scale = GetParam().scale;
        return painted().copy(
            QRectF(QPointF(place.topLeft()) * scale, QSizeF(place.size()) * scale).toRect());
    }
    /// What most of the pixels are, and the contrast to it of what stands out most.
    static std::pair<QColor, double> groundAndContrast(const QImage& image) {
        std::map<QRgb, int> counts;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                ++counts[image.pixel(x, y)];
        const QColor ground(
            std::ranges::max_element(counts, {}, [](const auto& c) { return c.second; })->first);
        double best = 1;
        for (const auto& [color, count] : counts)
            best = std::max(best, contrastRatio(QColor(color), ground));
        return {ground, best};
    }
    /// The inner part of a button, where its label is and no frame.
    static QRect inner(QRect place) { return place.adjusted(8, 4, -8, -4); }

    Model model;
    std::unique_ptr<QWidget> root;

private:
    std::optional<WithPalette> m_palette;
    std::optional<WithFontSize> m_font;
};

TEST_P(StylesTest, textsStandOutFromTheirGround) {
    for (const char* name : {"Print", "Refresh", "Margins", "Image Size"}) {
        QWidget* widget = control<QAbstractButton>(*root, name);
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_GE(groundAndContrast(painted(inner(place(widget)))).second, leastContrast) << name;
    }
    QRect label = place(control<QAbstractButton>(*root, "Borderless"));
    label.setLeft(label.left() + 24);
    EXPECT_GE(groundAndContrast(painted(label)).second, leastContrast);
    EXPECT_GE(groundAndContrast(painted(inner(place(control<Picker>(*root, "Scaling"))))).second,
              leastContrast);
}

TEST_P(StylesTest, printAndTheChosenSegmentAreFilledAndTheOthersAreNot) {
    const QColor accent = accentFill(QApplication::palette());
    const auto ground = [this](const char* name) {
        return groundAndContrast(painted(inner(place(control<QAbstractButton>(*root, name)))))
            .first;
    };
    EXPECT_EQ(ground("Print"), accent);
    EXPECT_EQ(ground("Image Size"), accent);
    EXPECT_NE(ground("Margins"), accent);
    EXPECT_NE(ground("Refresh"), accent);
    control<QAbstractButton>(*root, "Print")->setDown(true);
    EXPECT_GE(contrastRatio(ground("Print"), accent), 1.3) << "pressed";
}

TEST_P(StylesTest, partsOfControlsStandOutFromTheWindow) {
    const QColor window = QApplication::palette().color(QPalette::Window);
    const auto best = [&](const QRect& area) {
        const QImage image = painted(area);
        double contrast = 1;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                contrast = std::max(contrast, contrastRatio(image.pixelColor(x, y), window));
        return contrast;
    };
    QRect box = place(control<QAbstractButton>(*root, "Borderless"));
    box.setWidth(18);
    model.on = false;
    refreshed();
    EXPECT_GE(best(box), leastPartContrast);
    QRect groove = place(root->findChild<StepSlider*>());
    groove.setLeft(groove.right() - 20);
    EXPECT_GE(best(groove), leastPartContrast) << "of what lies behind the knob";
}

TEST_P(StylesTest, theFocusIsARingOfTwoPointsThatStandsOut) {
    const QColor ring = focusColor(QApplication::palette());
    EXPECT_GE(contrastRatio(ring, QApplication::palette().color(QPalette::Window)),
              leastPartContrast);
    std::vector<QWidget*> all{control<QAbstractButton>(*root, "Print"),
                              control<QAbstractButton>(*root, "Refresh"),
                              control<QAbstractButton>(*root, "Borderless"),
                              control<QAbstractButton>(*root, "Image Size"),
                              control<Picker>(*root, "Scaling"),
                              root->findChild<StepSlider*>()};
    for (QWidget* widget : all) {
        widget->setFocus();
        QApplication::processEvents();
        QWidget* ringed = qobject_cast<SegmentedPicker*>(widget->parentWidget())
                              ? widget->parentWidget()
                              : widget;
        // Down the middle of the upper edge: three points reach beyond the control.
        const QRect around = place(ringed).adjusted(-3, -3, 3, 3);
        const QImage column = painted({around.center().x(), around.top(), 1, 3});
        int thickness = 0;
        for (int y = 0; y < column.height(); ++y)
            thickness += column.pixelColor(0, y) == ring;
        EXPECT_GE(thickness, 2) << widget->metaObject()->className();
    }
}

TEST_P(StylesTest, nothingOverlapsAndNoNameIsCut) {
    std::vector<QRect> places;
    for (QWidget* child : root->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (child->isVisible() && child->findChild<QWidget*>())
            places.push_back(child->geometry());
    for (const char* name : {"Print", "Refresh", "Borderless"}) {
        QWidget* widget = control<QAbstractButton>(*root, name);
        places.push_back(widget->geometry());
        EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << name;
        EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << name;
    }
    ASSERT_GE(places.size(), 5U);
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(places[i].intersects(places[j])) << i << " and " << j;
    const SegmentedPicker* segments = shown<SegmentedPicker>(*root).front();
    EXPECT_GE(segments->width(), segments->sizeHint().width());
}

TEST_P(StylesTest, cutsNothingOfALabelBeneathItsLine) {
    QWidget* label = textShown(*root, "Top:");
    const auto inkHeight = [label] {
        QImage image(label->size() * GetParam().scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(GetParam().scale);
        QPainter painter(&image);
        label->render(&painter);
        int rows = 0;
        for (int y = 0; y < image.height(); ++y) {
            const QRgb* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            rows += !std::all_of(row, row + image.width(), [row](QRgb p) { return p == row[0]; });
        }
        return rows;
    };
    const int shown = inkHeight();
    label->resize(label->size() + QSize(0, 40));
    EXPECT_EQ(shown, inkHeight());
}

TEST_P(StylesTest, pickersShowTheirNamesBesideTheirArrowsInBothDirections) {
    Published<std::string> choice{&model, "none"};
    const auto items = [] {
        return std::vector<PickerItem>{{"short", "Hill"},
                                       {"long", QString("Hill ").repeated(20).toStdString()}};
    };
    Picker picker(items, binding(choice));
    picker.resize(220, picker.sizeHint().height());
    const auto shows = [&](const char* id) {
        choice = id;
        picker.refresh();
        QImage image(picker.size() * GetParam().scale, QImage::Format_RGB32);
        image.setDevicePixelRatio(GetParam().scale);
        QPainter painter(&image);
        picker.render(&painter);
        return image;
    };
    // Where `image` differs much from `ground`.
    const auto ink = [](const QImage& image, const auto& ground) {
        QRect all;
        for (int y = image.height() / 5; y < image.height() * 4 / 5; ++y)
            for (int x = image.width() / 50; x < image.width() * 49 / 50; ++x)
                if (qAbs(qGray(image.pixel(x, y)) - qGray(ground(x, y))) > 60)
                    all |= QRect(x, y, 1, 1);
        return all;
    };
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        picker.setLayoutDirection(direction);
        const QImage empty = shows("none");
        const QRect arrow =
            ink(empty, [&](int, int y) { return empty.pixel(empty.width() / 2, y); });
        ASSERT_FALSE(arrow.isEmpty());
        for (const char* id : {"short", "long"}) {
            const QImage full = shows(id);
            const QRect text = ink(full, [&](int x, int y) { return empty.pixel(x, y); });
            ASSERT_FALSE(text.isEmpty());
            EXPECT_FALSE(text.intersects(arrow)) << id << (direction == Qt::RightToLeft);
            EXPECT_EQ(text.center().x() > arrow.center().x(), direction == Qt::RightToLeft) << id;
            int stem = 0; // of the H, where dots in front of it would be low
            for (int y = text.top(); y <= text.bottom(); ++y)
                stem += std::abs(qGray(full.pixel(text.left(), y)) -
                                 qGray(empty.pixel(text.left(), y))) > 30;
            EXPECT_GT(stem, text.height() / 2) << id << " " << (direction == Qt::RightToLeft);
        }
    }
}

TEST_P(StylesTest, pickersHintIsTheLeastWidthAtWhichNoNameIsCut) {
    Published<std::string> choice{&model, "long"};
    const auto items = [] {
        return std::vector<PickerItem>{{"short", "A4"}, {"long", "Printer Managed (standard)"}};
    };
    Picker picker(items, binding(choice));
    picker.refresh();
    picker.show();
    const auto isCut = [&](int width) {
        picker.resize(width, picker.sizeHint().height());
        QHelpEvent help(QEvent::ToolTip, {5, 5}, picker.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&picker, &help);
        const bool cut = QToolTip::isVisible();
        QToolTip::hideText();
        EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
        return cut;
    };
    const int hint = picker.sizeHint().width();
    EXPECT_FALSE(isCut(hint));
    EXPECT_TRUE(isCut(hint - 1));
}

TEST_P(StylesTest, drawsTheNamesOfDisabledSegmentsOnce) {
    auto* segments = shown<SegmentedPicker>(*root).front();
    const QImage before = painted(place(segments));
    segments->setEnabled(false);
    EXPECT_EQ(painted(place(segments)), before);
}

TEST_P(StylesTest, drawsTheLabelOfAButtonOnce) {
    // Of what some styles draw it with a second time.
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Light, Qt::magenta);
    palette.setColor(QPalette::Midlight, Qt::magenta);
    const WithPalette marked(palette);
    for (const bool isEnabled : {true, false})
        for (const char* name : {"Print", "Refresh"}) {
            auto* button = control<QAbstractButton>(*root, name);
            button->setEnabled(isEnabled);
            const QImage image = painted(inner(place(button)));
            int second = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x) {
                    const QColor color = image.pixelColor(x, y);
                    second += std::min(color.red(), color.blue()) > color.green() + 60;
                }
            EXPECT_EQ(second, 0) << name << (isEnabled ? "" : ", disabled");
        }
}

TEST_P(StylesTest, marksOfTogglesGrowWithTheirTexts) {
    auto* box = control<QAbstractButton>(*root, "Borderless");
    const QImage image = painted(place(box));
    const QRgb accent = accentFill(QApplication::palette()).rgb();
    const QRgb ground = image.pixel(image.width() - 1, 0);
    QRect mark;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width() / 3; ++x)
            if (image.pixel(x, y) == accent)
                mark |= QRect(x, y, 1, 1);
    const double scale = GetParam().scale;
    EXPECT_GE(mark.height(), (box->fontMetrics().height() * 3 / 4 - 4) * scale);
    EXPECT_NEAR(mark.center().y(), image.height() / 2.0, 2 * scale);
    int clear = 0; // between the mark's outline and the text
    for (int x = mark.right() + 1 + static_cast<int>(2 * scale); clear == 0; ++x)
        for (int y = 0; y < image.height(); ++y)
            if (clear == 0 && qAbs(qGray(image.pixel(x, y)) - qGray(ground)) > 60)
                clear = x - mark.right();
    EXPECT_GE(clear, 4 * scale);
    EXPECT_GE(box->sizeHint().width(), (mark.right() + clear) / scale +
                                           box->fontMetrics().horizontalAdvance("Borderless") - 2);
}

INSTANTIATE_TEST_SUITE_P(OfTheMachine, StylesTest, testing::ValuesIn(looks()));

} // namespace
} // namespace lumivert
