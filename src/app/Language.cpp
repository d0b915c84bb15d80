#include "app/Language.h"

#include <QLocale>

#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <string_view>

namespace lumivert {

Language::Language() {
    std::setlocale(LC_ALL, "");
    for (const int category : {LC_MESSAGES, LC_NUMERIC, LC_TIME, LC_MONETARY, LC_COLLATE, LC_PAPER,
                               LC_MEASUREMENT, LC_NAME, LC_ADDRESS, LC_TELEPHONE})
        m_locale.emplace_back(category, std::setlocale(category, nullptr));
    // Qt works in UTF-8 only.
    if (nl_langinfo(CODESET) == std::string_view("UTF-8"))
        m_locale.emplace_back(LC_CTYPE, std::setlocale(LC_CTYPE, nullptr));
    // Qt reads the environment at the first question about it and at no later one.
    (void)QLocale::system().uiLanguages();

    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::unsetenv("LANGUAGE");
}

void Language::keepForTexts() const {
    for (const auto& [category, name] : m_locale)
        std::setlocale(category, name.c_str());
}

} // namespace lumivert
