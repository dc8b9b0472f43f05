#include "input/LibInput.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::UnorderedElementsAre;

constexpr char kSegmentName[] = "/{C9034F36-6695-4de4-BCE5-79C7810FACAF}";

std::string TextOf(const Norvik::ByteArray& buffer)
{
    return {buffer.begin(), buffer.end()};
}

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** With a program P11Gui that really runs, and really is another process. */
class LibInputProcessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = testing::TempDir() + "kmark-dialog-XXXXXX";
        m_Directory = mkdtemp(pattern.data());
        setenv("KMARK_P11GUI_SCRIPT", Script().c_str(), 1);
        setenv("KMARK_P11GUI_LOG", (m_Directory / "log").c_str(), 1);
        SetPath(KMARK_SCRIPTED_P11GUI_DIRECTORY);
        // The started program loses its parent at once; this makes it ours to wait for.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        shm_unlink(kSegmentName);
        // The process in the middle ends by exit() and would print once more what stands in our buffers.
        std::fflush(nullptr);
    }
    void TearDown() override
    {
        Reap();
        shm_unlink(kSegmentName);
        setenv("PATH", m_OldPath.c_str(), 1);
        std::filesystem::remove_all(m_Directory);
    }

    [[nodiscard]] std::filesystem::path Script() const { return m_Directory / "script"; }
    void Play(const std::string& script) { std::ofstream(Script()) << script; }
    void SetPath(const std::string& first) { setenv("PATH", first.c_str(), 1); }
    /** The exit statuses of all processes that the module started; waits until they are gone. */
    static std::vector<int> Reap()
    {
        std::vector<int> statuses;
        int status = 0;
        while (waitpid(-1, &status, 0) > 0)
        {
            statuses.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
        }
        return statuses;
    }
    [[nodiscard]] std::string Log() const { return ReadFile(m_Directory / "log"); }

    const std::string m_OldPath = std::getenv("PATH");
    std::filesystem::path m_Directory;
    std::array<unsigned char, 256> m_Pin{};
    unsigned long m_PinLength = 0;
    Norvik::ByteArray m_OldPin;
    Norvik::ByteArray m_NewPin;
};

} // namespace

// A wait for the answer is a second long; the tests look more often.
extern "C" unsigned int sleep(unsigned int /*seconds*/)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return 0;
}

namespace
{

TEST_F(LibInputProcessTest, PinComesFromTheProgram)
{
    Play("pin0 after 20 answer 123456\n");
    EXPECT_TRUE(LibInput::GetPinSoftwareEntry(AppEncryption, 4, 8, m_Pin.data(), m_PinLength, nullptr));
    EXPECT_EQ(std::string(m_Pin.begin(), m_Pin.begin() + static_cast<long>(m_PinLength)), "123456");
    EXPECT_THAT(Reap(), UnorderedElementsAre(0, 0)) << "the process in the middle and the program";
    EXPECT_EQ(Log(), "pin0 min 4 max 8 timeout 60 -> answer\n");
    EXPECT_EQ(shm_open(kSegmentName, O_RDONLY, 0), -1) << "the segment is gone";
}

TEST_F(LibInputProcessTest, CancelledDialogGivesNoPin)
{
    Play("cancel\n");
    EXPECT_FALSE(LibInput::GetPinSoftwareEntry(AppSignature, 6, 8, m_Pin.data(), m_PinLength, nullptr));
    Reap();
    EXPECT_EQ(Log(), "pin1 min 6 max 8 timeout 60 -> cancel\n");
}

TEST_F(LibInputProcessTest, LengthOfAHostileProgramIsClamped)
{
    Play("length 4294967295 123456789\n");
    EXPECT_TRUE(LibInput::GetPinSoftwareEntry(AppSignature, 6, 8, m_Pin.data(), m_PinLength, nullptr));
    EXPECT_EQ(m_PinLength, 8U);
    EXPECT_EQ(m_Pin[8], 0);
}

TEST_F(LibInputProcessTest, BothPinsOfAChangeComeFromTheProgram)
{
    Play("# the first line is for another request\npin1 cancel\n\nchange1 answer 1234 87654321\n");
    EXPECT_TRUE(LibInput::GetPinChangeSoftwareEntry(AppSignature, 4, 8, m_OldPin, m_NewPin, nullptr));
    EXPECT_EQ(TextOf(m_OldPin), "1234");
    EXPECT_EQ(TextOf(m_NewPin), "87654321");
    Reap();
    EXPECT_EQ(Log(), "change1 min 4 max 8 timeout 60 -> answer\n");
}

TEST_F(LibInputProcessTest, EachRequestStartsAProgramOfItsOwn)
{
    Play("answer 1111\nanswer 2222\n");
    EXPECT_TRUE(LibInput::GetPinSoftwareEntry(AppEncryption, 4, 8, m_Pin.data(), m_PinLength, nullptr));
    EXPECT_EQ(m_Pin[0], '1');
    EXPECT_TRUE(LibInput::GetPinSoftwareEntry(AppEncryption, 4, 8, m_Pin.data(), m_PinLength, nullptr));
    EXPECT_EQ(m_Pin[0], '2');
    EXPECT_FALSE(LibInput::GetPinSoftwareEntry(AppEncryption, 4, 8, m_Pin.data(), m_PinLength, nullptr));
    EXPECT_THAT(Reap(), UnorderedElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(LibInputProcessTest, KeypadHintStaysUntilItIsKilled)
{
    iDialogHandle* const handle =
        LibInput::StartExternalEntry(AppSignature, 6, 8, "label", "id", false, nullptr);
    while (Log().empty())
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_TRUE(LibInput::EndDialog(handle));
    EXPECT_THAT(Reap(), UnorderedElementsAre(0, 0));
    EXPECT_EQ(Log(),
              "info title \"PIN-Eingabe\" text \"Bitte geben Sie ihren Signatur-PIN am Kartenleser ein\" "
              "timeout -1 -> box\nended\n");
}

// The box may be killed before its program has come up.
TEST_F(LibInputProcessTest, KeypadHintIsKilledAtOnce)
{
    EXPECT_TRUE(LibInput::EndDialog(LibInput::StartExternalEntry(AppSignature, 6, 8, "", "", true, nullptr)));
}

TEST_F(LibInputProcessTest, InfoBoxThatTheUserClosesWasShown)
{
    Play("info after 10 done\n");
    EXPECT_TRUE(LibInput::ShowInfo("Title", "two\nlines", 30));
    Reap();
    EXPECT_EQ(Log(), "info title \"Title\" text \"two\\nlines\" timeout 30 -> done\n");
}

/** Standard error of this process and of those that it starts goes to a file. */
class RedirectedStandardError final
{
public:
    explicit RedirectedStandardError(const std::filesystem::path& path)
    {
        const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    ~RedirectedStandardError()
    {
        dup2(m_Original, STDERR_FILENO);
        close(m_Original);
    }
    RedirectedStandardError(const RedirectedStandardError&) = delete;
    RedirectedStandardError& operator=(const RedirectedStandardError&) = delete;

private:
    const int m_Original = dup(STDERR_FILENO);
};

TEST_F(LibInputProcessTest, InfoBoxUntilKilledNeedsNoProgram)
{
    SetPath(m_Directory);
    std::vector<int> statuses;
    bool bShown = false;
    {
        const RedirectedStandardError redirected(m_Directory / "stderr");
        bShown = LibInput::ShowInfo("Title", "text", -1);
        statuses = Reap();
    }
    EXPECT_TRUE(bShown);
    EXPECT_EQ(ReadFile(m_Directory / "stderr"), "ERROR: can not execute P11Gui: No such file or directory\n");
    EXPECT_THAT(statuses, UnorderedElementsAre(0, 255));
}

} // namespace
