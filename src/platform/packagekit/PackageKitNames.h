#pragma once

#include <QString>

// The names and numbers of the PackageKit 1.2 D-Bus interface (its introspection files, and the
// enumerations of packagekit-glib2 1.2.6).
namespace lumivert::packagekit {

/// Newer versions also answer to "org.freedesktop.packagekit1": this is the one place to change.
inline QString serviceName() {
    return QStringLiteral("org.freedesktop.PackageKit");
}
inline QString servicePath() {
    return QStringLiteral("/org/freedesktop/PackageKit");
}
inline QString serviceInterface() {
    return serviceName();
}
inline QString transactionInterface() {
    return serviceName() + QStringLiteral(".Transaction");
}

// Filters and flags travel as bit fields; these are the bits set.
inline constexpr qulonglong filterNone = 1ULL << 1;
inline constexpr qulonglong filterInstalled = 1ULL << 2;
inline constexpr qulonglong flagOnlyTrusted = 1ULL << 1;

/// The low half of a package's info; the high half may carry the severity of an update.
inline constexpr uint infoMask = 0xffff;
inline constexpr uint infoInstalled = 1;
inline constexpr uint infoBlocked = 9;

namespace exits {
inline constexpr uint success = 1;
inline constexpr uint failed = 2;
inline constexpr uint cancelled = 3;
inline constexpr uint killed = 6;
inline constexpr uint needUntrusted = 8;
inline constexpr uint cancelledPriority = 9;
} // namespace exits

namespace errors {
inline constexpr uint noNetwork = 2;
inline constexpr uint gpgFailure = 5;
inline constexpr uint packageDownloadFailed = 10;
inline constexpr uint transactionCancelled = 17;
inline constexpr uint cannotGetLock = 26;
inline constexpr uint badGpgSignature = 30;
inline constexpr uint missingGpgSignature = 31;
inline constexpr uint repoConfigurationError = 33;
inline constexpr uint repoNotAvailable = 37;
inline constexpr uint noMoreMirrors = 43;
inline constexpr uint noSpaceOnDevice = 46;
inline constexpr uint notAuthorized = 48;
inline constexpr uint cannotInstallRepoUnsigned = 50;
inline constexpr uint cannotUpdateRepoUnsigned = 51;
inline constexpr uint cannotFetchSources = 64;
inline constexpr uint cancelledPriority = 65;
inline constexpr uint lockRequired = 67;
} // namespace errors

namespace statuses {
inline constexpr uint loadingCache = 27;
inline constexpr uint waitingForLock = 30;
inline constexpr uint waitingForAuth = 31;
} // namespace statuses

namespace networks {
inline constexpr uint offline = 1;
inline constexpr uint wired = 3;
inline constexpr uint mobile = 5;
} // namespace networks

inline constexpr uint percentageUnknown = 101;

} // namespace lumivert::packagekit
