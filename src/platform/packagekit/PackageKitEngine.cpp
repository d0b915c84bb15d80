#include "platform/packagekit/PackageKitEngine.h"

#include "platform/bus/BusConnection.h"
#include "platform/packagekit/PackageKitTransaction.h"

#include <QMetaObject>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace lumivert {

namespace {

using Result = PackageKitTransaction::Result;

// Filters and flags travel as bit fields; these are the bits set.
constexpr qulonglong filterNone = 1ULL << 1;
constexpr qulonglong filterInstalled = 1ULL << 2;
constexpr qulonglong flagOnlyTrusted = 1ULL << 1;

constexpr uint infoInstalled = 1;
constexpr uint infoBlocked = 9;

const UpdateFailed noBus{UpdateProblem::noService, "There is no system message bus."};

// One check, from step to step. A repository that cannot be read hides no update that another one
// offers; only when none is found is the check a failure. Where the price of the network is
// unknown, a scheduled check looks at what the package manager has fetched already and fetches
// nothing itself.
struct Check {
    bool quiet = false;
    bool localOnly = false;
    QString installedVersion;
    bool isLocal = false;
    std::optional<UpdateFailed> refreshFailure = {};
};

class PackageKitEngine final : public QObject, public UpdateEngine {
public:
    PackageKitEngine(const std::string& packageName, const std::string& busAddress)
        : m_packageName(QString::fromStdString(packageName))
        , m_connection(QString::fromStdString(busAddress)) {}
    ~PackageKitEngine() override { endCheck(); }

    void check(UpdateCheckKind kind) override {
        m_check = std::make_shared<Check>();
        m_check->quiet = kind == UpdateCheckKind::scheduled;
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

    void cancelCheck() override {
        // The end waits for the next turn.
        if (m_check)
            QMetaObject::invokeMethod(
                this, [this] { tell(UpdateUnanswered{}); }, Qt::QueuedConnection);
        endCheck();
    }

    void install(const AvailableUpdate& update) override {
        m_connection.open([this, update](const auto& bus) {
            m_bus = bus;
            const auto end = [this, update](std::optional<UpdateFailed> failure) {
                if (!failure)
                    return tell(UpdateInstalled{update.version});
                failure->installing = true;
                tell(*failure);
            };
            if (!bus)
                return end(noBus);
            run(
                {QStringLiteral("UpdatePackages"),
                 {flagOnlyTrusted, QStringList{QString::fromStdString(update.id)}}},
                [this, update](const UpdateProgress& progress) {
                    tell(UpdateInstalling{update.version, progress});
                },
                [end](const Result& result) { end(result.failure); });
        });
    }

private:
    using OnResult = PackageKitTransaction::OnDone;

    void tell(const UpdateState& state) {
        const auto told = onState; // it may destroy this, or be exchanged
        told(state);
    }

    void run(PackageKitTransaction::Request request, PackageKitTransaction::OnProgress onProgress,
             OnResult next) {
        m_transaction = std::make_unique<PackageKitTransaction>(
            *m_bus, std::move(request), std::move(onProgress),
            [this, next = std::move(next)](const Result& result) {
                m_transaction.release()->deleteLater(); // it is in the middle of calling this
                next(result);
            });
    }

    /// One piece of work of the check. Its failure ends the check, unless it `mayFail`.
    void step(const QString& role, const QVariantList& arguments, OnResult next,
              bool mayFail = false) {
        run(
            {role, arguments, m_check->quiet, m_check->localOnly},
            [this](const UpdateProgress& progress) { tell(UpdateChecking{progress}); },
            [this, mayFail, next = std::move(next)](const Result& result) {
                if (result.failure && !mayFail)
                    finishCheck(*result.failure);
                else
                    next(result);
            });
    }

    void finishCheck(const UpdateState& end) {
        m_check.reset();
        tell(end);
    }

    /// Forgets the check that is under way, if one is, and stops what it does.
    void endCheck() {
        if (m_check && m_transaction) {
            m_transaction->cancel();
            m_transaction.release()->deleteLater(); // it may be telling its progress
        }
        m_check.reset();
    }

    // What traffic costs is NetworkManager's to say (NMMetered); where there is none, the package
    // service tells a mobile network from a wired one.
    void askForCost() {
        const QString manager = QStringLiteral("org.freedesktop.NetworkManager");
        QDBusMessage metered =
            propertyCall(manager, QStringLiteral("/org/freedesktop/NetworkManager"), manager,
                         QStringLiteral("Metered"));
        metered.setAutoStartService(false);
        ask(metered, [this](uint value) {
            if (value == 1 || value == 3) // yes, and a guess of it
                finishCheck(UpdateUnanswered{});
            else if (value == 2 || value == 4) // no, and a guess of it
                findInstalled();
            else
                askServiceForCost();
        });
    }

    void askServiceForCost() {
        constexpr uint offline = 1;
        constexpr uint wired = 3;
        constexpr uint mobile = 5;
        ask(propertyCall(packageKitService, packageKitPath, packageKitService,
                         QStringLiteral("NetworkState")),
            [this](uint value) {
                if (value == offline || value == mobile)
                    return finishCheck(UpdateUnanswered{});
                m_check->localOnly = value != wired; // a wireless one may be a telephone's
                findInstalled();
            });
    }

    /// Reads a number, 0 where there is none, for the check that is under way.
    void ask(const QDBusMessage& question, std::function<void(uint)> answered) {
        constexpr int timeoutMs = 25'000;
        callBus(*m_bus, question, timeoutMs, this,
                [check = std::weak_ptr(m_check),
                 answered = std::move(answered)](const QDBusMessage& reply) {
                    const QVariant value = propertyIn(reply);
                    if (!check.expired())
                        answered(value.typeId() == QMetaType::UInt ? value.toUInt() : 0);
                });
    }

    void findInstalled() {
        step(QStringLiteral("Resolve"), {filterInstalled, QStringList{m_packageName}},
             [this](const Result& result) {
                 const auto* installed = find(
                     result, [](const auto& package) { return package.info == infoInstalled; });
                 if (!installed)
                     return finishCheck(UpdateFailed{UpdateProblem::notFromRepository, {}});
                 m_check->installedVersion = installed->version();
                 m_check->isLocal = installed->isLocal();
                 if (m_check->localOnly)
                     findUpdate();
                 else
                     refresh();
             });
    }

    void refresh() {
        const auto next = [this](const Result& result) {
            m_check->refreshFailure = result.failure;
            const auto problem = result.failure ? result.failure->problem : UpdateProblem::other;
            if (problem == UpdateProblem::noNetwork || problem == UpdateProblem::serviceLost ||
                (problem == UpdateProblem::notAuthorized && !m_check->quiet))
                finishCheck(*result.failure);
            else
                findUpdate();
        };
        step(QStringLiteral("RefreshCache"), {false}, next, /*mayFail=*/true);
    }

    void findUpdate() {
        step(QStringLiteral("GetUpdates"), {filterNone}, [this](const Result& result) {
            const auto* found = find(result, [this](const auto& package) {
                // Blocked: held back by whoever administers the system.
                return package.info != infoBlocked &&
                       package.version() != m_check->installedVersion;
            });
            if (found)
                readChanges(*found);
            else if (m_check->refreshFailure)
                finishCheck(*m_check->refreshFailure);
            else if (m_check->isLocal) // nobody who could offer a newer version knows this one
                finishCheck(UpdateFailed{UpdateProblem::notFromRepository, {}});
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
        if (m_check->localOnly)
            return finishCheck(found);
        // An update without its description is an update all the same.
        const auto next = [this, found](const Result& result) {
            AvailableUpdate described = found;
            if (!result.failure)
                described.changes = result.changes.toStdString();
            finishCheck(described);
        };
        step(QStringLiteral("GetUpdateDetail"), {QStringList{package.id}}, next, /*mayFail=*/true);
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

} // namespace

std::unique_ptr<UpdateEngine> packageKitEngine(const std::string& packageName,
                                               const std::string& busAddress) {
    return std::make_unique<PackageKitEngine>(packageName, busAddress);
}

} // namespace lumivert
