#include "tests/doubles/ScriptedPcsc.h"

#include "tests/doubles/ScriptedPcscCalls.h"

#include <atomic>
#include <cstdlib>
#include <utility>

#include <gtest/gtest.h>
#include <winscard.h>

namespace Calls = ScriptedPcscCalls;

namespace
{
std::atomic<ScriptedPcsc*> gCurrent = nullptr;

std::string BufferOf(unsigned long capacity)
{
    return capacity != 0 ? Calls::ZeroedBuffer(capacity) : Calls::NoBuffer();
}
} // namespace

ScriptedPcsc::Step& ScriptedPcsc::Step::Fails(long code)
{
    m_Result = code;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::GivesHandle(long handle)
{
    m_Handle = handle;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::GivesState(unsigned long state)
{
    m_State = state;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::Gives(const std::string& hex)
{
    return GivesText(Calls::Unhex(hex));
}

ScriptedPcsc::Step& ScriptedPcsc::Step::GivesText(const std::string& bytes)
{
    m_Bytes = bytes;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::Reports(unsigned long length)
{
    m_Length = length;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::LeavesLength()
{
    m_bLeavesLength = true;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::Holding(int mutexes)
{
    m_Mutexes = mutexes;
    return *this;
}

ScriptedPcsc::Step& ScriptedPcsc::Step::Meanwhile(std::function<void()> action)
{
    m_Meanwhile = std::move(action);
    return *this;
}

ScriptedPcsc::ScriptedPcsc()
{
    ForgetContention();
    if (gCurrent.exchange(this) != nullptr)
    {
        ADD_FAILURE() << "there is another script";
    }
}

ScriptedPcsc::~ScriptedPcsc()
{
    gCurrent = nullptr;
    for (const Step& step : m_Steps)
    {
        ADD_FAILURE() << "not called: " << step.m_Call;
    }
    for (const Console& console : m_Consoles)
    {
        std::fclose(console.stream);
        std::free(console.text); // NOLINT(cppcoreguidelines-no-malloc): open_memstream allocates it
    }
}

ScriptedPcsc::Step& ScriptedPcsc::Add(std::string call)
{
    const std::lock_guard lock(m_Mutex);
    return m_Steps.emplace_back(std::move(call));
}

ScriptedPcsc::Step& ScriptedPcsc::EstablishContext(unsigned long scope)
{
    return Add(Calls::EstablishContext(scope));
}

ScriptedPcsc::Step& ScriptedPcsc::ReleaseContext(long context)
{
    return Add(Calls::ReleaseContext(context));
}

ScriptedPcsc::Step& ScriptedPcsc::ListReadersLength(long context)
{
    return Add(Calls::ListReaders(context, Calls::NoBuffer()));
}

ScriptedPcsc::Step& ScriptedPcsc::ListReaders(long context, unsigned long capacity)
{
    return Add(Calls::ListReaders(context, Calls::ZeroedBuffer(capacity)));
}

ScriptedPcsc::Step& ScriptedPcsc::Connect(long context, const std::string& reader, unsigned long shareMode,
                                          unsigned long protocols)
{
    return Add(Calls::Connect(context, reader, shareMode, protocols));
}

ScriptedPcsc::Step& ScriptedPcsc::Reconnect(long card, unsigned long disposition, unsigned long shareMode,
                                            unsigned long protocols)
{
    return Add(Calls::Reconnect(card, shareMode, protocols, disposition));
}

ScriptedPcsc::Step& ScriptedPcsc::Disconnect(long card, unsigned long disposition)
{
    return Add(Calls::Disconnect(card, disposition));
}

ScriptedPcsc::Step& ScriptedPcsc::BeginTransaction(long card)
{
    return Add(Calls::BeginTransaction(card));
}

ScriptedPcsc::Step& ScriptedPcsc::EndTransaction(long card, unsigned long disposition)
{
    return Add(Calls::EndTransaction(card, disposition));
}

ScriptedPcsc::Step& ScriptedPcsc::Status(long card, unsigned long atrCapacity)
{
    return Add(Calls::Status(card, BufferOf(atrCapacity)));
}

ScriptedPcsc::Step& ScriptedPcsc::GetAttribLength(long card, unsigned long attribute)
{
    return Add(Calls::GetAttrib(card, attribute, Calls::NoBuffer()));
}

ScriptedPcsc::Step& ScriptedPcsc::GetAttrib(long card, unsigned long attribute, unsigned long capacity)
{
    return Add(Calls::GetAttrib(card, attribute, Calls::ZeroedBuffer(capacity)));
}

ScriptedPcsc::Step& ScriptedPcsc::Control(long card, unsigned long code, const std::string& inputHex,
                                          unsigned long capacity)
{
    const std::string input = Calls::Unhex(inputHex);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(input.data());
    return Add(Calls::Control(card, code, Calls::Hex(bytes, input.size()), Calls::ZeroedBuffer(capacity)));
}

ScriptedPcsc::Step& ScriptedPcsc::Transmit(long card, const std::string& commandHex)
{
    const std::string command = Calls::Unhex(commandHex);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(command.data());
    return Add(
        Calls::Transmit(card, "T1", Calls::Hex(bytes, command.size()), Calls::ZeroedBuffer(kAnswerSize)));
}

ScriptedPcsc::Step& ScriptedPcsc::Sleep(unsigned int seconds)
{
    return Add(Calls::Sleep(seconds));
}

ScriptedPcsc::Step& ScriptedPcsc::Usleep(unsigned int microseconds)
{
    return Add(Calls::Usleep(microseconds));
}

ScriptedPcsc::Step& ScriptedPcsc::OpenConsole()
{
    return Add(Calls::OpenFile("/dev/console", "w"));
}

bool ScriptedPcsc::Done() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Steps.empty();
}

std::string ScriptedPcsc::ConsoleText()
{
    {
        const std::lock_guard lock(m_Mutex);
        for (const Console& console : m_Consoles)
        {
            std::fflush(console.stream);
        }
    }
    return FlushedConsoleText();
}

std::string ScriptedPcsc::FlushedConsoleText() const
{
    const std::lock_guard lock(m_Mutex);
    std::string text;
    for (const Console& console : m_Consoles)
    {
        text.append(console.text != nullptr ? console.text : "", console.size);
    }
    return text;
}

ScriptedPcsc::Step ScriptedPcsc::TakeStep(const std::string& call)
{
    const std::lock_guard lock(m_Mutex);
    if (!m_Steps.empty() && m_Steps.front().m_Call == call)
    {
        Step step = std::move(m_Steps.front());
        m_Steps.pop_front();
        return step;
    }
    ADD_FAILURE() << "called:   " << call
                  << "\nexpected: " << (m_Steps.empty() ? "nothing" : m_Steps.front().m_Call);
    Step refused(call);
    refused.Fails(SCARD_F_INTERNAL_ERROR).LeavesLength();
    return refused;
}

ScriptedPcsc::Outcome ScriptedPcsc::Play(const std::string& call)
{
    const int held = HeldMutexes();
    ScriptedPcsc* const script = gCurrent;
    if (script == nullptr)
    {
        ADD_FAILURE() << "there is no script for " << call;
        return {.result = SCARD_F_INTERNAL_ERROR, .handle = {}, .state = 0, .bytes = {}, .length = {}};
    }
    const Step step = script->TakeStep(call);
    if (step.m_Mutexes.has_value())
    {
        EXPECT_EQ(held, *step.m_Mutexes) << "mutexes held in " << call;
    }
    if (step.m_Meanwhile)
    {
        step.m_Meanwhile();
    }
    Outcome outcome = {.result = step.m_Result,
                       .handle = step.m_Handle,
                       .state = step.m_State,
                       .bytes = step.m_Bytes,
                       .length = {}};
    if (!step.m_bLeavesLength)
    {
        outcome.length = step.m_Length.value_or(step.m_Bytes.size());
    }
    return outcome;
}

std::FILE* ScriptedPcsc::PlayOpenConsole(const std::string& call)
{
    if (Play(call).result != SCARD_S_SUCCESS)
    {
        return nullptr;
    }
    ScriptedPcsc* const script = gCurrent;
    const std::lock_guard lock(script->m_Mutex);
    Console& console = script->m_Consoles.emplace_back();
    console.stream = open_memstream(&console.text, &console.size);
    return console.stream;
}
