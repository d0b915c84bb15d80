#include "views/SettingsPanel.h"

#include "views/PanelFixture.h"

#include <QHelpEvent>
#include <QScrollBar>
#include <QToolTip>

namespace lumivert {
namespace {

TEST_F(PanelTest, isThreeHundredAndTwentyWide) {
    EXPECT_EQ(panel->width(), 320);
    EXPECT_EQ(panel->minimumWidth(), 320);
    EXPECT_EQ(panel->maximumWidth(), 320);
}

TEST_F(PanelTest, showsItsGroupsInTheirOrder) {
    EXPECT_EQ(groups(),
              (QStringList{"Presets", "Printer", "Paper", "Margins", "Scaling", "Color"}));
    load({600, 400});
    pm->sendToCUPS(true);
    EXPECT_EQ(groups(), (QStringList{"Image", "Presets", "Printer", "Paper", "Margins", "Scaling",
                                     "Color", "Command"}));
}

TEST_F(PanelTest, leavesTwentyBetweenItsItems) {
    load({600, 400});
    QApplication::processEvents();
    const auto bottom = [&](QWidget* widget) {
        return widget->mapTo(panel.get(), QPoint(0, widget->height())).y();
    };
    const auto top = [&](QWidget* widget) { return widget->mapTo(panel.get(), QPoint()).y(); };
    QWidget* printer = control<QGroupBox>(*panel, "Printer");
    QWidget* paper = control<QGroupBox>(*panel, "Paper");
    EXPECT_EQ(top(paper) - bottom(printer), 20);
    EXPECT_EQ(top(button("Show CUPS Command")) - bottom(button("Print")), 20);
    EXPECT_EQ(top(control<QGroupBox>(*panel, "Image")), 16);
    EXPECT_EQ(printer->mapTo(panel.get(), QPoint()).x(), 16);
}

TEST_F(PanelTest, showsTheImagesNameAndPixels) {
    EXPECT_EQ(control<QGroupBox>(*panel, "Image"), nullptr);
    load({6000, 4000}, "/photos/DSC_0001 (1).jpg");
    EXPECT_NE(textShown(*panel, "DSC_0001 (1).jpg"), nullptr);
    EXPECT_NE(textShown(*panel, "6000 × 4000 px"), nullptr);
    button("Change Image...")->click();
    EXPECT_TRUE(pm->showFileImporter);
}

TEST_F(PanelTest, showsNoPixelSizeWithoutAnImageOrItsBitmap) {
    pm->imageURL = FileUrl::fromPath("/photos/one.jpg");
    EXPECT_NE(textShown(*panel, "one.jpg"), nullptr);
    for (QLabel* label : shown<QLabel>(*panel))
        EXPECT_FALSE(label->text().endsWith(" px")) << label->text().toStdString();
    const auto withoutBitmap = std::make_shared<fakes::FakeImage>(PixelSize{10, 10});
    withoutBitmap->pixels = nullptr;
    pm->image = withoutBitmap;
    for (QLabel* label : shown<QLabel>(*panel))
        EXPECT_FALSE(label->text().endsWith(" px")) << label->text().toStdString();
}

TEST_F(PanelTest, listsPrintersWithBlanksForUnderscores) {
    Picker* printers = picker("Printer");
    ASSERT_EQ(printers->count(), 1);
    EXPECT_EQ(printers->itemText(0), "Photo Printer A3");
    pm->availablePrinters = std::vector<Printer>{{"x", "__"}};
    refreshed();
    EXPECT_EQ(printers->itemText(0), "  ");
    EXPECT_EQ(pm->selectedPrinterID.get(), "Photo_Printer_A3");
}

TEST_F(PanelTest, saysWhenThereAreNoPrinters) {
    EXPECT_EQ(textShown(*panel, "No printers found"), nullptr);
    fakes.processes.outcomes.clear();
    button("Refresh")->click();
    ASSERT_NE(textShown(*panel, "No printers found"), nullptr);
    EXPECT_EQ(picker("Printer")->count(), 0);
    fakes.addQueue("Found");
    button("Refresh")->click();
    EXPECT_EQ(textShown(*panel, "No printers found"), nullptr);
    EXPECT_EQ(picker("Printer")->itemText(0), "Found");
}

TEST_F(PanelTest, loadsSizesAndThenMediaWhenThePrinterChanges) {
    fakes.addQueue("Second");
    pm->detectPrinters();
    fakes.processes.commands.clear();
    fakes.files.reads.clear();
    QStringList loaded;
    const auto sizes = pm->availablePaperSizes.subscribe([&] { loaded << "sizes"; });
    const auto types = pm->availablePaperTypes.subscribe([&] { loaded << "types"; });
    QTest::keyClick(picker("Printer"), Qt::Key_Down);
    EXPECT_EQ(loaded.join(", "), "sizes, types");
    ASSERT_EQ(pm->selectedPrinterID.get(), "Second");
    const std::vector<std::string> twice(2, "lpoptions -p Second -l 2>/dev/null");
    EXPECT_EQ(fakes.processes.commands, twice) << "once for sizes, once for media";
    fakes.processes.commands.clear();
    pm->selectedPrinterID = "Photo_Printer_A3";
    EXPECT_EQ(fakes.processes.commands.size(), 2U) << "also by code";
}

TEST_F(PanelTest, loadsNothingWhenThePrinterIsAssignedAgain) {
    fakes.processes.commands.clear();
    pm->selectedPrinterID = pm->selectedPrinterID.get();
    EXPECT_TRUE(fakes.processes.commands.empty());
}

TEST_F(PanelTest, loadsNothingForTheSelectionThatItFinds) {
    fakes.processes.commands.clear();
    const SettingsPanel another(*pm);
    EXPECT_TRUE(fakes.processes.commands.empty());
}

TEST_F(PanelTest, tellsOfASizeThatHasNoMeasureOfItsOwn) {
    const auto description = [this] {
        return QAccessible::queryAccessibleInterface(picker("Size"))
            ->text(QAccessible::Description);
    };
    EXPECT_EQ(picker("Size")->toolTip(), "");
    EXPECT_EQ(description(), "Paper");

    fakes.files.files["/etc/cups/ppd/Photo_Printer_A3.ppd"] =
        "*PaperDimension A4: \"595 842\"\n*PaperDimension A3/A3: \"842 1191\"\n";
    pm->loadPaperSizes("Photo_Printer_A3");
    EXPECT_EQ(picker("Size")->toolTip(), "") << "A4 has its own";
    pm->selectedPaperSizeID = "A3";
    for (const QString& told : {picker("Size")->toolTip(), description()}) {
        EXPECT_TRUE(told.contains("A3 (210 × 297 mm): the printer's driver states no measure"));
        EXPECT_TRUE(told.contains("\"sudo lumivert-prepare-queue Photo_Printer_A3\""));
    }
    EXPECT_TRUE(description().startsWith("Paper. "));
    pm->selectedPaperSizeID = "A4";
    EXPECT_EQ(description(), "Paper");
}

TEST_F(PanelTest, bindsThePaperPickers) {
    EXPECT_EQ(picker("Size")->currentText().toStdString(), pm->selectedPaperSize().name);
    QTest::keyClick(picker("Size"), Qt::Key_Down);
    EXPECT_EQ(pm->selectedPaperSizeID.get(), pm->availablePaperSizes.get()[1].id);
    QTest::keyClick(picker("Type"), Qt::Key_End);
    EXPECT_EQ(pm->selectedPaperTypeID.get(), pm->availablePaperTypes->back().id);
    QTest::keyClick(picker("Orientation"), Qt::Key_End);
    EXPECT_EQ(pm->orientation.get(), PaperOrientation::landscape);
    pm->orientation = PaperOrientation::portrait;
    EXPECT_EQ(picker("Orientation")->currentText(), "Portrait");
    pm->selectedPaperSizeID = "unheard of";
    EXPECT_EQ(picker("Size")->currentIndex(), -1);
    EXPECT_EQ(pm->selectedPaperSizeID.get(), "unheard of");
}

TEST_F(PanelTest, bindsTheScalingPicker) {
    Picker* scaling = nullptr;
    for (Picker* candidate : shown<Picker>(*panel))
        if (accessibleName(candidate) == "Mode")
            scaling = candidate;
    ASSERT_NE(scaling, nullptr);
    EXPECT_EQ(scaling->currentText(), "Fit to Page");
    QTest::keyClick(scaling, Qt::Key_Down);
    EXPECT_EQ(pm->scalingMode.get(), ScalingMode::fillPage);
}

TEST_F(PanelTest, showsTheIntentOnlyForAProfileAndKeepsIt) {
    pm->availableICCProfiles =
        std::vector<ICCProfile>{printerManagedProfile(), {"p", "My Paper", "/p.icc", false}};
    EXPECT_EQ(picker("Rendering"), nullptr);
    QTest::keyClick(picker("ICC Profile"), Qt::Key_Down);
    EXPECT_EQ(pm->selectedICCProfileID.get(), "p");
    ASSERT_NE(picker("Rendering"), nullptr);
    EXPECT_EQ(picker("Rendering")->count(), 4);
    QTest::keyClick(picker("Rendering"), Qt::Key_Down);
    EXPECT_EQ(pm->renderingIntent.get(), RenderingIntent::relative);
    pm->selectedICCProfileID = "printer_managed";
    EXPECT_EQ(picker("Rendering"), nullptr);
    EXPECT_EQ(pm->renderingIntent.get(), RenderingIntent::relative);
    pm->selectedICCProfileID = "gone";
    EXPECT_NE(picker("Rendering"), nullptr) << "by the stored id, listed or not";
    EXPECT_EQ(picker("ICC Profile")->currentIndex(), -1);
}

TEST_F(PanelTest, printsOnlyWithAnImage) {
    EXPECT_FALSE(button("Print")->isEnabled());
    EXPECT_FALSE(button("Show CUPS Command")->isEnabled());
    QTest::keyClick(panel.get(), Qt::Key_P, Qt::ControlModifier);
    QTest::qWait(150);
    EXPECT_FALSE(pm->showConfirmPrint);

    load({600, 400});
    EXPECT_TRUE(button("Print")->isEnabled());
    button("Print")->click();
    EXPECT_TRUE(pm->showConfirmPrint);
    EXPECT_FALSE(pm->lastCUPSCommand.get()) << "nothing is sent from here";
}

TEST_F(PanelTest, printsByItsShortcut) {
    load({600, 400});
    EXPECT_EQ(button("Print")->shortcut(), QKeySequence("Ctrl+P"));
    panel->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    QTest::keyClick(panel.get(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return pm->showConfirmPrint.get(); }));
}

TEST_F(PanelTest, showsTheCommandOfADryRun) {
    load({600, 400});
    button("Show CUPS Command")->click();
    ASSERT_TRUE(pm->lastCUPSCommand.get());
    auto* command = qobject_cast<QTextEdit*>(
        textShown(*panel, QString::fromStdString(*pm->lastCUPSCommand.get())));
    ASSERT_NE(command, nullptr);
    EXPECT_TRUE(command->textInteractionFlags() & Qt::TextSelectableByMouse);
    EXPECT_TRUE(QFontInfo(command->font()).fixedPitch());
    EXPECT_EQ(fakes.opened.size(), 1U) << "a dry run";
}

TEST_F(PanelTest, showsTheLastErrorInRed) {
    pm->lastPrintError = "Print failed: lp: it is <gone>\n";
    QWidget* error = textShown(*panel, "Print failed: lp: it is <gone>\n");
    ASSERT_NE(error, nullptr);
    const QColor color = error->palette().color(QPalette::Text);
    EXPECT_GT(color.red(), 2 * color.green());
    pm->lastPrintError = std::nullopt;
    EXPECT_EQ(textShown(*panel, "Print failed: lp: it is <gone>\n"), nullptr);
}

TEST_F(PanelTest, neverScrollsSideways) {
    const std::string word(400, 'W');
    load({600, 400}, "/photos/" + word + ".jpg");
    pm->availablePrinters = std::vector<Printer>{{"Photo_Printer_A3", word}};
    pm->availablePaperSizes = std::vector<PaperSize>{{"A4", word, 210, 297, "A4", std::nullopt}};
    pm->availablePaperTypes = std::vector<PaperType>{{"auto", word, "auto"}};
    pm->availableICCProfiles =
        std::vector<ICCProfile>{{"printer_managed", word, std::nullopt, false}};
    pm->savePreset(word);
    pm->lastPrintError = word;
    pm->lastCUPSCommand = word;
    pm->sizingMode = SizingMode::imageSize;
    pm->imageWidthMM = 123456.7;
    pm->imageSizeCentered = false;
    pm->imageSizeMarginTop = 1234567.8;
    for (const double points : {9.0, 14.0}) {
        const WithFontSize font(points);
        QWidget* content = panel->widget();
        EXPECT_LE(content->width(), panel->viewport()->width()) << points;
        EXPECT_EQ(panel->horizontalScrollBar()->maximum(), 0) << points;
        for (QWidget* widget : shown<QWidget>(*content))
            EXPECT_LE(widget->mapTo(content, QPoint(widget->width(), 0)).x(), 304)
                << widget->metaObject()->className() << " "
                << accessibleName(widget).left(20).toStdString() << " at " << points;
    }
}

TEST_F(PanelTest, keepsItsColumnWhenTheScrollBarComes) {
    panel->resize(320, 4000);
    QApplication::processEvents();
    ASSERT_FALSE(panel->verticalScrollBar()->isVisible());
    QWidget* group = control<QGroupBox>(*panel, "Paper");
    const QRect before(group->mapTo(panel.get(), QPoint()), group->size());
    panel->resize(320, 500);
    QApplication::processEvents();
    ASSERT_TRUE(panel->verticalScrollBar()->isVisible());
    const QRect after(group->mapTo(panel.get(), QPoint()), group->size());
    EXPECT_EQ(after.left(), before.left());
    EXPECT_EQ(after.width(), before.width());
}

TEST_F(PanelTest, pushesItsContentToTheTop) {
    panel->resize(320, 700);
    QApplication::processEvents();
    const auto bottom = [&] {
        QWidget* print = button("Show CUPS Command");
        return print->mapTo(panel->widget(), QPoint(0, print->height())).y();
    };
    const int before = bottom();
    panel->resize(320, 3000);
    QApplication::processEvents();
    EXPECT_EQ(bottom(), before);
}

TEST_F(PanelTest, isWalkedThroughInTheOrderOfItsItems) {
    load({600, 400});
    pm->savePreset("One");
    panel->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    button("Change Image...")->setFocus();
    QStringList names;
    for (int i = 0; i < 24; ++i) {
        names << accessibleName(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(names.join(", "),
              "Change Image..., One, Delete One, Save Current Settings, Printer, Refresh, Size, "
              "Type, Orientation, Borderless, Margins, Top, 5.0 mm, Bottom, 5.0 mm, Left, 5.0 mm, "
              "Right, 5.0 mm, Mode, "
              "ICC Profile, Print, Show CUPS Command, Change Image...");
}

TEST_F(PanelTest, scrollsToANewCommandAndANewError) {
    panel->resize(320, 300);
    QApplication::processEvents();
    const auto isInView = [this](const char* words) {
        QWidget* found = textShown(*panel, words);
        return found && panel->viewport()->rect().intersects(
                            {found->mapTo(panel->viewport(), QPoint()), found->size()});
    };
    pm->lastCUPSCommand = "lp one";
    EXPECT_TRUE(QTest::qWaitFor([&] { return isInView("lp one"); }, 1000));
    panel->verticalScrollBar()->setValue(0);
    pm->lastPrintError = "Print failed";
    EXPECT_TRUE(QTest::qWaitFor([&] { return isInView("Print failed"); }, 1000));
    panel->verticalScrollBar()->setValue(0);
    pm->lastPrintError = std::nullopt;
    QTest::qWait(20);
    EXPECT_EQ(panel->verticalScrollBar()->value(), 0) << "what goes is not looked for";
}

TEST_F(PanelTest, doesNotScrollUnderAPersonWhoDragsSomething) {
    panel->resize(320, 300);
    QApplication::processEvents();
    QTest::mousePress(panel->windowHandle(), Qt::LeftButton, {}, {5, 5});
    pm->lastCUPSCommand = "lp one";
    QTest::qWait(50);
    EXPECT_EQ(panel->verticalScrollBar()->value(), 0);
    QTest::mouseRelease(panel->windowHandle(), Qt::LeftButton, {}, {5, 5});
    pm->lastCUPSCommand = "lp two";
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->verticalScrollBar()->value() > 0; }, 1000));
}

TEST_F(PanelTest, scrollsToTheWholeErrorOfAFailedPrint) {
    const std::string words = "Print failed: lp: Error - The printer or class does not exist.";
    panel->resize(320, 300);
    for (const double points : {9.0, 16.0}) {
        const WithFontSize font(points);
        pm->lastCUPSCommand = std::nullopt;
        pm->lastPrintError = std::nullopt;
        QTest::qWait(20);
        panel->verticalScrollBar()->setValue(0);
        pm->lastCUPSCommand = "lp -d Photo_Printer_A3 -o PageSize=A4 -o MediaType=Glossy";
        pm->lastPrintError = words;
        const auto isWhole = [&] {
            QWidget* error = textShown(*panel, QString::fromStdString(words));
            return error && panel->viewport()->rect().contains(
                                {error->mapTo(panel->viewport(), QPoint()), error->size()});
        };
        EXPECT_TRUE(QTest::qWaitFor(isWhole, 1000)) << points;
    }
}

TEST_F(PanelTest, tellsAssistiveTechnologyOfAnErrorAsANotice) {
    pm->lastPrintError = "Print failed: no paper";
    QApplication::processEvents();
    QWidget* notice = textShown(*panel, "Print failed: no paper")->parentWidget();
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(notice);
    EXPECT_EQ(interface->role(), QAccessible::AlertMessage);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return interface->text(QAccessible::Name) == "Print failed: no paper"; }, 1000));
}

} // namespace
} // namespace lumivert
