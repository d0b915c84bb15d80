#include "platform/packagekit/PackageKitFailures.h"

#include "platform/packagekit/PackageKitTransaction.h"

#include <QDBusError>

#include <span>
#include <utility>

namespace lumivert {

namespace {

using Problems = std::span<const std::pair<uint, UpdateProblem>>;

// The error numbers of PackageKit (PK_ERROR_ENUM_… of packagekit-glib2 1.2.6) that can be told
// apart in words.
constexpr std::pair<uint, UpdateProblem> problemsByCode[] = {
    {2, UpdateProblem::noNetwork},
    {5, UpdateProblem::untrusted},          // GPG failure
    {10, UpdateProblem::sourcesUnreadable}, // package download failed
    {17, UpdateProblem::interrupted},       // transaction cancelled
    {26, UpdateProblem::busy},              // cannot get lock
    {30, UpdateProblem::untrusted},         // bad GPG signature
    {31, UpdateProblem::untrusted},         // missing GPG signature
    {33, UpdateProblem::sourcesUnreadable}, // repository configuration error
    {37, UpdateProblem::sourcesUnreadable}, // repository not available
    {43, UpdateProblem::sourcesUnreadable}, // no more mirrors to try
    {46, UpdateProblem::noSpace},
    {48, UpdateProblem::notAuthorized},
    {50, UpdateProblem::untrusted},         // cannot install from an unsigned repository
    {51, UpdateProblem::untrusted},         // cannot update from an unsigned repository
    {64, UpdateProblem::sourcesUnreadable}, // cannot fetch sources
    {65, UpdateProblem::interrupted},       // cancelled for one of higher priority
    {67, UpdateProblem::busy},              // lock required
};

// The same by PK_EXIT_ENUM_…
constexpr std::pair<uint, UpdateProblem> problemsByExit[] = {
    {3, UpdateProblem::interrupted}, // cancelled
    {6, UpdateProblem::interrupted}, // killed
    {8, UpdateProblem::untrusted},   // would need untrusted packages
    {9, UpdateProblem::interrupted}, // cancelled for one of higher priority
};

UpdateProblem problemOf(uint number, Problems problems) {
    for (const auto& [known, problem] : problems)
        if (known == number)
            return problem;
    return UpdateProblem::other;
}

} // namespace

std::optional<UpdateFailed> packageKitFailure(uint exit, std::optional<uint> code,
                                              const QString& details) {
    // An error beside a success is a warning.
    if (exit == packageKitSuccess)
        return std::nullopt;
    return UpdateFailed{code ? problemOf(*code, problemsByCode) : problemOf(exit, problemsByExit),
                        details.trimmed().toStdString()};
}

UpdateFailed packageKitCallFailure(const QDBusMessage& error, bool created) {
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
