#pragma once

#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/**
 * A PC/SC API that follows an ordered script.
 *
 * A test names each call that the unit may make, with all arguments that matter, and what the call gives
 * back:
 *
 *     ScriptedPcsc pcsc;
 *     pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(5);
 *     pcsc.Connect(5, "Reader 0").Fails(SCARD_E_NO_SMARTCARD);
 *
 * A call that the script doesn't name next fails the test, is refused with SCARD_F_INTERNAL_ERROR and writes
 * nothing; so does a step that is left over when the script goes. Every buffer that the unit hands in must be
 * zeroed. Sleeps, and the opening of the console, are steps like any other. Steps may be added while the
 * script runs. One script at a time; calls may come from any thread.
 *
 * It imitates no service: it knows no readers, cards or handles but those in the steps.
 */
class ScriptedPcsc final
{
public:
    /** One call and its outcome: success, no bytes, length 0, unless told else. */
    class Step final
    {
    public:
        explicit Step(std::string call) : m_Call(std::move(call)) {}

        /** The result. For the console: it can't be opened. */
        Step& Fails(long code);
        /** The context or card handle that is written. */
        Step& GivesHandle(long handle);
        Step& GivesState(unsigned long state);
        /** Output bytes as hexadecimal text, blanks allowed. */
        Step& Gives(const std::string& hex);
        /** Output bytes as they are; what doesn't fit is dropped. */
        Step& GivesText(const std::string& bytes);
        /** The length that is reported, in place of the number of output bytes. */
        Step& Reports(unsigned long length);
        /** Length and handle stay as the unit set them. */
        Step& LeavesLength();
        /** The calling thread must hold exactly this number of mutexes. */
        Step& Holding(int mutexes);
        /** Runs inside of the call. */
        Step& Meanwhile(std::function<void()> action);

    private:
        friend class ScriptedPcsc;

        std::string m_Call;
        long m_Result = 0;
        std::optional<long> m_Handle;
        unsigned long m_State = 0;
        std::string m_Bytes;
        std::optional<unsigned long> m_Length;
        bool m_bLeavesLength = false;
        std::optional<int> m_Mutexes;
        std::function<void()> m_Meanwhile;
    };

    /** What a call gives back. */
    struct Outcome
    {
        long result;
        std::optional<long> handle;
        unsigned long state = 0;
        std::string bytes;
        std::optional<unsigned long> length; ///< none: stays as it is
    };

    static constexpr unsigned long kShared = 2;
    static constexpr unsigned long kT0OrT1 = 3;
    static constexpr unsigned long kAnswerSize = 5012;

    ScriptedPcsc();
    ~ScriptedPcsc();
    ScriptedPcsc(const ScriptedPcsc&) = delete;
    ScriptedPcsc& operator=(const ScriptedPcsc&) = delete;

    Step& EstablishContext(unsigned long scope);
    Step& ReleaseContext(long context);
    /** SCardListReaders without a buffer. */
    Step& ListReadersLength(long context);
    Step& ListReaders(long context, unsigned long capacity);
    Step& Connect(long context, const std::string& reader, unsigned long shareMode = kShared,
                  unsigned long protocols = kT0OrT1);
    Step& Reconnect(long card, unsigned long disposition, unsigned long shareMode = kShared,
                    unsigned long protocols = kT0OrT1);
    Step& Disconnect(long card, unsigned long disposition);
    Step& BeginTransaction(long card);
    Step& EndTransaction(long card, unsigned long disposition);
    /** @param atrCapacity size of the ATR buffer, 0 when there is none */
    Step& Status(long card, unsigned long atrCapacity);
    /** SCardGetAttrib without a buffer. */
    Step& GetAttribLength(long card, unsigned long attribute);
    Step& GetAttrib(long card, unsigned long attribute, unsigned long capacity);
    Step& Control(long card, unsigned long code, const std::string& inputHex,
                  unsigned long capacity = kAnswerSize);
    /** With the T=1 protocol control information to send, and none to receive. */
    Step& Transmit(long card, const std::string& commandHex);
    Step& Sleep(unsigned int seconds);
    Step& Usleep(unsigned int microseconds);
    /** fopen of "/dev/console" with the mode "w". */
    Step& OpenConsole();

    /** Whether all steps have been used. */
    [[nodiscard]] bool Done() const;
    /** What has been written to the console streams, in order; flushes them. */
    std::string ConsoleText();
    /** What has been written without anybody flushing. */
    [[nodiscard]] std::string FlushedConsoleText() const;

    /** The next lock of a mutex by this thread fails with @p error. */
    static void FailNextLock(int error);
    /** Waits until a thread has to wait for a mutex that another one holds. @return false after 10 seconds */
    static bool WaitForContention();
    /** Number of mutexes that this thread holds. */
    static int HeldMutexes();

    /** For the functions of the API: compares with the next step. */
    static Outcome Play(const std::string& call);
    /** For fopen. */
    static std::FILE* PlayOpenConsole(const std::string& call);

private:
    static void ForgetContention();

    struct Console
    {
        std::FILE* stream = nullptr;
        char* text = nullptr;
        std::size_t size = 0;
    };

    Step& Add(std::string call);
    Step TakeStep(const std::string& call);

    mutable std::mutex m_Mutex;
    std::deque<Step> m_Steps;
    std::deque<Console> m_Consoles;
};
