#pragma once

#include "common/LogHook.h"

#include <initializer_list>
#include <string>
#include <vector>

/** The setters of one layer's log hooks. */
struct LogBridge
{
    void (*setError)(Norvik::LogFunction) = nullptr;
    void (*setMessage)(Norvik::LogFunction) = nullptr;
    void (*setDebug)(Norvik::LogFunction) = nullptr;
};

/**
 * Collects what the named layers log while it lives: "ERROR text", "MESSAGE text", "DEBUG text", in order.
 *
 * One at a time. Clears the hooks when it goes.
 */
class CapturedLog final
{
public:
    explicit CapturedLog(std::initializer_list<LogBridge> bridges) : m_Bridges(bridges)
    {
        Lines().clear();
        Install(&OnError, &OnMessage, &OnDebug);
    }
    ~CapturedLog() { Install(nullptr, nullptr, nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> lines;
        return lines;
    }

private:
    static void OnError(const char* text) { Lines().push_back(std::string("ERROR ") + text); }
    static void OnMessage(const char* text) { Lines().push_back(std::string("MESSAGE ") + text); }
    static void OnDebug(const char* text) { Lines().push_back(std::string("DEBUG ") + text); }

    void Install(Norvik::LogFunction error, Norvik::LogFunction message, Norvik::LogFunction debug)
    {
        for (const LogBridge& bridge : m_Bridges)
        {
            Set(bridge.setError, error);
            Set(bridge.setMessage, message);
            Set(bridge.setDebug, debug);
        }
    }
    static void Set(void (*setter)(Norvik::LogFunction), Norvik::LogFunction function)
    {
        if (setter != nullptr)
        {
            setter(function);
        }
    }

    std::vector<LogBridge> m_Bridges;
};
