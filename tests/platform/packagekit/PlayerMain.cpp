#include "platform/packagekit/PackageKitEngine.h"

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <string_view>

// For real-service.sh: does one piece of work on the system's own bus and prints how it ended.
namespace {

using namespace lumivert;

const char* name(UpdateProblem problem) {
    switch (problem) {
    case UpdateProblem::noNetwork:
        return "noNetwork";
    case UpdateProblem::notAuthorized:
        return "notAuthorized";
    case UpdateProblem::noService:
        return "noService";
    case UpdateProblem::serviceLost:
        return "serviceLost";
    case UpdateProblem::notFromRepository:
        return "notFromRepository";
    case UpdateProblem::sourcesUnreadable:
        return "sourcesUnreadable";
    case UpdateProblem::untrusted:
        return "untrusted";
    case UpdateProblem::noSpace:
        return "noSpace";
    case UpdateProblem::busy:
        return "busy";
    case UpdateProblem::interrupted:
        return "interrupted";
    case UpdateProblem::other:
        break;
    }
    return "other";
}

void print(const UpdateState& outcome) {
    if (const auto* current = std::get_if<UpdateNotNeeded>(&outcome))
        std::printf("up to date %s\n", current->installedVersion.c_str());
    else if (const auto* found = std::get_if<AvailableUpdate>(&outcome))
        std::printf("found %s after %s\n%s\n", found->version.c_str(),
                    found->installedVersion.c_str(), found->changes.c_str());
    else if (const auto* installed = std::get_if<UpdateInstalled>(&outcome))
        std::printf("installed %s\n", installed->version.c_str());
    else if (const auto* failure = std::get_if<UpdateFailed>(&outcome))
        std::printf("failed %s\n%s\n", name(failure->problem), failure->details.c_str());
    else
        std::printf("unanswered\n");
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const std::string_view task = argc == 2 ? argv[1] : "";
    if (task != "check" && task != "scheduled" && task != "install") {
        std::fprintf(stderr, "usage: packagekit_player check|scheduled|install\n");
        return 2;
    }
    const auto engine = packageKitEngine("lumivert");
    const auto end = [&] { QTimer::singleShot(0, &application, &QCoreApplication::quit); };
    engine->onState = [&](const UpdateState& state) {
        if (std::holds_alternative<UpdateChecking>(state) ||
            std::holds_alternative<UpdateInstalling>(state))
            return;
        print(state);
        const auto* found = std::get_if<AvailableUpdate>(&state);
        if (task == "install" && found)
            engine->install(AvailableUpdate(*found));
        else
            end();
    };
    engine->check(task == "scheduled" ? UpdateCheckKind::scheduled : UpdateCheckKind::asked);
    return QCoreApplication::exec();
}
