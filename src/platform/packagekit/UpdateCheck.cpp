#include "platform/packagekit/UpdateCheck.h"

#include "platform/packagekit/NetworkCost.h"
#include "platform/packagekit/PackageKitNames.h"

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

using namespace packagekit;

} // namespace

UpdateCheck::UpdateCheck(const QDBusConnection& bus, QString packageName, UpdateCheckKind kind)
    : m_bus(bus)
    , m_packageName(std::move(packageName))
    , m_quiet(kind == UpdateCheckKind::scheduled) {}

void UpdateCheck::start(UpdateEngine::OnProgress onProgress,
                        std::function<void(const UpdateCheckOutcome&)> onDone) {
    m_onProgress = std::move(onProgress);
    m_onDone = std::move(onDone);
    if (!m_quiet) {
        findInstalled();
        return;
    }
    findNetworkCost(m_bus, this, [this](NetworkCost cost) {
        if (cost == NetworkCost::offline || cost == NetworkCost::metered) {
            finish(UpdatePostponed{});
            return;
        }
        m_localOnly = cost == NetworkCost::unknown;
        findInstalled();
    });
}

void UpdateCheck::run(PackageKitTransaction::Request request, Step next) {
    if (!m_onDone)
        return; // cancelled while the network's price was being asked for
    request.quiet = m_quiet;
    request.localOnly = m_localOnly;
    m_transaction = std::make_unique<PackageKitTransaction>(m_bus, std::move(request));
    m_transaction->start(
        m_onProgress, [this, next = std::move(next)](const PackageKitTransaction::Result& result) {
            // It is in the middle of calling this.
            m_transaction.release()->deleteLater();
            const Step step = next;
            step(result);
        });
}

void UpdateCheck::findInstalled() {
    run({QStringLiteral("Resolve"), {filterInstalled, QStringList{m_packageName}}},
        [this](const PackageKitTransaction::Result& result) {
            const auto installed =
                std::find_if(result.packages.begin(), result.packages.end(), [&](const auto& one) {
                    return one.name() == m_packageName && one.info == infoInstalled;
                });
            if (result.failure) {
                finish(*result.failure);
            } else if (installed == result.packages.end()) {
                finish(UpdateFailure{UpdateProblem::notFromRepository, {}});
            } else {
                m_installedVersion = installed->version();
                m_isLocal = installed->isLocal();
                if (m_localOnly)
                    findUpdate();
                else
                    refresh();
            }
        });
}

void UpdateCheck::refresh() {
    run({QStringLiteral("RefreshCache"), {false}},
        [this](const PackageKitTransaction::Result& result) {
            const bool final =
                result.failure &&
                (result.failure->problem == UpdateProblem::noNetwork ||
                 result.failure->problem == UpdateProblem::serviceLost ||
                 (result.failure->problem == UpdateProblem::notAuthorized && !m_quiet));
            if (final) {
                finish(*result.failure);
                return;
            }
            m_refreshFailure = result.failure;
            findUpdate();
        });
}

void UpdateCheck::findUpdate() {
    run({QStringLiteral("GetUpdates"), {filterNone}},
        [this](const PackageKitTransaction::Result& result) {
            const auto found =
                std::find_if(result.packages.begin(), result.packages.end(), [&](const auto& one) {
                    // Blocked: held back by whoever administers the system.
                    return one.name() == m_packageName && one.info != infoBlocked &&
                           one.version() != m_installedVersion;
                });
            if (result.failure) {
                finish(*result.failure);
            } else if (found != result.packages.end()) {
                m_found.id = found->id.toStdString();
                m_found.installedVersion = m_installedVersion.toStdString();
                m_found.version = found->version().toStdString();
                readChanges(found->id);
            } else if (m_refreshFailure) {
                finish(*m_refreshFailure);
            } else if (m_isLocal) {
                // Nobody who could offer a newer version knows this one.
                finish(UpdateFailure{UpdateProblem::notFromRepository, {}});
            } else {
                finish(UpdateNotNeeded{m_installedVersion.toStdString()});
            }
        });
}

void UpdateCheck::readChanges(const QString& packageId) {
    // The description may come over the network.
    if (m_localOnly) {
        finish(m_found);
        return;
    }
    run({QStringLiteral("GetUpdateDetail"), {QStringList{packageId}}},
        [this](const PackageKitTransaction::Result& result) {
            // An update without its description is an update all the same.
            if (!result.failure)
                m_found.changes = result.changes.toStdString();
            finish(m_found);
        });
}

void UpdateCheck::finish(const UpdateCheckOutcome& outcome) {
    if (const auto onDone = std::exchange(m_onDone, nullptr))
        onDone(UpdateCheckOutcome(outcome));
}

void UpdateCheck::cancel() {
    m_onDone = nullptr;
    m_onProgress = nullptr;
    if (m_transaction)
        m_transaction->cancel();
}

} // namespace lumivert
