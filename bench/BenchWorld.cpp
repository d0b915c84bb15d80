#include "BenchWorld.h"

#include <QStandardPaths>

#include <filesystem>
#include <unistd.h>

namespace lumivert::bench {

void forgetPreferences() {
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/Lumivert";
    std::filesystem::remove_all(folder.toStdString());
}

BenchWorld::BenchWorld() {
    forgetPreferences();
}

AppServices BenchWorld::appServices() {
    const AppServices real = m_services.appServices();
    const Platform& p = real.platform;
    return {.platform = {[](const auto&, const auto&) { return ProcessOutcome{}; }, p.files,
                         p.preferences, p.decodeImage, p.colorSpaceFromProfile, p.writePdf,
                         p.dispatcher, [](const std::string& path) { ::unlink(path.c_str()); },
                         p.randomUuid, p.writeLine},
            .updates = real.updates,
            .providersOf = real.providersOf,
            .firstWindowPainted = real.firstWindowPainted};
}

} // namespace lumivert::bench
