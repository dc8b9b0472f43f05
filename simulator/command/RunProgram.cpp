#include "simulator/command/RunProgram.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int kSignalBase = 128;
constexpr int kNotFound = 127;
constexpr int kNotRunnable = 126;

[[noreturn]] void Exec(const std::vector<std::string>& words, const sigset_t& mask)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
    {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    // Without its world the program has nothing left to do.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::execvp(arguments[0], arguments.data());
    const int reason = errno;
    std::fprintf(stderr, "kmark-sim: %s: %s\n", arguments[0], std::strerror(reason));
    ::_exit(reason == ENOENT ? kNotFound : kNotRunnable);
}

// Ctrl-C reaches the program from the terminal already; only what another process sent here is passed on.
bool IsToBePassedOn(const siginfo_t& signal)
{
    return signal.si_signo != SIGCHLD && (signal.si_signo != SIGINT || signal.si_code != SI_KERNEL);
}

} // namespace

namespace Simulator
{

SignalGuard::SignalGuard() : m_Watched(), m_Before()
{
    ::sigemptyset(&m_Watched);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
    {
        ::sigaddset(&m_Watched, signal);
    }
    ::sigprocmask(SIG_BLOCK, &m_Watched, &m_Before);
}

SignalGuard::~SignalGuard()
{
    ::sigprocmask(SIG_SETMASK, &m_Before, nullptr);
}

int RunProgram(const std::vector<std::string>& words, const SignalGuard& signals)
{
    const pid_t program = ::fork();
    if (program < 0)
    {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (program == 0)
    {
        Exec(words, signals.Before());
    }
    while (true)
    {
        int status = 0;
        if (::waitpid(program, &status, WNOHANG) == program)
        {
            return WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
        }
        siginfo_t signal = {};
        if (::sigwaitinfo(&signals.Watched(), &signal) > 0 && IsToBePassedOn(signal))
        {
            ::kill(program, signal.si_signo);
        }
    }
}

} // namespace Simulator
