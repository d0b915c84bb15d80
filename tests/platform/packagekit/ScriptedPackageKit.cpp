#include "ScriptedPackageKit.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <utility>

namespace lumivert {

namespace {

const QString service = QStringLiteral("org.freedesktop.PackageKit");
const QString transaction = QStringLiteral("org.freedesktop.PackageKit.Transaction");
const QString manager = QStringLiteral("org.freedesktop.NetworkManager");

QString freshName() {
    static int count = 0;
    return QStringLiteral("scripted-packagekit-%1").arg(++count);
}

} // namespace

ScriptedPackageKit::ScriptedPackageKit(const std::string& address)
    : m_name(freshName()) {
    QDBusConnection bus = QDBusConnection::connectToBus(QString::fromStdString(address), m_name);
    bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    bus.registerService(service);
}

void ScriptedPackageKit::playNetworkManager(uint metered) {
    m_metered = metered;
    QDBusConnection(m_name).registerService(manager);
}

void ScriptedPackageKit::die() {
    QDBusConnection(m_name).unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
    m_unanswered.clear();
    QDBusConnection::disconnectFromBus(m_name);
}

QString ScriptedPackageKit::installedId() const {
    return QStringLiteral("lumivert;%1;amd64;manual:test").arg(installedVersion);
}

QString ScriptedPackageKit::availableId() const {
    return QStringLiteral("lumivert;%1;amd64;test").arg(availableVersion);
}

QString ScriptedPackageKit::introspect(const QString&) const {
    return {};
}

bool ScriptedPackageKit::handleProperty(const QDBusMessage& message,
                                        const QDBusConnection& connection) {
    const QString interface = message.arguments().value(0).toString();
    const QString name = message.arguments().value(1).toString();
    uint value = 0;
    if (interface == service && name == QLatin1String("NetworkState"))
        value = networkState;
    else if (interface == manager && name == QLatin1String("Metered") && m_metered)
        value = *m_metered;
    else
        return false;
    connection.send(message.createReply(QVariant::fromValue(QDBusVariant(value))));
    if (const auto copy = afterProperty)
        copy();
    return true;
}

bool ScriptedPackageKit::handleMessage(const QDBusMessage& message,
                                       const QDBusConnection& connection) {
    const QString role = message.member();
    if (message.interface() == QLatin1String("org.freedesktop.DBus.Properties"))
        return handleProperty(message, connection);
    if (message.interface() == service && role == QLatin1String("CreateTransaction")) {
        if (createError == QLatin1String("silence"))
            return true;
        if (!createError.isEmpty())
            return connection.send(message.createErrorReply(createError, createError));
        const QString path = QStringLiteral("/t/%1").arg(++m_transactions);
        connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
        if (afterCreation)
            afterCreation();
        return true;
    }
    if (message.interface() != transaction)
        return false;
    const QString path = message.path();
    if (role == QLatin1String("SetHints")) {
        if (refuseHints)
            return connection.send(message.createErrorReply(
                QStringLiteral("org.freedesktop.PackageKit.Transaction.NotSupported"),
                QStringLiteral("no such hint")));
        m_pendingHints[path] = message.arguments().value(0).toStringList();
        return connection.send(message.createReply());
    }
    calls << role;
    if (role == QLatin1String("Cancel"))
        return connection.send(message.createReply());
    arguments[role] = message.arguments();
    hints[role] = m_pendingHints[path];
    m_unanswered[path] = message;
    if (const auto script = scripts.find(role); script != scripts.end()) {
        const Script copy = script->second;
        copy(path);
    } else {
        usual(role, path);
    }
    return true;
}

void ScriptedPackageKit::usual(const QString& role, const QString& path) {
    answer(path);
    property(path, QStringLiteral("Status"), 27);
    property(path, QStringLiteral("Percentage"), 100);
    property(path, QStringLiteral("Status"), 3);
    if (role == QLatin1String("Resolve")) {
        if (!installedVersion.isEmpty())
            package(path, 1, installedId());
    } else if (role == QLatin1String("RefreshCache")) {
        for (const uint percent : {0U, 50U, 100U})
            property(path, QStringLiteral("Percentage"), percent);
    } else if (role == QLatin1String("GetUpdates")) {
        package(path, 5, QStringLiteral("libother;9;amd64;test"));
        if (!availableVersion.isEmpty())
            package(path, 5 | 5 << 16, availableId());
    } else if (role == QLatin1String("GetUpdateDetail")) {
        updateDetail(path, changes, {});
    } else if (role == QLatin1String("UpdatePackages")) {
        property(path, QStringLiteral("Status"), 31);
        property(path, QStringLiteral("Status"), 9);
        property(path, QStringLiteral("Percentage"), 80);
        installedVersion = std::exchange(availableVersion, QString());
    }
    finished(path, 1);
}

void ScriptedPackageKit::answer(const QString& path) {
    QDBusConnection(m_name).send(m_unanswered[path].createReply());
}

void ScriptedPackageKit::answerError(const QString& path, const QString& name,
                                     const QString& text) {
    QDBusConnection(m_name).send(m_unanswered[path].createErrorReply(name, text));
}

void ScriptedPackageKit::emitSignal(const QString& path, const QString& interface,
                                    const QString& name, const QVariantList& signalArguments) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(signalArguments);
    QDBusConnection(m_name).send(signal);
}

void ScriptedPackageKit::package(const QString& path, uint info, const QString& id) {
    emitSignal(path, transaction, QStringLiteral("Package"),
               {info, id, QStringLiteral("Prints photographs")});
}

void ScriptedPackageKit::errorCode(const QString& path, uint code, const QString& details) {
    emitSignal(path, transaction, QStringLiteral("ErrorCode"), {code, details});
}

void ScriptedPackageKit::finished(const QString& path, uint exit) {
    emitSignal(path, transaction, QStringLiteral("Finished"), {exit, 10U});
}

void ScriptedPackageKit::property(const QString& path, const QString& name, uint value) {
    emitSignal(path, QStringLiteral("org.freedesktop.DBus.Properties"),
               QStringLiteral("PropertiesChanged"),
               {transaction, QVariantMap{{name, value}}, QStringList()});
}

void ScriptedPackageKit::updateDetail(const QString& path, const QString& text,
                                      const QString& changelog) {
    const QStringList none;
    emitSignal(path, transaction, QStringLiteral("UpdateDetail"),
               {availableId(), none, none, none, none, none, 2U, text, changelog, 0U, QString(),
                QString()});
}

} // namespace lumivert
