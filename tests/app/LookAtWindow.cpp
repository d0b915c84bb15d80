// lumivert_look [-style STYLE] [-reverse] [--points SIZE] FOLDER [PHOTO…]: paints the window in its
// states, and every control in every state, light and dark, into PNG files in FOLDER. The print
// system is made up; photos are decoded for real. QT_SCALE_FACTOR=2 for another density.

#include "app/LookAtControls.h"
#include "app/SystemServices.h"
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "views/ContentView.h"
#include "views/controls/Picker.h"
#include "views/preview/PaperPreview.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QCommandLineParser>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QMenu>
#include <QMenuBar>
#include <QPalette>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>

#include <iostream>
#include <string>

namespace {

using namespace lumivert;

QPalette darkPalette() {
    QPalette palette(QColor(0x31, 0x31, 0x33), QColor(0x2a, 0x2a, 0x2c));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x1f, 0x20));
    palette.setColor(QPalette::Highlight, QColor(0x3b, 0x82, 0xd6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

void settle(int milliseconds = 150) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
}

struct Look {
    QString folder;
    QString suffix;

    void save(const QImage& image, const QString& name) const {
        const QString path = folder + '/' + name + suffix + ".png";
        if (!image.save(path))
            qFatal("%s cannot be written", qPrintable(path));
        std::cout << path.toStdString() << "\n";
    }
    void save(QWidget& widget, const QString& name) const {
        widget.window()->activateWindow();
        settle();
        if (QWidget* focused = widget.focusWidget(); focused && !qobject_cast<QDialog*>(&widget))
            focused->clearFocus();
        QImage image = widget.grab().toImage();
        // A sheet may have been painted as a draft.
        if (auto* preview = widget.findChild<PaperPreview*>(); preview && preview->isVisible())
            for (int turn = 0; !preview->isSettled(); ++turn) {
                if (turn == 100)
                    qFatal("the preview of %s does not settle", qPrintable(name));
                settle();
                image = widget.grab().toImage();
            }
        save(image, name);
    }
    /// What is open above the window.
    void saveDialog(QWidget& window, const QString& name) const {
        settle();
        for (QDialog* dialog : window.findChildren<QDialog*>())
            if (dialog->isVisible())
                save(*dialog, name);
    }
};

void addQueue(fakes::FakePlatform& fakes) {
    fakes.addQueue("Photo_Printer_A3",
                   "PageSize/Media Size: *A4 A4.Fullbleed A3 Letter 4x6.Fullbleed "
                   "Custom.WIDTHxHEIGHT\n"
                   "MediaType/Media Type: *Plain Glossy Matte\n",
                   "*MediaType Plain/Plain Paper: \"\"\n"
                   "*MediaType Glossy/Premium Glossy Photo Paper II, heavy, one side, of a name "
                   "that goes on and on: \"\"\n"
                   "*PaperDimension A4: \"595.27 841.88\"\n"
                   "*PaperDimension A3: \"841.88 1190.55\"\n"
                   "*PaperDimension Letter: \"612 792\"\n");
}

void lookAt(const Look& look, const QStringList& photos, const AppServices& services) {
    fakes::FakePlatform fakes;
    addQueue(fakes);
    const auto& made = fakes.platform;
    const Platform platform{made.runProcess,
                            made.files,
                            made.preferences,
                            services.platform.decodeImage,
                            made.colorSpaceFromProfile,
                            made.writePdf,
                            made.dispatcher,
                            made.openFile,
                            made.randomUuid,
                            made.writeLine};
    LumivertApp app({.platform = platform,
                     .updates = services.updates,
                     .providersOf = services.providersOf,
                     .printSystem = services.printSystem,
                     .firstWindowPainted = nullptr});
    app.openWindow();
    PrintManager& pm = *app.printManager();
    ContentView& window = *app.window();
    look.save(window, "empty");
    look.save(controlsInEveryState(), "controls");
    window.applicationMenu()->actions().front()->trigger();
    look.saveDialog(window, "about");
    for (QDialog* dialog : window.findChildren<QDialog*>())
        dialog->close();

    for (QAction* menu : window.menuBar()->actions()) {
        menu->menu()->popup(window.mapToGlobal(QPoint(0, 40)));
        menu->menu()->setActiveAction(menu->menu()->actions().front());
        settle();
        look.save(menu->menu()->grab().toImage(), "menu-" + menu->text().remove('&').toLower());
        menu->menu()->close();
    }

    for (const QString& photo : photos) {
        pm.loadImage(FileUrl::fromPath(photo.toStdString()));
        look.save(window,
                  "photo-" + QString::fromStdString(pm.imageURL.get()->lastPathComponent()));
    }
    pm.scalingMode = ScalingMode::fillPage;
    pm.margins = Margins{.top = 12.5, .bottom = 25, .left = 7.25, .right = 100};
    pm.selectedPaperTypeID = "Glossy";
    pm.savePreset("Glossy with a border");
    pm.sizingMode = SizingMode::imageSize;
    pm.savePreset("A preset of a name so long that no column is wide enough to show all of it");
    pm.imageSizeCentered = false;
    look.save(window, "image-size");

    auto* panel = window.findChild<QScrollArea*>();
    const std::string profile = pm.selectedICCProfileID;
    std::vector<ICCProfile> profiles = pm.availableICCProfiles;
    profiles.push_back({.id = "paper",
                        .name = "Adobe RGB (1998)",
                        .path = "/usr/share/color/icc/colord/AdobeRGB1998.icc"});
    pm.availableICCProfiles = profiles;
    pm.selectedICCProfileID = "paper";
    settle();
    panel->verticalScrollBar()->setValue(panel->verticalScrollBar()->maximum());
    look.save(window, "image-size-lower-and-rendering");
    pm.selectedICCProfileID = profile;

    const std::string size = pm.selectedPaperSizeID;
    pm.selectedPaperSizeID = "gone";
    pm.borderless = true;
    settle();
    panel->ensureWidgetVisible(panel->findChild<QCheckBox*>(), 0, 200);
    look.save(window, "borderless-warning");
    pm.selectedPaperSizeID = size;
    pm.borderless = false;

    pm.lastCUPSCommand =
        "lp -d Photo_Printer_A3 -o PageSize=A4.Fullbleed -o MediaType=Glossy -o "
        "cupsPrintQuality=High \"/tmp/Lumivert_6F9619FF-8B86-D011-B42D-00C04FC964FF.pdf\"";
    pm.lastPrintError = "Print failed: lp: Error - The printer or class does not exist: "
                        "averyverylongwordwithoutanyplacetobreakit/averyverylongwordwithout\n";
    pm.borderless = true;
    settle();
    panel->verticalScrollBar()->setValue(panel->verticalScrollBar()->maximum());
    look.save(window, "command-and-error");

    look.save(*panel->widget(), "panel-borderless");
    pm.borderless = false;
    look.save(*panel->widget(), "panel-image-size");
    pm.sizingMode = SizingMode::margins;
    look.save(*panel->widget(), "panel-margins");
    Picker* types = panel->findChildren<Picker*>().at(2);
    types->showPopup();
    settle();
    look.save(types->view()->window()->grab().toImage(), "choices");
    types->hidePopup();

    pm.showConfirmPrint = true;
    look.saveDialog(window, "confirm");
    pm.showConfirmPrint = false;
    pm.showSavePreset = true;
    look.saveDialog(window, "save-preset");
    pm.showSavePreset = false;
    pm.selectedICCProfileID = "gone";
    pm.borderless = true;
    pm.availablePrinters = std::vector<Printer>{};
    panel->verticalScrollBar()->setValue(0);
    look.save(window, "no-printers");
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption points("points", "", "size");
    parser.addOption(points);
    parser.process(application);
    QStringList photos = parser.positionalArguments();
    if (photos.isEmpty()) {
        std::cerr << "usage: lumivert_look [--points SIZE] FOLDER [PHOTO...]\n";
        return 2;
    }
    application.setApplicationVersion("1.2.3");
    const QString folder = photos.takeFirst();
    QDir().mkpath(folder);
    if (parser.isSet(points)) {
        QFont font = QApplication::font();
        font.setPointSizeF(parser.value(points).toDouble());
        QApplication::setFont(font);
    }
    SystemServices services;
    const double ratio = qApp->devicePixelRatio();
    const QString density = ratio > 1 ? QString("-%1x").arg(ratio) : QString();
    // Adwaita's are two styles, each with a palette of its own.
    const bool isAdwaita = QApplication::style()->name().startsWith("adwaita");
    for (const bool dark : {false, true}) {
        if (isAdwaita)
            QApplication::setStyle(dark ? "Adwaita-Dark" : "Adwaita");
        QApplication::setPalette(isAdwaita ? QApplication::style()->standardPalette()
                                 : dark    ? darkPalette()
                                           : QPalette(QColor(0xef, 0xef, 0xef)));
        lookAt({folder, (dark ? "-dark" : "-light") + density}, photos, services.appServices());
    }
}
