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

inline constexpr uint exitSuccess = 1;
inline constexpr uint exitFailed = 2;
inline constexpr uint exitCancelled = 3;
inline constexpr uint exitKilled = 6;
inline constexpr uint exitNeedUntrusted = 8;
inline constexpr uint exitCancelledPriority = 9;

inline constexpr uint statusLoadingCache = 27;
inline constexpr uint statusWaitingForLock = 30;
inline constexpr uint statusWaitingForAuth = 31;

inline constexpr uint networkOffline = 1;
inline constexpr uint networkWired = 3;
inline constexpr uint networkMobile = 5;

inline constexpr uint percentageUnknown = 101;

} // namespace lumivert::packagekit
