#include "app/DesktopApplication.h"

#include "app/LumivertApp.h"

#include <QDBusMessage>
#include <QUrl>

#include <utility>

namespace lumivert {

namespace {

constexpr QLatin1String path("/org/lumivert/Lumivert");
constexpr int patience = 3000; // milliseconds

// Without it a Wayland compositor lets no window come forward.
constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";
constexpr QLatin1String tokenKey("activation-token");

} // namespace

DesktopApplication::DesktopApplication(QDBusConnection bus)
    : m_bus(std::move(bus)) {}

bool DesktopApplication::isFirst() {
    // First the object: a call that waited for the name is delivered as soon as it is taken.
    m_bus.registerObject(path, this, QDBusConnection::ExportAllSlots);
    if (!m_bus.isConnected() || m_bus.registerService(QLatin1String(id)))
        return true;
    m_bus.unregisterObject(path);
    QDBusMessage activate = QDBusMessage::createMethodCall(
        QLatin1String(id), path, QStringLiteral("org.freedesktop.Application"),
        QStringLiteral("Activate"));
    QVariantMap platformData;
    if (qEnvironmentVariableIsSet(tokenVariable))
        platformData.insert(tokenKey, qEnvironmentVariable(tokenVariable));
    activate << platformData;
    m_bus.call(activate, QDBus::Block, patience);
    return false;
}

void DesktopApplication::Activate(const QVariantMap& platformData) {
    if (const QByteArray token = platformData.value(tokenKey).toByteArray(); !token.isEmpty())
        qputenv(tokenVariable, token);
    if (m_app)
        m_app->bringForward();
}

void DesktopApplication::Open(const QStringList& uris, const QVariantMap& platformData) {
    Activate(platformData);
    QList<QUrl> files;
    for (const QString& uri : uris)
        files << QUrl(uri);
    if (m_app)
        m_app->open(files);
}

// The desktop entry has no actions.
void DesktopApplication::ActivateAction(const QString& /*action*/,
                                        const QVariantList& /*parameter*/,
                                        const QVariantMap& platformData) {
    Activate(platformData);
}

} // namespace lumivert
