#include "app/SystemServices.h"

#include "app/updates/UpdateDialog.h"
#include "platform/cups/PrintSystemFiles.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/packagekit/PackageKitEngine.h"
#include "platform/pdf/PdfPageContext.h"
#include "platform/posix/PosixFunctions.h"
#include "platform/posix/PosixProcessRunner.h"
#include "platform/qt/DesktopFiles.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtPreferencesStore.h"
#include "platform/qt/QtUpdateClock.h"
#include "platform/screen/DesktopScreenColors.h"
#include "platform/screen/LcmsScreenConversion.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace lumivert {

namespace {

// Beside the program, or where an installed one has it.
std::string decoderPath() {
    const QDir folder(QCoreApplication::applicationDirPath());
    const QString beside = folder.filePath(QStringLiteral("lumivert-decoder"));
    const QString installed = folder.filePath(QStringLiteral("../libexec/lumivert-decoder"));
    return QFile::encodeName(QFile::exists(beside) ? beside : installed).toStdString();
}

/// In device pixels; a window can be moved to any screen.
int longestScreenEdge() {
    double edge = 0;
    for (const QScreen* screen : QGuiApplication::screens()) {
        const QSize size = screen->size();
        edge = std::max(edge, std::max(size.width(), size.height()) * screen->devicePixelRatio());
    }
    return static_cast<int>(std::ceil(edge));
}

} // namespace

// Each goes before those above it.
struct SystemServices::Owned {
    PosixProcessRunner processes;
    PrintSystemFiles files;
    QtPreferencesStore preferences;
    DesktopScreenColors screens{desktopProfiles(), lcmsScreenConversion};
    UpdateDialog updateDialog;
    QtUpdateClock updateClock;
    std::unique_ptr<UpdateEngine> updateEngine = packageKitEngine("lumivert");
    // Its background tasks use the others; the decoder's answers use it.
    QtDispatcher dispatcher;
    DecoderClient decoder{{.path = decoderPath(), .screenEdge = longestScreenEdge}};
};

SystemServices::SystemServices()
    : m_owned(std::make_unique<Owned>()) {}

SystemServices::~SystemServices() = default;

AppServices SystemServices::appServices() {
    Owned& owned = *m_owned;
    return {
        .platform = {
            .processes = owned.processes,
            .files = owned.files,
            .preferences = owned.preferences,
            .decodeImage = [&owned](const FileUrl& url) { return owned.decoder.decode(url); },
            .colorSpaceFromProfile =
                [&owned](SharedBytes profile) {
                    return owned.decoder.colorSpace(std::move(profile));
                },
            .createPdf = createPdfFile,
            .dispatcher = owned.dispatcher,
            .openFile = openFile,
            .randomUuid = randomUuid,
            .writeLine = writeLine},
        .updates = {*owned.updateEngine, owned.updateDialog, owned.updateClock, owned.preferences},
        .providersOf = itemProviders,
        .printSystem = printSystemName,
        .firstWindowPainted = [&owned] { owned.decoder.prepareSpare(); },
        .screens = &owned.screens};
}

} // namespace lumivert
