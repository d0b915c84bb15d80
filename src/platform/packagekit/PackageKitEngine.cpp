#include "platform/packagekit/PackageKitEngine.h"

#include "platform/bus/BusConnection.h"
#include "platform/packagekit/NetworkCost.h"
#include "platform/packagekit/PackageKitNames.h"
#include "platform/packagekit/PackageKitTransaction.h"

#include <QMetaObject>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace lumivert {

namespace {

using namespace packagekit;
using Result = PackageKitTransaction::Result;
using OnChecked = std::function<void(const UpdateCheckOutcome&)>;
using OnInstalled = std::function<void(const UpdateInstallOutcome&)>;

const UpdateFailure noBus{UpdateProblem::noService, "There is no system message bus."};

// One check, from step to step. A repository that cannot be read hides no update that another one
// offers; only when none is found is the check a failure. Where the price of the network is
// unknown, a scheduled check looks at what the package manager has fetched already and fetches
// nothing itself.
struct Check {
    bool quiet = false;
    UpdateEngine::OnProgress onProgress;
    OnChecked onDone;
    bool localOnly = false;
    QString installedVersion;
    bool isLocal = false;
    std::optional<UpdateFailure> refreshFailure;
};

} // namespace

/// What the engine is at; an object of its own so that its header needs no Qt.
class PackageKitEngine::Work : public QObject {
public:
    Work(const std::string& packageName, const std::string& busAddress)
        : m_packageName(QString::fromStdString(packageName))
        , m_connection(QString::fromStdString(busAddress)) {}

    void check(UpdateCheckKind kind, OnProgress onProgress, OnChecked onDone) {
        m_check = std::make_shared<Check>();
        m_check->quiet = kind == UpdateCheckKind::scheduled;
        m_check->onProgress = std::move(onProgress);
        m_check->onDone = std::move(onDone);
        m_connection.open([this, check = std::weak_ptr(m_check)](const auto& bus) {
            m_bus = bus;
            if (check.expired())
                return;
            if (!bus)
                finishCheck(noBus);
            else if (m_check->quiet)
                askForCost();
            else
                findInstalled();
        });
    }

    void cancelCheck() {
        if (!m_check)
            return;
        if (m_transaction) {
            m_transaction->cancel();
            m_transaction.release()->deleteLater(); // it may be telling its progress
        }
        // The outcome waits for the next turn, and belongs to this check alone.
        QMetaObject::invokeMethod(
            this,
            [onDone = std::exchange(m_check, nullptr)->onDone] {
                onDone(UpdateCheckOutcome(UpdateCancelled{}));
            },
            Qt::QueuedConnection);
    }

    void install(const AvailableUpdate& update, OnProgress onProgress, OnInstalled onDone) {
        m_connection.open([this, update, onProgress = std::move(onProgress),
                           onDone = std::move(onDone)](const auto& bus) {
            m_bus = bus;
            if (!bus) {
                onDone(UpdateInstallOutcome(noBus));
                return;
            }
            run({QStringLiteral("UpdatePackages"),
                 {flagOnlyTrusted, QStringList{QString::fromStdString(update.id)}}},
                onProgress, [onDone, version = update.version](const Result& result) {
                    onDone(result.failure ? UpdateInstallOutcome(*result.failure)
                                          : UpdateInstalled{version});
                });
        });
    }

private:
    using OnResult = std::function<void(const Result&)>;

    void run(PackageKitTransaction::Request request, OnProgress onProgress, OnResult next) {
        m_transaction = std::make_unique<PackageKitTransaction>(*m_bus, std::move(request));
        m_transaction->start(std::move(onProgress),
                             [this, next = std::move(next)](const Result& result) {
                                 // It is in the middle of calling this.
                                 m_transaction.release()->deleteLater();
                                 next(result);
                             });
    }

    void step(const QString& role, const QVariantList& arguments, OnResult next) {
        run({role, arguments, m_check->quiet, m_check->localOnly}, m_check->onProgress,
            std::move(next));
    }

    void finishCheck(const UpdateCheckOutcome& outcome) {
        const OnChecked onDone = std::exchange(m_check, nullptr)->onDone;
        onDone(outcome);
    }

    void askForCost() {
        findNetworkCost(*m_bus, this, [this, check = std::weak_ptr(m_check)](NetworkCost cost) {
            if (check.expired())
                return;
            if (cost == NetworkCost::offline || cost == NetworkCost::metered) {
                finishCheck(UpdatePostponed{});
                return;
            }
            m_check->localOnly = cost == NetworkCost::unknown;
            findInstalled();
        });
    }

    void findInstalled() {
        step(QStringLiteral("Resolve"), {filterInstalled, QStringList{m_packageName}},
             [this](const Result& result) {
                 const auto* installed = find(
                     result, [](const auto& package) { return package.info == infoInstalled; });
                 if (result.failure) {
                     finishCheck(*result.failure);
                 } else if (!installed) {
                     finishCheck(UpdateFailure{UpdateProblem::notFromRepository, {}});
                 } else {
                     m_check->installedVersion = installed->version();
                     m_check->isLocal = installed->isLocal();
                     if (m_check->localOnly)
                         findUpdate();
                     else
                         refresh();
                 }
             });
    }

    void refresh() {
        step(QStringLiteral("RefreshCache"), {false}, [this](const Result& result) {
            const bool final =
                result.failure &&
                (result.failure->problem == UpdateProblem::noNetwork ||
                 result.failure->problem == UpdateProblem::serviceLost ||
                 (result.failure->problem == UpdateProblem::notAuthorized && !m_check->quiet));
            if (final) {
                finishCheck(*result.failure);
                return;
            }
            m_check->refreshFailure = result.failure;
            findUpdate();
        });
    }

    void findUpdate() {
        step(QStringLiteral("GetUpdates"), {filterNone}, [this](const Result& result) {
            const auto* found = find(result, [this](const auto& package) {
                // Blocked: held back by whoever administers the system.
                return package.info != infoBlocked &&
                       package.version() != m_check->installedVersion;
            });
            if (result.failure)
                finishCheck(*result.failure);
            else if (found)
                readChanges(*found);
            else if (m_check->refreshFailure)
                finishCheck(UpdateFailure(*m_check->refreshFailure));
            else if (m_check->isLocal) // nobody who could offer a newer version knows this one
                finishCheck(UpdateFailure{UpdateProblem::notFromRepository, {}});
            else
                finishCheck(UpdateNotNeeded{m_check->installedVersion.toStdString()});
        });
    }

    void readChanges(const PackageKitTransaction::Package& package) {
        const AvailableUpdate found{package.id.toStdString(),
                                    m_check->installedVersion.toStdString(),
                                    package.version().toStdString(),
                                    {}};
        // The description may come over the network.
        if (m_check->localOnly) {
            finishCheck(found);
            return;
        }
        step(QStringLiteral("GetUpdateDetail"), {QStringList{package.id}},
             [this, found](const Result& result) {
                 AvailableUpdate described = found;
                 // An update without its description is an update all the same.
                 if (!result.failure)
                     described.changes = result.changes.toStdString();
                 finishCheck(described);
             });
    }

    /// The first package of the program's name that `suits`; null without one.
    template <class Suits>
    const PackageKitTransaction::Package* find(const Result& result, Suits suits) const {
        for (const auto& package : result.packages)
            if (package.name() == m_packageName && suits(package))
                return &package;
        return nullptr;
    }

    QString m_packageName;
    BusConnection m_connection;
    std::optional<QDBusConnection> m_bus;
    std::shared_ptr<Check> m_check; // while one is under way
    std::unique_ptr<PackageKitTransaction> m_transaction;
};

PackageKitEngine::PackageKitEngine(std::string packageName, std::string busAddress)
    : m_work(std::make_unique<Work>(packageName, busAddress)) {}

PackageKitEngine::~PackageKitEngine() {
    m_work->cancelCheck();
}

void PackageKitEngine::check(UpdateCheckKind kind, OnProgress onProgress, OnChecked onDone) {
    m_work->check(kind, std::move(onProgress), std::move(onDone));
}

void PackageKitEngine::cancelCheck() {
    m_work->cancelCheck();
}

void PackageKitEngine::install(const AvailableUpdate& update, OnProgress onProgress,
                               OnInstalled onDone) {
    m_work->install(update, std::move(onProgress), std::move(onDone));
}

} // namespace lumivert
