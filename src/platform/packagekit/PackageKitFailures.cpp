#include "platform/packagekit/PackageKitNames.h"
#include "platform/packagekit/PackageKitTransaction.h"

namespace lumivert {

namespace {

using namespace packagekit;

UpdateProblem problemOfCode(uint code) {
    switch (code) {
    case errors::noNetwork:
        return UpdateProblem::noNetwork;
    case errors::notAuthorized:
        return UpdateProblem::notAuthorized;
    case errors::gpgFailure:
    case errors::badGpgSignature:
    case errors::missingGpgSignature:
    case errors::cannotInstallRepoUnsigned:
    case errors::cannotUpdateRepoUnsigned:
        return UpdateProblem::untrusted;
    case errors::packageDownloadFailed:
    case errors::repoConfigurationError:
    case errors::repoNotAvailable:
    case errors::noMoreMirrors:
    case errors::cannotFetchSources:
        return UpdateProblem::sourcesUnreadable;
    case errors::noSpaceOnDevice:
        return UpdateProblem::noSpace;
    case errors::cannotGetLock:
    case errors::lockRequired:
        return UpdateProblem::busy;
    case errors::transactionCancelled:
    case errors::cancelledPriority:
        return UpdateProblem::interrupted;
    default:
        return UpdateProblem::other;
    }
}

UpdateProblem problemOfExit(uint exit) {
    switch (exit) {
    case exits::needUntrusted:
        return UpdateProblem::untrusted;
    case exits::cancelled:
    case exits::cancelledPriority:
    case exits::killed:
        return UpdateProblem::interrupted;
    default:
        return UpdateProblem::other;
    }
}

} // namespace

std::optional<UpdateFailure> packageKitFailure(uint exit, std::optional<uint> code,
                                               const QString& details) {
    // An error beside a success is a warning.
    if (exit == exits::success)
        return std::nullopt;
    return UpdateFailure{code ? problemOfCode(*code) : problemOfExit(exit),
                         details.trimmed().toStdString()};
}

UpdateFailure packageKitCallFailure(const QDBusMessage& error, bool created) {
    const QString name = error.errorName();
    const std::string details = error.errorMessage().trimmed().toStdString();
    const QDBusError::ErrorType type = QDBusError(error).type();
    if (type == QDBusError::AccessDenied || name.endsWith(QLatin1String(".RefusedByPolicy")) ||
        name.endsWith(QLatin1String(".NotAuthorized")))
        return {UpdateProblem::notAuthorized, details};
    if (type == QDBusError::NoReply || type == QDBusError::TimedOut ||
        type == QDBusError::Timeout || type == QDBusError::Disconnected)
        return {UpdateProblem::serviceLost, details};
    if (type == QDBusError::ServiceUnknown ||
        name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ||
        name.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn.")))
        return {created ? UpdateProblem::serviceLost : UpdateProblem::noService, details};
    return {UpdateProblem::other, details};
}

} // namespace lumivert
