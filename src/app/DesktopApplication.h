#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace lumivert {

class LumivertApp;

/// How the desktop starts the program, hands files to it and brings it forward: the interface
/// org.freedesktop.Application (the desktop entry standard, D-Bus activation) on the user's bus,
/// under the program's id. Where there is no bus, nothing of it happens. Main thread.
class DesktopApplication : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit DesktopApplication(QDBusConnection bus);

    /// Takes the id. False when another process of the user has it: that one was asked to show its
    /// window, and this one has nothing to do. What the desktop asks for afterwards waits for the
    /// event loop.
    [[nodiscard]] bool isFirst();

    /// Who does what the desktop asks for; outlives this.
    void serve(LumivertApp& app) { m_app = &app; }

    /// Of the desktop entry, the icon, the MetaInfo and the name on the bus.
    static constexpr const char* id = "org.lumivert.Lumivert";

public slots: // NOLINT(readability-redundant-access-specifiers)
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& action, const QVariantList& parameter,
                        const QVariantMap& platformData);

private:
    QDBusConnection m_bus;
    LumivertApp* m_app = nullptr;
};

} // namespace lumivert
