#include "platform/packagekit/PackageKitEngine.h"

#include "platform/packagekit/BusConnection.h"
#include "platform/packagekit/PackageKitNames.h"
#include "platform/packagekit/PackageKitTransaction.h"
#include "platform/packagekit/UpdateCheck.h"

#include <QMetaObject>

#include <utility>

namespace lumivert {

namespace {

const UpdateFailure noBus{UpdateProblem::noService, "There is no system message bus."};

} // namespace

/// What the engine is at; an object of its own so that its header needs no Qt.
class PackageKitEngine::Work : public QObject {
public:
    Work(std::string packageName, std::string busAddress)
        : m_packageName(QString::fromStdString(packageName))
        , m_bus(QString::fromStdString(busAddress)) {}

    void check(UpdateCheckKind kind, OnProgress onProgress,
               std::function<void(const UpdateCheckOutcome&)> onDone) {
        m_onChecked = std::move(onDone);
        m_bus.open([this, kind, onProgress = std::move(onProgress)](const auto& bus) {
            if (!bus) {
                finishCheck(noBus);
                return;
            }
            m_check = std::make_unique<UpdateCheck>(*bus, m_packageName, kind);
            m_check->start(onProgress,
                           [this](const UpdateCheckOutcome& outcome) { finishCheck(outcome); });
        });
    }

    void cancelCheck() {
        if (!m_onChecked)
            return;
        m_bus.forget();
        if (m_check) {
            m_check->cancel();
            m_check.release()->deleteLater();
        }
        // The outcome waits for the next turn, and belongs to this check alone.
        QMetaObject::invokeMethod(
            this,
            [onDone = std::exchange(m_onChecked, nullptr)] {
                onDone(UpdateCheckOutcome(UpdateCancelled{}));
            },
            Qt::QueuedConnection);
    }

    void install(const AvailableUpdate& update, OnProgress onProgress,
                 std::function<void(const UpdateInstallOutcome&)> onDone) {
        m_onInstalled = std::move(onDone);
        m_bus.open([this, update, onProgress = std::move(onProgress)](const auto& bus) {
            if (!bus) {
                finishInstall(noBus);
                return;
            }
            m_install = std::make_unique<PackageKitTransaction>(
                *bus,
                PackageKitTransaction::Request{
                    QStringLiteral("UpdatePackages"),
                    {packagekit::flagOnlyTrusted, QStringList{QString::fromStdString(update.id)}}});
            m_install->start(onProgress, [this, version = update.version](const auto& result) {
                if (result.failure)
                    finishInstall(UpdateFailure(*result.failure));
                else
                    finishInstall(UpdateInstalled{version});
            });
        });
    }

private:
    void finishCheck(const UpdateCheckOutcome& outcome) {
        if (m_check)
            m_check.release()->deleteLater(); // it is in the middle of calling this
        if (const auto onDone = std::exchange(m_onChecked, nullptr))
            onDone(outcome);
    }
    void finishInstall(const UpdateInstallOutcome& outcome) {
        if (m_install)
            m_install.release()->deleteLater();
        if (const auto onDone = std::exchange(m_onInstalled, nullptr))
            onDone(outcome);
    }

    QString m_packageName;
    BusConnection m_bus;
    std::unique_ptr<UpdateCheck> m_check;
    std::unique_ptr<PackageKitTransaction> m_install;
    std::function<void(const UpdateCheckOutcome&)> m_onChecked;
    std::function<void(const UpdateInstallOutcome&)> m_onInstalled;
};

PackageKitEngine::PackageKitEngine(std::string packageName, std::string busAddress)
    : m_work(std::make_unique<Work>(std::move(packageName), std::move(busAddress))) {}

PackageKitEngine::~PackageKitEngine() {
    m_work->cancelCheck();
}

void PackageKitEngine::check(UpdateCheckKind kind, OnProgress onProgress,
                             std::function<void(const UpdateCheckOutcome&)> onDone) {
    m_work->check(kind, std::move(onProgress), std::move(onDone));
}

void PackageKitEngine::cancelCheck() {
    m_work->cancelCheck();
}

void PackageKitEngine::install(const AvailableUpdate& update, OnProgress onProgress,
                               std::function<void(const UpdateInstallOutcome&)> onDone) {
    m_work->install(update, std::move(onProgress), std::move(onDone));
}

} // namespace lumivert
