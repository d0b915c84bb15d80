#pragma once

#include "platform/PreferencesStore.h"

namespace lumivert {

/// Preferences in QSettings' native form (an INI file). Opened anew by each call, so that what
/// other processes wrote is seen. A change is written to a file beside it, read back, and only then
/// put in the place of the former by a rename, under the lock that QSettings takes: on a full disk
/// QSettings' own way (6.4) leaves a file that was cut off, and reports no error. What a kill
/// leaves beside it goes at the next change.
class QtPreferencesStore : public PreferencesStore {
public:
    /// The user's: Lumivert/Lumivert.conf in $XDG_CONFIG_HOME, else in ~/.config.
    QtPreferencesStore();
    /// The file at `path`, which need not exist yet.
    explicit QtPreferencesStore(std::string path);

    [[nodiscard]] const std::string& path() const { return m_path; }

    /// A value of another kind is any that was not written as a byte array.
    [[nodiscard]] std::optional<std::string> data(const std::string& key) override;
    void setData(const std::string& key, const std::string& bytes) override;

private:
    std::string m_path;
};

} // namespace lumivert
