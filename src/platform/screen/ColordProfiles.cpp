#include "platform/bus/BusConnection.h"
#include "platform/screen/ScreenProfiles.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QHash>

#include <functional>
#include <optional>
#include <utility>

namespace lumivert {
namespace {

const QString service = QStringLiteral("org.freedesktop.ColorManager");

class ColordProfiles : public ScreenProfiles {
    Q_OBJECT
public:
    explicit ColordProfiles(const QString& address)
        : m_connection(address) {}

    QByteArray profileOf(const QString& screen) override {
        if (!m_profiles.contains(screen)) {
            m_profiles.insert(screen, {});
            if (m_bus)
                lookUp(screen);
            else
                open();
        }
        return m_profiles.value(screen);
    }

private slots:
    void lookUpAll() {
        for (const QString& screen : m_profiles.keys())
            lookUp(screen);
    }

private:
    using Arguments = QList<QVariant>;

    void open() {
        m_connection.open([this](const std::optional<QDBusConnection>& bus) {
            m_bus = bus;
            if (!m_bus)
                return;
            for (const char* signal : {"DeviceAdded", "DeviceChanged", "DeviceRemoved"})
                m_bus->connect(service, QStringLiteral("/org/freedesktop/ColorManager"), service,
                               QLatin1String(signal), this, SLOT(lookUpAll()));
            lookUpAll();
        });
    }

    void call(const QString& path, const QString& interface, const QString& method,
              const Arguments& arguments, std::function<void(const QVariant&)> answered) {
        QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
        message.setArguments(arguments);
        auto* watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(message), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                [watcher, answered = std::move(answered)] {
                    watcher->deleteLater();
                    answered(watcher->isError() ? QVariant()
                                                : watcher->reply().arguments().value(0));
                });
    }
    /// A property of one of colord's objects, whose interface is `kind`.
    void read(const QString& path, const QString& kind, const QString& property,
              std::function<void(const QVariant&)> answered) {
        call(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
             {service + QLatin1Char('.') + kind, property},
             [answered = std::move(answered)](const QVariant& answer) {
                 answered(answer.value<QDBusVariant>().variant());
             });
    }

    // A screen is a device, which has profiles, of which the first is its default.
    void lookUp(const QString& screen) {
        call(QStringLiteral("/org/freedesktop/ColorManager"), service,
             QStringLiteral("FindDeviceByProperty"), {QStringLiteral("XRANDR_name"), screen},
             [this, screen](const QVariant& device) {
                 const QString path = device.value<QDBusObjectPath>().path();
                 if (path.isEmpty())
                     return take(screen, {});
                 read(path, QStringLiteral("Device"), QStringLiteral("Profiles"),
                      [this, screen](const QVariant& profiles) { readFirst(screen, profiles); });
             });
    }
    void readFirst(const QString& screen, const QVariant& profiles) {
        const auto paths = qdbus_cast<QList<QDBusObjectPath>>(profiles);
        if (paths.isEmpty())
            return take(screen, {});
        read(paths.first().path(), QStringLiteral("Profile"), QStringLiteral("Filename"),
             [this, screen](const QVariant& name) {
                 QFile file(name.toString());
                 const bool isOpen = !name.toString().isEmpty() && file.open(QFile::ReadOnly);
                 take(screen, isOpen ? file.readAll() : QByteArray());
             });
    }
    void take(const QString& screen, const QByteArray& profile) {
        if (std::exchange(m_profiles[screen], profile) != profile)
            emit changed();
    }

    BusConnection m_connection;
    std::optional<QDBusConnection> m_bus;
    QHash<QString, QByteArray> m_profiles;
};

} // namespace

std::unique_ptr<ScreenProfiles> colordProfiles(const QString& address) {
    return std::make_unique<ColordProfiles>(address);
}

} // namespace lumivert

#include "ColordProfiles.moc"
