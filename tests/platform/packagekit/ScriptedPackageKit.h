#pragma once

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace lumivert {

/// A package service on a bus of the test's own, with the interface of PackageKit 1.2. Without a
/// script it behaves: it answers each role from its few facts, signals in the usual order.
class ScriptedPackageKit : public QDBusVirtualObject {
    Q_OBJECT

public:
    /// What to do for one role, in place of the usual; the call has not been answered yet.
    using Script = std::function<void(const QString& path)>;

    explicit ScriptedPackageKit(const std::string& address);
    ~ScriptedPackageKit() override { die(); }

    // Facts.
    QString installedVersion = QStringLiteral("1.0"); ///< empty: not installed
    QString availableVersion;                         ///< empty: nothing newer
    QString changes = QStringLiteral("Finer margins.");
    uint networkState = 2;
    bool refuseHints = false;

    /// Plays NetworkManager too, with this answer to "Metered".
    void playNetworkManager(uint metered);

    // Scripts, by role.
    std::map<QString, Script> scripts;
    std::function<void()> afterProperty; ///< once a property has been told
    std::function<void()> afterCreation; ///< once a transaction has been made
    /// Replaces the answer to CreateTransaction: the name of an error, or "silence".
    QString createError;

    // What was asked.
    QStringList calls; ///< roles and Cancel, in order
    std::map<QString, QVariantList> arguments;
    std::map<QString, QStringList> hints; ///< by role

    /// The usual course of a role, for scripts that only add to it.
    void usual(const QString& role, const QString& path);

    // For scripts.
    void answer(const QString& path);
    void answerError(const QString& path, const QString& name, const QString& text);
    void package(const QString& path, uint info, const QString& id);
    void errorCode(const QString& path, uint code, const QString& details);
    void finished(const QString& path, uint exit);
    void property(const QString& path, const QString& name, uint value);
    void updateDetail(const QString& path, const QString& text, const QString& changelog);
    /// Any signal on the transaction's path.
    void emitSignal(const QString& path, const QString& interface, const QString& name,
                    const QVariantList& arguments);
    /// Leaves the bus without a word, as a crash does.
    void die();
    [[nodiscard]] const QString& connectionName() const { return m_name; }

    [[nodiscard]] QString installedId() const;
    [[nodiscard]] QString availableId() const;

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    bool handleProperty(const QDBusMessage& message, const QDBusConnection& connection);

    QString m_name;
    std::optional<uint> m_metered;
    int m_transactions = 0;
    std::map<QString, QStringList> m_pendingHints; // by path
    std::map<QString, QDBusMessage> m_unanswered;  // by path
};

} // namespace lumivert
