#pragma once

#include <string>

namespace Norvik
{

/** What a lower layer logs through: takes one line, NUL-terminated, without a line feed. */
using LogFunction = void (*)(const char*);

/**
 * One log callback of a layer, silent while it is null.
 *
 * Lower layers know no logger: whoever embeds them installs plain functions here. A caller on a hot path asks
 * IsSet() before it composes a line that nobody would read. Not synchronised; set while no call is in flight.
 * Whoever installs callbacks although its log may be closed says so by SetListening().
 */
class LogHook final
{
public:
    void Set(LogFunction function) noexcept { m_Function = function; }
    /** Whether a line could be read by anybody now. */
    [[nodiscard]] bool IsSet() const
    {
        return m_Function != nullptr && (sListening == nullptr || sListening());
    }
    /** @param listening for all hooks: whether their callbacks would keep a line now; null means always */
    static void SetListening(bool (*listening)()) noexcept { sListening = listening; }

    void operator()(const char* text) const
    {
        if (m_Function != nullptr)
        {
            m_Function(text);
        }
    }
    void operator()(const std::string& text) const { (*this)(text.c_str()); }

private:
    static inline bool (*sListening)() = nullptr;
    LogFunction m_Function = nullptr;
};

} // namespace Norvik
