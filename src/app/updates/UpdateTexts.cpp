#include "app/updates/UpdateTexts.h"

#include <variant>

namespace lumivert {

namespace {

std::string activityText(UpdateActivity activity) {
    switch (activity) {
    case UpdateActivity::working:
        break;
    case UpdateActivity::waitingForPermission:
        return "Waiting for permission.";
    case UpdateActivity::waitingForOthers:
        return "Waiting until other software has been installed.";
    }
    return {};
}

std::string problemText(UpdateProblem problem, bool installing) {
    switch (problem) {
    case UpdateProblem::noNetwork:
        return "There is no network connection.";
    case UpdateProblem::notAuthorized:
        return std::string("You are not allowed to ") +
               (installing ? "install software" : "look for new software") +
               " here, or the permission was not given.";
    case UpdateProblem::noService:
        return "This system has no PackageKit service, through which Lumivert is updated. Use the "
               "system's own tools to update it.";
    case UpdateProblem::serviceLost:
        return "The system's PackageKit service stopped, or does not answer.";
    case UpdateProblem::notFromRepository:
        return "This copy of Lumivert was not installed from a package repository. Update it the "
               "way it was installed.";
    case UpdateProblem::sourcesUnreadable:
        return "A package repository could not be read.";
    case UpdateProblem::untrusted:
        return "The new version is not signed by anyone this system trusts.";
    case UpdateProblem::noSpace:
        return "There is not enough room on the disk.";
    case UpdateProblem::busy:
        return "Other software is being installed. Try again when that is done.";
    case UpdateProblem::interrupted:
        return "It was cancelled by the system.";
    case UpdateProblem::other:
        break;
    }
    return "The package manager reported a problem.";
}

struct Describe {
    UpdateContent operator()(const UpdateChecking& state) const {
        return {.headline = "Checking for updates…",
                .text = activityText(state.progress.activity),
                .dismissLabel = "Cancel",
                .progress = state.progress};
    }
    UpdateContent operator()(const UpdateNotNeeded& state) const {
        return {.headline = "Lumivert is up to date",
                .text = "Version " + state.installedVersion +
                        " is the newest that your package repositories offer.",
                .dismissLabel = "Close"};
    }
    UpdateContent operator()(const AvailableUpdate& state) const {
        return {.headline = "Lumivert " + state.version + " is available",
                .text = "You have version " + state.installedVersion + ".",
                .dismissLabel = "Later",
                .notesLabel = "What changes",
                .notes = state.changes,
                .offersInstall = true};
    }
    UpdateContent operator()(const UpdateInstalling& state) const {
        return {.headline = "Installing Lumivert " + state.version + "…",
                .text = activityText(state.progress.activity),
                .dismissLabel = "Hide", // the installation goes on
                .progress = state.progress};
    }
    UpdateContent operator()(const UpdateInstalled& state) const {
        return {.headline = "Lumivert " + state.version + " is installed",
                .text = "Restart Lumivert to use it.",
                .dismissLabel = "Close"};
    }
    UpdateContent operator()(const UpdateFailed& state) const {
        return {.headline = state.installing ? "The update could not be installed"
                                             : "Lumivert could not check for updates",
                .text = problemText(state.problem, state.installing),
                .dismissLabel = "Close",
                .notesLabel = "Details",
                .notes = state.details};
    }
    UpdateContent operator()(const UpdateUnanswered& /*never shown*/) const { return {}; }
};

} // namespace

UpdateContent updateContent(const UpdateState& state) {
    return std::visit(Describe(), state);
}

} // namespace lumivert
