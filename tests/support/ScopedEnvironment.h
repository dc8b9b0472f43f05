#pragma once

#include <cstdlib>
#include <optional>
#include <string>

/** Sets an environment variable, or with null removes it, until the object goes. */
class ScopedEnvironment final
{
public:
    ScopedEnvironment(const char* name, const char* value) : m_Name(name)
    {
        const char* before = std::getenv(name);
        if (before != nullptr)
        {
            m_Before = before;
        }
        Set(value);
    }
    ~ScopedEnvironment() { Set(m_Before ? m_Before->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void Set(const char* value) const
    {
        if (value != nullptr)
        {
            setenv(m_Name.c_str(), value, 1);
        }
        else
        {
            unsetenv(m_Name.c_str());
        }
    }

    std::string m_Name;
    std::optional<std::string> m_Before;
};
