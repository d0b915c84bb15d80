#pragma once

#include "platform/Updates.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <functional>
#include <optional>
#include <vector>

namespace lumivert {

// The names and numbers of the PackageKit 1.2 D-Bus interface: its introspection files, and the
// enumerations of packagekit-glib2 1.2.6. Newer versions also answer to
// "org.freedesktop.packagekit1": this is the one place to change.
inline const QString packageKitService = QStringLiteral("org.freedesktop.PackageKit");
inline const QString packageKitPath = QStringLiteral("/org/freedesktop/PackageKit");

/// One piece of work of the package service: makes the transaction object, gives it its hints and
/// its role, and gathers what it says until it has finished or the service is gone.
class PackageKitTransaction : public QObject {
    Q_OBJECT

public:
    struct Package {
        uint info = 0; ///< without the severity
        QString id;    ///< name;version;architecture;origin
        [[nodiscard]] QString name() const { return id.section(u';', 0, 0); }
        [[nodiscard]] QString version() const { return id.section(u';', 1, 1); }
        /// Whether it is installed and no repository has it: with apt, its origin is then "local",
        /// after "manual:" or "auto:" (observed with 1.2.6).
        [[nodiscard]] bool isLocal() const {
            return id.section(u';', 3).section(u':', -1) == QLatin1String("local");
        }
    };

    struct Result {
        /// Nothing when the work was done.
        std::optional<UpdateFailed> failure;
        std::vector<Package> packages; ///< in the order told, repetitions included
        QString changes;               ///< what GetUpdateDetail says
    };

    struct Request {
        QString role; ///< the method to call
        QVariantList arguments;
        bool quiet = false;     ///< may never ask for a password
        bool localOnly = false; ///< may not fetch metadata
    };

    using OnProgress = std::function<void(const UpdateProgress&)>;
    using OnDone = std::function<void(const Result&)>;

    /// Starts the work. `onDone` is called once, from the event loop, and may destroy the
    /// transaction; after the destruction nothing is called.
    PackageKitTransaction(const QDBusConnection& bus, Request request, OnProgress onProgress,
                          OnDone onDone);

    /// Asks the service to stop, without waiting for it. Nothing is called any more.
    void cancel();

private slots:
    void onSignal(const QDBusMessage& signal);
    void onLost();

private:
    using OnReply = std::function<void(const QDBusMessage& reply)>;

    void call(const QDBusMessage& message, int timeoutMs, OnReply onReply, bool mayFail = false);
    [[nodiscard]] QDBusMessage method(const QString& name) const;
    void listen();
    void begin();
    void onPropertiesChanged(const QDBusMessage& signal);
    void onFinished(uint exit);
    void conclude();
    void fail(const UpdateFailed& failure);

    QDBusConnection m_bus;
    Request m_request;
    OnProgress m_onProgress;
    OnDone m_onDone;
    QString m_path;
    QString m_service; // the unique name of whoever made the transaction
    Result m_result;
    std::optional<uint> m_exit;
    std::optional<uint> m_errorCode;
    QString m_errorDetails;
    uint m_status = 0;
    uint m_percentage = 101; // unknown
    UpdateProgress m_reported;
};

/// What went wrong, from the service's numbers: `exit` of Finished, `code` and `details` of
/// ErrorCode. Nothing when nothing did.
[[nodiscard]] std::optional<UpdateFailed> packageKitFailure(uint exit, std::optional<uint> code,
                                                            const QString& details);

} // namespace lumivert
