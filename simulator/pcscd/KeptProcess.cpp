#include "simulator/pcscd/KeptProcess.h"

#include "simulator/pcscd/PrivateRunFolder.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int kListenDescriptor = 3; // where a service finds the sockets that it is handed
constexpr int kExecFailed = 127;
constexpr int kPatienceMilliseconds = 2000;
constexpr int kStepMilliseconds = 10;
constexpr char kEndNow = 'e'; // written by an owner who removes the folder itself

/** All that the keeper needs, made before the fork: the owner has threads, so afterwards no memory may be asked for. */
struct Prepared
{
    std::vector<char*> arguments;
    std::vector<char*> environment;
    char listenPid[32] = "LISTEN_PID=";
    const char* program = nullptr;
    const char* output = nullptr;
    const char* folder = nullptr;
    int listenSocket = -1;
    int lifeline = -1;
};

void CloseAllBut(int first, int second)
{
    const long most = ::sysconf(_SC_OPEN_MAX);
    for (int descriptor = 3; descriptor < most && descriptor < 4096; ++descriptor)
    {
        if (descriptor != first && descriptor != second)
        {
            ::close(descriptor);
        }
    }
}

void WriteDecimal(char* target, long number)
{
    char digits[24];
    int count = 0;
    do
    {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    while (count > 0)
    {
        *target++ = digits[--count];
    }
    *target = '\0';
}

void ResetSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGCHLD})
    {
        ::signal(signal, SIG_DFL);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void RunProgram(Prepared& prepared)
{
    // The namespace comes first: gaining rights in it forgets the signal.
    Simulator::MakeRunFolderPrivate();
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ResetSignals();
    const int output = ::open(prepared.output, O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    if (prepared.listenSocket >= 0)
    {
        if (prepared.listenSocket == kListenDescriptor)
        {
            ::fcntl(kListenDescriptor, F_SETFD, 0);
        }
        else
        {
            ::dup2(prepared.listenSocket, kListenDescriptor);
        }
        WriteDecimal(prepared.listenPid + sizeof "LISTEN_PID=" - 1, ::getpid());
        CloseAllBut(kListenDescriptor, kListenDescriptor);
    }
    ::execve(prepared.program, prepared.arguments.data(), prepared.environment.data());
    ::_exit(kExecFailed);
}

bool HasEnded(pid_t program)
{
    return ::waitpid(program, nullptr, WNOHANG) != 0;
}

void EndProgram(pid_t program)
{
    ::kill(program, SIGTERM);
    for (int waited = 0; waited < kPatienceMilliseconds; waited += kStepMilliseconds)
    {
        if (HasEnded(program))
        {
            return;
        }
        ::poll(nullptr, 0, kStepMilliseconds);
    }
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
}

// The folder holds files and sockets alone. readdir() of the C library asks for memory, the system call doesn't.
void RemoveFolder(const char* folder)
{
    struct Entry
    {
        ino64_t number;
        off64_t next;
        unsigned short length;
        unsigned char type;
        char name[1];
    };
    const int descriptor = ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
    {
        return;
    }
    alignas(Entry) char buffer[8192];
    const long length = ::syscall(SYS_getdents64, descriptor, buffer, sizeof buffer);
    for (long position = 0; position < length;)
    {
        const auto* entry = reinterpret_cast<const Entry*>(buffer + position);
        ::unlinkat(descriptor, entry->name, 0);
        position += entry->length;
    }
    ::close(descriptor);
    ::rmdir(folder);
}

[[noreturn]] void Keep(Prepared& prepared)
{
    ::setsid();
    CloseAllBut(prepared.listenSocket, prepared.lifeline);
    ResetSignals();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        ::signal(signal, SIG_IGN);
    }
    const pid_t program = ::fork();
    if (program == 0)
    {
        RunProgram(prepared);
    }
    ::close(prepared.listenSocket);
    pollfd lifeline = {prepared.lifeline, POLLIN, 0};
    bool bOwnerAlive = false;
    while (program > 0 && !HasEnded(program))
    {
        // The end of the program is looked for ten times a second; the end of the owner wakes at once.
        if (::poll(&lifeline, 1, 100) <= 0)
        {
            continue;
        }
        char word = 0;
        bOwnerAlive = ::read(prepared.lifeline, &word, 1) == 1 && word == kEndNow;
        EndProgram(program);
        if (!bOwnerAlive)
        {
            RemoveFolder(prepared.folder);
        }
        ::_exit(0);
    }
    ::_exit(1);
}

char* Pointer(const std::string& text)
{
    return const_cast<char*>(text.c_str());
}

} // namespace

namespace Simulator
{

KeptProcess::KeptProcess(const Start& start)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    FileDescriptor readEnd(ends[0]);
    m_Lifeline = FileDescriptor(ends[1]);

    Prepared prepared;
    prepared.program = start.program.c_str();
    prepared.output = start.output.c_str();
    prepared.folder = start.folder.c_str();
    prepared.listenSocket = start.listenSocket;
    prepared.lifeline = readEnd.Get();
    prepared.arguments.push_back(Pointer(start.program));
    for (const std::string& argument : start.arguments)
    {
        prepared.arguments.push_back(Pointer(argument));
    }
    prepared.arguments.push_back(nullptr);
    const std::string listenFds = "LISTEN_FDS=1";
    for (const std::string& variable : start.environment)
    {
        prepared.environment.push_back(Pointer(variable));
    }
    prepared.environment.push_back(Pointer(listenFds));
    prepared.environment.push_back(prepared.listenPid);
    prepared.environment.push_back(nullptr);

    m_Keeper = ::fork();
    if (m_Keeper < 0)
    {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (m_Keeper == 0)
    {
        Keep(prepared);
    }
}

KeptProcess::~KeptProcess()
{
    // SIGPIPE can't come: the keeper holds its end until it ends, and then the pipe is only closed.
    if (IsRunning())
    {
        [[maybe_unused]] const ssize_t written = ::write(m_Lifeline.Get(), &kEndNow, 1);
    }
    m_Lifeline.Reset();
    while (::waitpid(m_Keeper, nullptr, 0) < 0 && errno == EINTR)
    {}
}

bool KeptProcess::IsRunning() const
{
    siginfo_t ended = {};
    return ::waitid(P_PID, static_cast<id_t>(m_Keeper), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0;
}

} // namespace Simulator
