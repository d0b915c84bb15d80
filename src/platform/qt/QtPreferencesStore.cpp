#include "platform/qt/QtPreferencesStore.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMetaType>
#include <QSettings>
#include <QTemporaryFile>
#include <QVariant>

#include <filesystem>
#include <system_error>
#include <utility>

namespace lumivert {
namespace {

constexpr int lockPatience = 2000; // milliseconds
// How the name goes on of a file that is being written, so that one left behind is known for it.
constexpr auto unfinished = ".saving-";

std::string userFile() {
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, "Lumivert", "Lumivert");
    return QFile::encodeName(settings.fileName()).toStdString();
}

QString fileName(const std::string& path) {
    return QFile::decodeName(QByteArray::fromStdString(path));
}

QVariantMap valuesIn(const QString& file) {
    const QSettings settings(file, QSettings::NativeFormat);
    QVariantMap values;
    for (const QString& key : settings.allKeys())
        if (!key.isEmpty())
            values.insert(key, settings.value(key));
    return values;
}

/// Content and permissions; a file that does not exist is an empty one.
bool copyInto(QTemporaryFile& copy, const QString& path) {
    QFile file(path);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray content = file.readAll();
    return copy.write(content) == content.size() && copy.flush() &&
           copy.setPermissions(file.permissions());
}

/// Removes what a program that was killed while saving left beside `path`. Under the lock.
void removeLeftovers(const QString& path) {
    const QFileInfo file(path);
    QDir folder = file.dir();
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden))
        if (name.startsWith(file.fileName() + QLatin1String(unfinished)))
            folder.remove(name);
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
    const QFileInfo file(fileName(m_path));
    QDir().mkpath(file.absolutePath());
    QLockFile lock(file.absoluteFilePath() + ".lock");
    // A kill can leave a lock that does not say whose it was. One whose owner lives is never taken
    // away, however old: it is locked for the kernel too.
    lock.setStaleLockTime(lockPatience / 2);
    // lock() tries for ever where a file left behind cannot be removed.
    if (!lock.tryLock(lockPatience))
        return;

    const QString target = file.exists() ? file.canonicalFilePath() : file.absoluteFilePath();
    removeLeftovers(target);
    QTemporaryFile next(target + QLatin1String(unfinished) + "XXXXXX");
    if (!next.open() || !copyInto(next, target))
        return;
    next.close();

    QVariantMap values = valuesIn(target);
    values.insert(QString::fromStdString(key), QByteArray::fromStdString(bytes));
    QSettings(next.fileName(), QSettings::NativeFormat)
        .setValue(QString::fromStdString(key), QByteArray::fromStdString(bytes));
    // Under a new name: of the old one, QSettings remembers what it believes to have written.
    if (!next.rename(next.fileName() + ".new") || valuesIn(next.fileName()) != values)
        return;

    std::error_code failure;
    std::filesystem::rename(QFile::encodeName(next.fileName()).toStdString(),
                            QFile::encodeName(target).toStdString(), failure);
    next.setAutoRemove(bool(failure));
}

} // namespace lumivert
