#pragma once

#include <clocale>
#include <string>

namespace lumivert {

/// Puts the process under a locale whose numbers have a comma, for as long as it lives. Not every
/// machine has one (LOCPATH can name a folder with one): ask `isSet` and skip.
class CommaLocale {
public:
    CommaLocale()
        : m_previous(std::setlocale(LC_ALL, nullptr)) {
        for (const char* name : {"sv_SE.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8"})
            if (std::setlocale(LC_ALL, name) && *std::localeconv()->decimal_point == ',') {
                m_isSet = true;
                return;
            }
        std::setlocale(LC_ALL, m_previous.c_str());
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() { std::setlocale(LC_ALL, m_previous.c_str()); }

    [[nodiscard]] bool isSet() const { return m_isSet; }

private:
    std::string m_previous;
    bool m_isSet = false;
};

} // namespace lumivert
