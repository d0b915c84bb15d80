#include "views/ContentView.h"

#include "views/PreviewPanel.h"
#include "views/SettingsPanel.h"
#include "views/ViewFixture.h"
#include "views/preview/PaperPreview.h"

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFocusFrame>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>

namespace lumivert {
namespace {

/// What a dropped item was asked for, to be answered when the test says so.
struct Request {
    int item; // which of the dropped ones
    std::string type;
    std::function<void(std::optional<std::string>)> completion;
};

bool pointerIsBusy() {
    const QCursor* pointer = QApplication::overrideCursor();
    return pointer && pointer->shape() == Qt::WaitCursor;
}

class PaintCount : public QObject {
public:
    explicit PaintCount(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint;
        return false;
    }
    int count = 0;
};

class ContentViewTest : public ViewTest {
protected:
    ContentViewTest() {
        window = std::make_unique<ContentView>(
            *pm, fakes.dispatcher,
            [this](const QMimeData& mime) {
                return providers(static_cast<int>(mime.urls().size()));
            },
            nullptr, [] { return "CUPS 2.4.2"; });
        window->show();
        QApplication::processEvents();
        fakes.images.images["/photos/one.jpg"] =
            std::make_shared<fakes::FakeImage>(PixelSize{300, 200});
    }

    ItemProviders providers(int count) {
        ItemProviders made;
        for (int i = 0; i < count; ++i)
            made.push_back([this, i](const std::string& type, auto completion) {
                requests.push_back({i, type, std::move(completion)});
            });
        return made;
    }
    template <class Dialog>
    Dialog* dialog() {
        return visibleOf<Dialog>(*window);
    }
    QAction* action(const QString& text) {
        for (QAction* found : window->findChildren<QAction*>())
            if (found->text() == text)
                return found;
        return nullptr;
    }
    bool drop(QMimeData& mime, Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction) {
        QDragEnterEvent enter(QPoint(30, 30), offered, &mime, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();
        QApplication::sendEvent(window.get(), &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent event(QPointF(30, 30), offered, &mime, Qt::LeftButton, Qt::NoModifier);
        event.setDropAction(Qt::MoveAction);
        QApplication::sendEvent(window.get(), &event);
        EXPECT_EQ(event.dropAction(), Qt::CopyAction) << "the source must keep the file";
        return event.isAccepted();
    }

    std::vector<Request> requests;
    std::unique_ptr<ContentView> window;
};

TEST_F(ContentViewTest, opensAtItsFirstSizeAndHasALeastOne) {
    EXPECT_EQ(window->size(), QSize(1100, 750));
    EXPECT_EQ(window->windowTitle(), "");
    window->resize(1, 1);
    QApplication::processEvents();
    EXPECT_EQ(window->centralWidget()->size(), QSize(900, 650));
    EXPECT_EQ(window->size(), QSize(900, 650 + window->menuBar()->height()));
}

TEST_F(ContentViewTest, opensNoLargerThanItsScreen) {
    EXPECT_EQ(ContentView::firstSizeIn({1920, 1200}), QSize(1100, 750));
    EXPECT_EQ(ContentView::firstSizeIn({1024, 768}), QSize(1016, 728)) << "with a frame around it";
    EXPECT_LE(window->height(), window->screen()->availableSize().height());
}

TEST_F(ContentViewTest, givesAllFurtherWidthToThePreview) {
    auto* preview = window->findChild<PreviewPanel*>();
    auto* settings = window->findChild<SettingsPanel*>();
    EXPECT_LT(preview->x(), settings->x());
    for (const int width : {900, 1100, 1900}) {
        window->resize(width, 750);
        QApplication::processEvents();
        EXPECT_EQ(settings->width(), 320) << width;
        EXPECT_GE(preview->width(), width - 320 - 8) << width;
        EXPECT_GE(preview->width(), 500);
    }
}

TEST_F(ContentViewTest, givesTheSheetTheWholeColumnAtAnyFont) {
    for (const double points : {9.0, 16.0}) {
        const WithFontSize font(points);
        ContentView another(*pm, fakes.dispatcher, {}, nullptr, [] { return std::string(); });
        pm->image = nullptr;
        another.show();
        QTest::qWait(1);
        load({600, 400});
        const auto* column = another.findChild<PreviewPanel*>();
        const auto* sheet = another.findChild<PaperPreview*>();
        EXPECT_TRUE(QTest::qWaitFor([&] { return sheet->size() == column->size(); }, 1000))
            << points;
    }
}

TEST_F(ContentViewTest, hasTheApplicationsAndTheFileMenu) {
    QStringList menus;
    for (QAction* menu : window->menuBar()->actions())
        menus << menu->text();
    EXPECT_EQ(menus.join(", "), "&Lumivert, &File");
    QStringList items;
    for (QAction* item : window->applicationMenu()->actions())
        items << item->text();
    EXPECT_EQ(items.join(", "), "About Lumivert, , Quit");
    QStringList fileItems;
    for (QAction* item : window->menuBar()->actions()[1]->menu()->actions())
        fileItems << item->text();
    EXPECT_EQ(fileItems, QStringList{"Open Image..."});
    EXPECT_EQ(action("Quit")->shortcut(), QKeySequence("Ctrl+Q"));
    EXPECT_EQ(action("Open Image...")->shortcut(), QKeySequence("Ctrl+O"));
}

TEST_F(ContentViewTest, drawsADisabledItemOfItsMenuOnce) {
    QMenu* menu = window->applicationMenu();
    action("Quit")->setEnabled(false);
    QPalette marked = darkPalette();
    marked.setColor(QPalette::Light, Qt::magenta);
    for (const char* style : {"Fusion", "Windows"}) {
        QApplication::setStyle(style);
        const WithPalette palette(marked);
        menu->popup(QPoint());
        const QImage image =
            menu->grab(menu->actionGeometry(action("Quit")).adjusted(4, 1, -4, -1)).toImage();
        menu->close();
        int second = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                second += image.pixelColor(x, y).blue() > image.pixelColor(x, y).green() + 60;
        EXPECT_EQ(second, 0) << style;
    }
    QApplication::setStyle("Fusion");
}

TEST_F(ContentViewTest, opensItsMenuByF10) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_F10);
    EXPECT_EQ(window->menuBar()->activeAction(), window->applicationMenu()->menuAction());
    QTest::keyClick(window->applicationMenu(), Qt::Key_Return);
    ASSERT_NE(dialog<QDialog>(), nullptr) << "its first item";
    dialog<QDialog>()->close();
}

TEST_F(ContentViewTest, opensEachMenuByItsLetter) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    for (const auto& [key, menu] : {std::pair(Qt::Key_L, 0), std::pair(Qt::Key_F, 1)}) {
        QMenu* opened = window->menuBar()->actions()[menu]->menu();
        QTest::keyClick(window.get(), key, Qt::AltModifier);
        EXPECT_TRUE(opened->isVisible()) << menu;
        EXPECT_FALSE(window->findChild<QFocusFrame*>()->isVisible()) << "around the menu bar";
        opened->close();
        window->menuBar()->setActiveAction(nullptr);
    }
}

TEST_F(ContentViewTest, pressesTheFocusedButtonByReturn) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    auto* box = control<QAbstractButton>(*window, "Borderless");
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return pm->borderless.get(); }, 1000));
}

TEST_F(ContentViewTest, hasANameOfItsOwn) {
    EXPECT_EQ(accessibleName(window.get()), "Lumivert");
}

TEST_F(ContentViewTest, tellsAboutItself) {
    QApplication::setApplicationVersion("7.8.9");
    for (const double points : {8.0, 10.0, 16.0}) {
        const WithFontSize font(points);
        action("About Lumivert")->trigger();
        QDialog* about = dialog<QDialog>();
        ASSERT_NE(about, nullptr);
        EXPECT_EQ(accessibleName(about), "Lumivert 7.8.9");
        EXPECT_NE(textShown(*about, "Lumivert 7.8.9"), nullptr);
        QWidget* label = textShown(*about, "Prints one photograph at a time, exactly.\n"
                                           "Prints through CUPS 2.4.2.\nLicence: MIT");
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->height() / label->fontMetrics().height(), 3) << "none is wrapped";
        EXPECT_EQ(shown<QAbstractButton>(*about).size(), 1U);
        QTest::keyClick(about, Qt::Key_Return);
        EXPECT_FALSE(about->isVisible());
    }
    QApplication::setApplicationVersion({});
}

TEST_F(ContentViewTest, tellsAboutItselfUnderTheIconOfItsDesktopEntry) {
    QTemporaryDir icons;
    QImage icon(64, 64, QImage::Format_RGB32);
    icon.fill(Qt::red);
    ASSERT_TRUE(icon.save(icons.filePath("org.example.Program.png")));
    QIcon::setThemeName("none"); // without a theme nothing is looked up
    QIcon::setFallbackSearchPaths({icons.path()});
    QGuiApplication::setDesktopFileName("org.example.Program");
    action("About Lumivert")->trigger();
    QGuiApplication::setDesktopFileName({});
    QIcon::setFallbackSearchPaths({});
    QIcon::setThemeName({});
    QDialog* about = dialog<QDialog>();
    ASSERT_NE(about, nullptr);
    const QImage image = about->grab().toImage();
    EXPECT_EQ(image.pixelColor(20 + 32, image.height() / 2 - 20), QColor(Qt::red));
    about->close();
}

TEST_F(ContentViewTest, opensTheFileDialogByKeyEvenWithAnImage) {
    load({300, 200});
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
    EXPECT_TRUE(pm->showFileImporter);
    EXPECT_NE(dialog<QFileDialog>(), nullptr);
}

TEST_F(ContentViewTest, loadsTheFileThatIsChosen) {
    QTemporaryDir folder;
    const QString path = folder.filePath("å photo.jpg");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    fakes.images.images[path.toStdString()] = std::make_shared<fakes::FakeImage>(PixelSize{3, 2});
    NotificationCount notifications(*pm);
    pm->showFileImporter = true;
    auto* chooser = dialog<QFileDialog>();
    ASSERT_NE(chooser, nullptr);
    chooser->setDirectory(folder.path());
    chooser->selectFile(path);
    notifications.taken();
    QMetaObject::invokeMethod(chooser, "accept");
    EXPECT_FALSE(pm->showFileImporter);
    ASSERT_TRUE(pm->imageURL.get());
    EXPECT_EQ(pm->imageURL.get()->path(), path.toStdString());
}

TEST_F(ContentViewTest, changesNothingWhenTheFileDialogIsCancelled) {
    pm->showFileImporter = true;
    dialog<QFileDialog>()->reject();
    EXPECT_FALSE(pm->showFileImporter);
    EXPECT_EQ(dialog<QFileDialog>(), nullptr);
    EXPECT_TRUE(fakes.images.decoded.empty());
}

TEST_F(ContentViewTest, startsTheFileDialogWhereTheImageLies) {
    QTemporaryDir folder;
    load({3, 2}, folder.filePath("a.jpg").toStdString());
    pm->showFileImporter = true;
    EXPECT_EQ(dialog<QFileDialog>()->directory(), QDir(folder.path()));
}

TEST_F(ContentViewTest, asksBeforeItPrints) {
    pm->availablePaperTypes = std::vector<PaperType>{{"g", "Premium Glossy", "Glossy"}};
    pm->selectedPaperTypeID = "g";
    pm->borderless = true;
    pm->showConfirmPrint = true;
    auto* alert = dialog<QDialog>();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(accessibleName(alert), "Print");
    EXPECT_NE(textShown(*alert, QString::fromStdString(pm->selectedPaperSize().name) +
                                    "\nPremium Glossy\nBorderless"),
              nullptr);
    pm->showConfirmPrint = false;
    pm->borderless = false;
    pm->showConfirmPrint = true;
    EXPECT_NE(textShown(*dialog<QDialog>(), QString::fromStdString(pm->selectedPaperSize().name) +
                                                "\nPremium Glossy\nWith margins"),
              nullptr);
}

TEST_F(ContentViewTest, printsOnceItIsConfirmed) {
    load({300, 200});
    pm->showConfirmPrint = true;
    NotificationCount notifications(*pm);
    fakes.processes.commands.clear();
    control<QPushButton>(*dialog<QDialog>(), "Print")->click();
    EXPECT_FALSE(pm->showConfirmPrint);
    ASSERT_EQ(fakes.processes.commands.size(), 1U);
    EXPECT_TRUE(fakes.processes.commands[0].starts_with("lp "));
    EXPECT_TRUE(fakes.opened.empty()) << "no dry run";
}

TEST_F(ContentViewTest, showsTheWholeWindowUnderABusyPointerBeforeItWaitsForLp) {
    load({300, 200});
    pm->showConfirmPrint = true;
    QPointer<QDialog> alert = dialog<QDialog>();
    QApplication::processEvents();
    PaintCount paints(*window->findChild<SettingsPanel*>()->widget());
    bool asked = false;
    fakes.processes.willRun = [&](const std::string&) {
        asked = true;
        EXPECT_FALSE(alert && alert->isVisible());
        EXPECT_EQ(paints.count, 1) << "where the alert was";
        EXPECT_TRUE(pointerIsBusy());
    };
    control<QPushButton>(*alert, "Print")->click();
    EXPECT_TRUE(asked);
    EXPECT_FALSE(pointerIsBusy());
}

TEST_F(ContentViewTest, hasABusyPointerWhileItWaitsForTheToolsAndTheDecoder) {
    int asked = 0;
    const auto ask = [&](const std::string&) {
        ++asked;
        EXPECT_TRUE(pointerIsBusy());
    };
    fakes.processes.willRun = ask;
    control<QPushButton>(*window, "Refresh")->click();
    EXPECT_GE(asked, 2);
    asked = 0;
    pm->selectedPrinterID = "another";
    EXPECT_EQ(asked, 2);
    pm->selectedPrinterID = "Photo_Printer_A3";
    EXPECT_FALSE(pointerIsBusy());

    fakes.images.willDecode = [&] { ask(""); };
    asked = 0;
    window->handleDrop(providers(1));
    requests[0].completion("file:///photos/one.jpg");
    fakes.dispatcher.runMain();
    EXPECT_EQ(asked, 1);

    fakes.pdf.willWrite = [&] { ask(""); };
    control<QPushButton>(*window, "Show CUPS Command")->click();
    EXPECT_EQ(asked, 2);
    EXPECT_FALSE(pointerIsBusy());
}

TEST_F(ContentViewTest, printsNothingWhenThePrintIsCancelled) {
    load({300, 200});
    pm->showConfirmPrint = true;
    fakes.processes.commands.clear();
    control<QPushButton>(*dialog<QDialog>(), "Cancel")->click();
    EXPECT_FALSE(pm->showConfirmPrint);
    EXPECT_TRUE(fakes.processes.commands.empty());
    EXPECT_FALSE(pm->lastCUPSCommand.get());
}

TEST_F(ContentViewTest, hasTheFocusOnTheChangeOfAPhotoThatIsDropped) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    EXPECT_EQ(accessibleName(QApplication::focusWidget()), "Choose File...");
    window->handleDrop(providers(1));
    requests[0].completion("file:///photos/one.jpg");
    fakes.dispatcher.runMain();
    refreshed();
    EXPECT_EQ(accessibleName(QApplication::focusWidget()), "Change Image...");
}

TEST_F(ContentViewTest, refusesADropOfNothing) {
    EXPECT_FALSE(window->handleDrop({}));
}

TEST_F(ContentViewTest, loadsADroppedFileOnTheMainThreadLater) {
    EXPECT_TRUE(window->handleDrop(providers(1)));
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].type, "public.file-url");
    requests[0].completion("file:///photos/one.jpg");
    EXPECT_TRUE(fakes.images.decoded.empty()) << "not within the completion";
    fakes.dispatcher.runMain();
    ASSERT_TRUE(pm->imageURL.get());
    EXPECT_EQ(pm->imageURL.get()->path(), "/photos/one.jpg");
}

TEST_F(ContentViewTest, takesTheFirstOfThreeDroppedFiles) {
    EXPECT_TRUE(window->handleDrop(providers(3)));
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].item, 0);
}

TEST_F(ContentViewTest, letsGoSilentlyOfWhatItCannotUse) {
    for (const std::optional<std::string>& item :
         {std::optional<std::string>{}, std::optional<std::string>("rubbish"),
          std::optional<std::string>("file:///photos/one.webp")}) {
        EXPECT_TRUE(window->handleDrop(providers(1)));
        requests.back().completion(item);
    }
    EXPECT_TRUE(fakes.dispatcher.onMain.empty());
    EXPECT_FALSE(pm->lastPrintError.get());
}

TEST_F(ContentViewTest, forgetsADropWhenItsWindowIsGone) {
    window->handleDrop(providers(1));
    requests[0].completion("file:///photos/one.jpg");
    window.reset();
    fakes.dispatcher.runMain();
    EXPECT_TRUE(fakes.images.decoded.empty());
}

TEST_F(ContentViewTest, takesDropsOfFilesAnywhere) {
    load({300, 200});
    pm->lastCUPSCommand = "lp";
    pm->lastPrintError = "Print failed";
    ASSERT_EQ(shown<QTextEdit>(*window).size(), 2U);
    QMimeData mime;
    mime.setUrls({QUrl("file:///photos/one.jpg"), QUrl("file:///photos/two.jpg")});
    EXPECT_TRUE(drop(mime));
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].item, 0);
    // No child keeps a drop from the window.
    for (QWidget* child : window->findChildren<QWidget*>())
        EXPECT_FALSE(child->acceptDrops() && child->isVisible() && child->isEnabled())
            << child->metaObject()->className();
}

TEST_F(ContentViewTest, refusesADragWithoutFiles) {
    QMimeData mime;
    mime.setText("words");
    EXPECT_FALSE(drop(mime));
    EXPECT_TRUE(requests.empty());
}

TEST_F(ContentViewTest, hasANameForEverythingThatCanBeWorked) {
    load({300, 200});
    pm->savePreset("One");
    pm->selectedICCProfileID = "p";
    for (const SizingMode mode : {SizingMode::margins, SizingMode::imageSize}) {
        pm->sizingMode = mode;
        pm->imageSizeCentered = false;
        for (QWidget* widget : shown<QWidget>(*window)) {
            const bool canBeWorked = (widget->focusPolicy() & Qt::TabFocus) && widget->isEnabled();
            EXPECT_FALSE(canBeWorked && accessibleName(widget).isEmpty())
                << widget->metaObject()->className();
        }
    }
}

} // namespace
} // namespace lumivert
