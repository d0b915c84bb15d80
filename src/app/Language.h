#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lumivert {

/// Lets the programs that this one starts speak English in UTF-8, as their lines are read, whatever
/// the user's locale is: LC_ALL becomes C.UTF-8, which is part of the C library, and LANGUAGE goes.
/// This program's own texts and numbers keep the user's locale.
///
/// Made before anything else reads the environment and before there is another thread;
/// keepForTexts is called behind the construction of the QApplication, which sets the locale from
/// the environment.
class Language {
public:
    Language();

    void keepForTexts() const;

private:
    /// The user's, by category; LC_CTYPE only where it is UTF-8.
    std::vector<std::pair<int, std::string>> m_locale;
};

} // namespace lumivert
