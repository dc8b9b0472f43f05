// The command kmark-sim with the real pcscd.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using std::chrono::milliseconds;

struct Outcome
{
    int status = -1;
    std::string text; ///< standard output and error
};

/** Runs a shell line in which @ stands for kmark-sim and % for the small client. */
Outcome Shell(std::string line)
{
    for (std::size_t at = 0; (at = line.find_first_of("@%", at)) != std::string::npos;)
    {
        const std::string path = line[at] == '@' ? KMARK_SIM : KMARK_PCSC_CLIENT;
        line.replace(at, 1, path);
        at += path.size();
    }
    Outcome outcome;
    FILE* output = ::popen((line + " 2>&1").c_str(), "r");
    std::array<char, 512> part{};
    std::size_t length = 0;
    while ((length = std::fread(part.data(), 1, part.size(), output)) > 0)
    {
        outcome.text.append(part.data(), length);
    }
    const int status = ::pclose(output);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class KmarkSim : public testing::Test
{
public:
    KmarkSim(const KmarkSim&) = delete;
    KmarkSim& operator=(const KmarkSim&) = delete;

protected:
    KmarkSim() : m_Folder("/tmp/kmark-sim-test-" + std::to_string(::getpid()))
    {
        fs::create_directory(m_Folder);
    }
    ~KmarkSim() override { fs::remove_all(m_Folder); }

    [[nodiscard]] std::string File(const char* name) const { return (m_Folder / name).string(); }
    static bool WaitFor(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition() && std::chrono::steady_clock::now() < deadline)
        {
            std::this_thread::sleep_for(milliseconds(20));
        }
        return condition();
    }

    const fs::path m_Folder;
};

TEST_F(KmarkSim, ClientSeesReadersAndCards)
{
    const Outcome outcome = Shell("@ --card acos03 --card empty --reader Left --reader Right -- %");
    EXPECT_EQ(outcome.text, "Left 00 00: 9000\nRight 01 00:\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(KmarkSim, ListsItsCards)
{
    const Outcome outcome = Shell("@ --list-cards");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.text.rfind("acos03 ", 0), 0U);
}

TEST_F(KmarkSim, ExitStatusIsThatOfTheProgram)
{
    EXPECT_EQ(Shell("@ -- sh -c 'exit 3'").status, 3);
    EXPECT_EQ(Shell("@ -- sh -c 'kill -TERM $$'").status, 128 + SIGTERM);
    EXPECT_EQ(Shell("@ -- /nonexistent/program").status, 127);
    EXPECT_EQ(Shell("@ -- /tmp").status, 126);
}

TEST_F(KmarkSim, WhatItCannotDoEndsWithAnError)
{
    EXPECT_NE(Shell("@ --card nobody -- true").status, 0);
    EXPECT_NE(Shell("@").status, 0);
    EXPECT_NE(Shell("@ trace /nonexistent/file").status, 0);
    EXPECT_NE(Shell("@ control --at /nonexistent/socket status").status, 0);
}

TEST_F(KmarkSim, ControlChangesTheRunningWorld)
{
    const Outcome outcome =
        Shell("@ --card acos03 --reader R -- sh -c '%; @ control remove 0; %; @ control insert 0 acos03; "
              "%; @ control swap 0 acos03; %; @ control status; @ control remove 7'");
    EXPECT_EQ(outcome.text,
              "R 00 00: 9000\nR 00 00:\nR 00 00: 9000\nR 00 00: 9000\n0\tR\tacos03\nerror: no reader 7\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(KmarkSim, TraceIsShownDecodedWithoutPins)
{
    const std::string file = File("trace");
    Shell("@ --card acos03 --trace " + file + " -- %");
    const Outcome outcome = Shell("@ trace " + file);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.text.find("card inserted: acos03"), std::string::npos);
    EXPECT_NE(outcome.text.find("SELECT 3F00"), std::string::npos);
    EXPECT_NE(outcome.text.find("9000 ok"), std::string::npos);
}

TEST_F(KmarkSim, PinsComeFromAFile)
{
    std::ofstream(File("good")) << "encryption=9876\nsignature=111111\n\n";
    std::ofstream(File("bad")) << "encryption=98765\n";
    std::ofstream(File("unknown")) << "puk=1234\n";
    EXPECT_EQ(Shell("@ --card acos03 --pins " + File("good") + " -- true").status, 0);
    EXPECT_NE(Shell("@ --card acos03 --pins " + File("bad") + " -- true").status, 0);
    EXPECT_NE(Shell("@ --card acos03 --pins " + File("unknown") + " -- true").status, 0);
}

TEST_F(KmarkSim, WorldsRunSideBySide)
{
    const Outcome outcome =
        Shell("@ --card acos03 --reader Outer -- sh -c '@ --card acos03 --reader Inner -- %; %'");
    EXPECT_EQ(outcome.text, "Inner 00 00: 9000\nOuter 00 00: 9000\n");
}

/** A world whose program waits, in a process of its own that can be sent signals. */
class RunningWorld final
{
public:
    explicit RunningWorld(const std::string& report)
    {
        m_Process = ::fork();
        if (m_Process == 0)
        {
            const std::string script = "dirname $PCSCLITE_CSOCK_NAME > " + report + ".new; mv " + report +
                                       ".new " + report + "; exec sleep 60";
            ::execl(KMARK_SIM, KMARK_SIM, "--card", "acos03", "--", "sh", "-c", script.c_str(), nullptr);
            ::_exit(99);
        }
    }
    void Send(int signal) const { ::kill(m_Process, signal); }
    int Wait() const
    {
        int status = 0;
        ::waitpid(m_Process, &status, 0);
        return status;
    }

private:
    pid_t m_Process;
};

TEST_F(KmarkSim, SignalEndsTheProgramAndCleansUp)
{
    const RunningWorld world(File("folder"));
    ASSERT_TRUE(WaitFor([&] { return fs::exists(File("folder")); }));
    std::string folder;
    std::ifstream(File("folder")) >> folder;
    EXPECT_TRUE(fs::exists(folder));
    world.Send(SIGTERM);
    const int status = world.Wait();
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(KmarkSim, KilledWorldLeavesNeitherServiceNorFolder)
{
    const RunningWorld world(File("folder"));
    ASSERT_TRUE(WaitFor([&] { return fs::exists(File("folder")); }));
    std::string folder;
    std::ifstream(File("folder")) >> folder;
    world.Send(SIGKILL);
    world.Wait();
    EXPECT_TRUE(WaitFor([&] { return !fs::exists(folder); }));
}

TEST_F(KmarkSim, MissingServiceIsTold)
{
    const Outcome outcome = Shell("KMARK_SIM_PCSCD=/nonexistent/pcscd @ --card acos03 -- true");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.text.find("/nonexistent/pcscd"), std::string::npos);
}

} // namespace
