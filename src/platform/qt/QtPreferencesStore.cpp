#include "platform/qt/QtPreferencesStore.h"

#include <QByteArray>
#include <QFile>
#include <QMetaType>
#include <QSettings>
#include <QVariant>

#include <utility>

namespace lumivert {
namespace {

std::string userFile() {
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, "Lumivert", "Lumivert");
    return QFile::encodeName(settings.fileName()).toStdString();
}

QString fileName(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

} // namespace

QtPreferencesStore::QtPreferencesStore()
    : QtPreferencesStore(userFile()) {}

QtPreferencesStore::QtPreferencesStore(std::string path)
    : m_path(std::move(path)) {}

std::optional<std::string> QtPreferencesStore::data(const std::string& key) {
    const QSettings settings(fileName(m_path), QSettings::NativeFormat);
    const QVariant value = settings.value(QString::fromStdString(key));
    if (value.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return value.toByteArray().toStdString();
}

void QtPreferencesStore::setData(const std::string& key, const std::string& bytes) {
    QSettings settings(fileName(m_path), QSettings::NativeFormat);
    const QString name = QString::fromStdString(key);
    const QVariant previous = settings.value(name);
    settings.setValue(name, QByteArray::fromStdString(bytes));
    settings.sync();
    if (settings.status() != QSettings::AccessError)
        return;
    // QSettings remembers what it could not write, for every later instance of this process.
    if (previous.isValid())
        settings.setValue(name, previous);
    else
        settings.remove(name);
}

} // namespace lumivert
