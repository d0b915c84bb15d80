// lumivert_look FOLDER [PHOTO…]: paints the window in its states, light and dark, into PNG files in
// FOLDER. The print system is made up; photos are decoded for real. QT_SCALE_FACTOR=2 for the other
// density, QT_STYLE_OVERRIDE=Windows for another style.

#include "app/SystemServices.h"
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "views/ContentView.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QPalette>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QStyleFactory>

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

void settle(int milliseconds = 400) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::AllEvents, 20);
}

struct Look {
    QString folder;
    QString suffix;

    void save(QWidget& widget, const QString& name) const {
        settle();
        const QString path = folder + '/' + name + suffix + ".png";
        widget.grab().save(path);
        std::cout << path.toStdString() << "\n";
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
                     .firstWindowPainted = nullptr});
    app.openWindow();
    PrintManager& pm = *app.printManager();
    ContentView& window = *app.window();
    look.save(window, "empty");

    for (const QString& photo : photos) {
        pm.loadImage(FileUrl::fromPath(photo.toStdString()));
        if (QWidget* focused = window.focusWidget())
            focused->clearFocus();
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
    pm.selectedICCProfileID = "gone";
    settle();
    panel->verticalScrollBar()->setValue(panel->verticalScrollBar()->maximum());
    look.save(window, "image-size-lower-and-rendering");
    pm.selectedICCProfileID = profile;

    const QFont usual = QApplication::font();
    QApplication::setFont(QFont(usual.family(), 16));
    settle();
    panel->verticalScrollBar()->setValue(panel->verticalScrollBar()->maximum() / 2);
    look.save(window, "font-of-16");
    QApplication::setFont(usual);

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

    pm.showConfirmPrint = true;
    settle();
    look.save(*window.findChild<QDialog*>(), "confirm");
    pm.showConfirmPrint = false;
    pm.showSavePreset = true;
    settle();
    for (QDialog* dialog : window.findChildren<QDialog*>())
        if (dialog->isVisible())
            look.save(*dialog, "save-preset");
    pm.showSavePreset = false;
    pm.selectedICCProfileID = "gone";
    pm.availablePrinters = std::vector<Printer>{};
    panel->verticalScrollBar()->setValue(0);
    look.save(window, "no-printers");
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (!qEnvironmentVariableIsSet("QT_STYLE_OVERRIDE"))
        QApplication::setStyle(QStyleFactory::create("Fusion"));
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2) {
        std::cerr << "usage: lumivert_look FOLDER [PHOTO...]\n";
        return 2;
    }
    QDir().mkpath(arguments[1]);
    SystemServices services;
    const QString density = qApp->devicePixelRatio() > 1 ? "-2x" : "";
    // Adwaita's are two styles, each with a palette of its own.
    const bool isAdwaita = QApplication::style()->name().startsWith("adwaita");
    QApplication::setPalette(isAdwaita ? QApplication::style()->standardPalette()
                                       : QPalette(QColor(0xef, 0xef, 0xef)));
    lookAt({arguments[1], "-light" + density}, arguments.mid(2), services.appServices());
    if (isAdwaita)
        return 0;
    QApplication::setPalette(darkPalette());
    lookAt({arguments[1], "-dark" + density}, arguments.mid(2), services.appServices());
}
