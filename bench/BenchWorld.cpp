#include "BenchWorld.h"

#include <unistd.h>

namespace lumivert::bench {

BenchWorld::BenchWorld() = default;

AppServices BenchWorld::appServices() {
    const AppServices real = m_services.appServices();
    const Platform& p = real.platform;
    return {.platform = {m_processes, p.files, p.preferences, p.decodeImage,
                         p.colorSpaceFromProfile, p.createPdf, p.dispatcher,
                         [](const std::string& path) { ::unlink(path.c_str()); }, p.randomUuid,
                         p.writeLine},
            .updates = real.updates,
            .providersOf = real.providersOf,
            .firstWindowPainted = real.firstWindowPainted};
}

} // namespace lumivert::bench
