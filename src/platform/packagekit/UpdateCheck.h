#pragma once

#include "platform/UpdateEngine.h"
#include "platform/packagekit/PackageKitTransaction.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace lumivert {

/// One check, step by step: is the package installed, what do the repositories offer now, is there
/// an update, what does it change. After the destruction nothing is called.
///
/// A repository that cannot be read hides no update that another one offers; only when none is
/// found is the check a failure. Where the price of the network is unknown, a scheduled check looks
/// at what the package manager has fetched already and fetches nothing itself.
class UpdateCheck : public QObject {
    Q_OBJECT

public:
    UpdateCheck(const QDBusConnection& bus, QString packageName, UpdateCheckKind kind);

    /// `onDone` is called once, from the event loop, and may destroy the check.
    void start(UpdateEngine::OnProgress onProgress,
               std::function<void(const UpdateCheckOutcome&)> onDone);

    /// Asks the service to stop what it does for this check. Nothing is called any more.
    void cancel();

private:
    using Step = std::function<void(const PackageKitTransaction::Result&)>;

    void run(PackageKitTransaction::Request request, Step next);
    void findInstalled();
    void refresh();
    void findUpdate();
    void readChanges(const QString& packageId);
    void finish(const UpdateCheckOutcome& outcome);

    QDBusConnection m_bus;
    QString m_packageName;
    bool m_quiet;
    bool m_localOnly = false;
    UpdateEngine::OnProgress m_onProgress;
    std::function<void(const UpdateCheckOutcome&)> m_onDone;
    std::unique_ptr<PackageKitTransaction> m_transaction;
    QString m_installedVersion;
    bool m_isLocal = false;
    AvailableUpdate m_found;
    std::optional<UpdateFailure> m_refreshFailure;
};

} // namespace lumivert
