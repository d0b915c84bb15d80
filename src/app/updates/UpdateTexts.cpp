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
        return installing
                   ? "You are not allowed to install software here, or the permission was not "
                     "given."
                   : "You are not allowed to look for new software here, or the permission was not "
                     "given.";
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

class Describe {
public:
    UpdateContent operator()(const UpdateChecking& state) const {
        UpdateContent content;
        content.headline = "Checking for updates…";
        content.text = activityText(state.progress.activity);
        content.showsProgress = true;
        content.percent = state.progress.percent;
        content.dismissLabel = "Cancel";
        return content;
    }
    UpdateContent operator()(const UpdateNotNeeded& state) const {
        UpdateContent content;
        content.headline = "Lumivert is up to date";
        content.text = "Version " + state.installedVersion +
                       " is the newest that your package repositories offer.";
        content.dismissLabel = "Close";
        return content;
    }
    UpdateContent operator()(const AvailableUpdate& state) const {
        UpdateContent content;
        content.headline = "Lumivert " + state.version + " is available";
        content.text = "You have version " + state.installedVersion + ".";
        content.notesLabel = "What changes";
        content.notes = state.changes;
        content.offersInstall = true;
        content.dismissLabel = "Later";
        return content;
    }
    UpdateContent operator()(const UpdateInstalling& state) const {
        UpdateContent content;
        content.headline = "Installing Lumivert " + state.version + "…";
        content.text = activityText(state.progress.activity);
        content.showsProgress = true;
        content.percent = state.progress.percent;
        content.dismissLabel = "Hide"; // the installation goes on
        return content;
    }
    UpdateContent operator()(const UpdateInstalled& state) const {
        UpdateContent content;
        content.headline = "Lumivert " + state.version + " is installed";
        content.text = "Restart Lumivert to use it.";
        content.dismissLabel = "Close";
        return content;
    }
    UpdateContent operator()(const UpdateFailed& state) const {
        UpdateContent content;
        content.headline = state.installing ? "The update could not be installed"
                                            : "Lumivert could not check for updates";
        content.text = problemText(state.failure.problem, state.installing);
        content.notesLabel = "Details";
        content.notes = state.failure.details;
        content.dismissLabel = "Close";
        return content;
    }
};

} // namespace

UpdateContent updateContent(const UpdateState& state) {
    return std::visit(Describe(), state);
}

} // namespace lumivert
