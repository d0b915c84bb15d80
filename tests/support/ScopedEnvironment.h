#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace lumivert {

/// Sets a variable of this process's environment, or takes it away, until the end of the scope.
/// Only while no other thread reads the environment.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value)
        : m_name(std::move(name)) {
        if (const char* previous = std::getenv(m_name.c_str()))
            m_previous = previous;
        assign(value);
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment() { assign(m_previous); }

private:
    void assign(const std::optional<std::string>& value) const {
        if (value)
            ::setenv(m_name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_previous;
};

} // namespace lumivert
