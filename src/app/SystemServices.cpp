#include "app/SystemServices.h"

#include "platform/pdf/PdfPageWriter.h"
#include "platform/posix/PosixFunctions.h"
#include "platform/qt/QtFunctions.h"

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

SystemServices::SystemServices()
    : m_decoder({.path = decoderPath(),
                 .screenEdge = longestScreenEdge,
                 .inBackground = [this](auto task) {
                     m_dispatcher.asyncInBackground(std::chrono::milliseconds(0), std::move(task));
                 }}) {}

AppServices SystemServices::appServices() {
    return {
        .platform = {
            .runProcess = runProcess,
            .files = m_files,
            .preferences = m_preferences,
            .decodeImage = [this](const FileUrl& url) { return m_decoder.decode(url); },
            .colorSpaceFromProfile =
                [this](SharedBytes profile) { return m_decoder.colorSpace(std::move(profile)); },
            .writePdf = writePdfPage,
            .dispatcher = m_dispatcher,
            .openFile = openFile,
            .randomUuid = randomUuid,
            .writeLine = writeLine},
        .updates = {*m_updateEngine, m_updateDialog, m_updateClock, m_preferences},
        .providersOf = itemProviders,
        .printSystem = printSystemName,
        .firstWindowPainted = [this] { m_decoder.prepareSpare(); },
        .screens = m_screens.get()};
}

} // namespace lumivert
