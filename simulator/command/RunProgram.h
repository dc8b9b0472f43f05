#pragma once

#include <string>
#include <vector>

#include <csignal>

namespace Simulator
{

/**
 * Blocks the signals that end a program while it lives, so that RunProgram can wait for them and what was begun is
 * cleaned up. To be made before any thread.
 */
class SignalGuard final
{
public:
    SignalGuard();
    ~SignalGuard();
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

    [[nodiscard]] const sigset_t& Watched() const { return m_Watched; }
    [[nodiscard]] const sigset_t& Before() const { return m_Before; }

private:
    sigset_t m_Watched;
    sigset_t m_Before;
};

/**
 * Runs a program found through PATH and waits for its end; signals sent to this process go on to it.
 *
 * @return what a shell makes of its end: the exit status, 128 + the signal that killed it, 127 when it isn't
 * found, 126 when it can't be run
 */
int RunProgram(const std::vector<std::string>& words, const SignalGuard& signals);

} // namespace Simulator
