#include "platform/bus/BusConnection.h"
#include "platform/screen/DesktopScreenColors.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QFile>
#include <QHash>

#include <functional>
#include <optional>
#include <utility>

namespace lumivert {
namespace {

const QString service = QStringLiteral("org.freedesktop.ColorManager");
const QString manager = QStringLiteral("/org/freedesktop/ColorManager");
constexpr int systemTimeout = -1;

class ColordScreenColors : public QObject, public DesktopScreenColors {
    Q_OBJECT
public:
    explicit ColordScreenColors(const QString& address)
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
    void open() {
        m_connection.open([this](const std::optional<QDBusConnection>& bus) {
            m_bus = bus;
            if (!m_bus)
                return;
            for (const char* signal : {"DeviceAdded", "DeviceChanged", "DeviceRemoved"})
                m_bus->connect(service, manager, service, QLatin1String(signal), this,
                               SLOT(lookUpAll()));
            lookUpAll();
        });
    }

    /// A property of one of colord's objects, whose interface is `kind`.
    void read(const QString& path, const QString& kind, const QString& property,
              std::function<void(const QVariant&)> answered) {
        callBus(*m_bus, propertyCall(service, path, service + QLatin1Char('.') + kind, property),
                systemTimeout, this, [answered = std::move(answered)](const auto& reply) {
                    answered(propertyIn(reply));
                });
    }

    // A screen is a device, which has profiles, of which the first is its default.
    void lookUp(const QString& screen) {
        QDBusMessage find = QDBusMessage::createMethodCall(service, manager, service,
                                                           QStringLiteral("FindDeviceByProperty"));
        find << QStringLiteral("XRANDR_name") << screen;
        callBus(*m_bus, find, systemTimeout, this, [this, screen](const QDBusMessage& reply) {
            const auto path = reply.arguments().value(0).value<QDBusObjectPath>().path();
            if (path.isEmpty()) // also of an error
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
            profilesChanged();
    }

    BusConnection m_connection;
    std::optional<QDBusConnection> m_bus;
    QHash<QString, QByteArray> m_profiles;
};

} // namespace

std::unique_ptr<DesktopScreenColors> colordScreenColors(const QString& address) {
    return std::make_unique<ColordScreenColors>(address);
}

} // namespace lumivert

#include "ColordScreenColors.moc"
