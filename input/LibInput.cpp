#include "input/LibInput.h"

#include "input/DialogSegment.h"
#include "input/MappedDialogSegment.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <string_view>

#include <sys/types.h>
#include <unistd.h>

#include <boost/interprocess/exceptions.hpp>

namespace
{

constexpr char kProgram[] = "P11Gui";

// Of every PIN request.
constexpr int kPinTimeoutSeconds = 60;
// Shows a box that stays until it is killed.
constexpr int kUntilKilled = -1;
// Processor time, not wall time: a caller that only waits spends next to none.
constexpr std::clock_t kKillWaitTicks = 4999999;

constexpr unsigned int kResponsePollSeconds = 1;
constexpr useconds_t kKillPollMicroseconds = 1000;

struct DialogCodes
{
    SmartCardApplication application;
    int pinRequest;
    int pinResponse;
    int changeRequest;
    int changeResponse;
};

constexpr DialogCodes kDialogCodes[] = {
    {AppEncryption, DialogSegment::GuiRequestPin0, DialogSegment::GuiResponsePin0,
     DialogSegment::GuiRequestPinChange0, DialogSegment::GuiResponsePinChange0},
    {AppSignature, DialogSegment::GuiRequestPin1, DialogSegment::GuiResponsePin1,
     DialogSegment::GuiRequestPinChange1, DialogSegment::GuiResponsePinChange1},
};

const DialogCodes* FindDialogCodes(SmartCardApplication application)
{
    const auto* const found =
        std::find_if(std::begin(kDialogCodes), std::end(kDialogCodes),
                     [application](const DialogCodes& codes) { return codes.application == application; });
    return found == std::end(kDialogCodes) ? nullptr : found;
}

constinit Norvik::LogHook pt2LogError;
constinit Norvik::LogHook pt2LogMessage;

/**
 * Starts P11Gui as an orphan, so that the host process gets no child of ours to wait for but the short-lived
 * middle process. Intended: neither that process nor the result of fork is looked at; without a program the
 * wait times out.
 */
void StartProgram()
{
    if (fork() != 0)
    {
        return;
    }
    if (fork() != 0)
    {
        exit(0);
    }
    execlp(kProgram, kProgram, static_cast<char*>(nullptr));
    std::fprintf(stderr, "ERROR: can not execute %s: %s\n", kProgram, std::strerror(errno));
    exit(-1);
}

void WritePinRequest(char* segment, int request, unsigned int minLength, unsigned int maxLength)
{
    DialogSegment::StoreWord(segment, DialogSegment::PinRequest::MinLengthOffset, minLength);
    DialogSegment::StoreWord(segment, DialogSegment::PinRequest::MaxLengthOffset, maxLength);
    DialogSegment::StoreWord(segment, DialogSegment::PinRequest::TimeoutOffset, kPinTimeoutSeconds);
    DialogSegment::StoreState(segment, request);
}

void WriteInfoRequest(char* segment, std::string_view title, std::string_view text, int timeout)
{
    namespace Info = DialogSegment::InfoRequest;
    DialogSegment::StoreWord(segment, Info::TitleLengthOffset, static_cast<std::uint32_t>(title.size()));
    DialogSegment::StoreWord(segment, Info::TextLengthOffset, static_cast<std::uint32_t>(text.size()));
    title.copy(segment + Info::TitleOffset, title.size());
    text.copy(segment + Info::TextOffset(title.size()), text.size());
    DialogSegment::StoreWord(segment, Info::TimeoutOffset(title.size(), text.size()),
                             static_cast<std::uint32_t>(timeout));
    DialogSegment::StoreState(segment, DialogSegment::GuiShowInfo);
}

/**
 * The length that counts of the one in the segment, whatever stands there.
 *
 * Intended: a short answer is raised to the minimum, although the dialog didn't enter that many bytes.
 */
std::size_t PinLength(char* segment, std::size_t lengthOffset, unsigned int minLength, unsigned int maxLength)
{
    const std::uint32_t length = DialogSegment::LoadWord(segment, lengthOffset);
    return std::max(std::min(length, maxLength), minLength);
}

/** How many bytes there are from @p offset to the end of the segment. */
std::size_t BytesFrom(std::size_t offset)
{
    return DialogSegment::Size - std::min(offset, DialogSegment::Size);
}

void TakePin(const char* segment, std::size_t offset, std::size_t length, Norvik::ByteArray& pin)
{
    const std::size_t available = std::min(length, BytesFrom(offset));
    const char* const begin = available == 0 ? segment : segment + offset;
    pin.assign(begin, begin + available);
}

const char* PinName(SmartCardApplication application)
{
    switch (application)
    {
    case AppEncryption:
        return "Geheimhaltungs-PIN";
    case AppSignature:
        return "Signatur-PIN";
    case AppInfobox:
        return "Infobox-PIN";
    case AppInvalid:
        break;
    }
    return "";
}

std::string KeypadHint(const std::string& name, bool bChangePin)
{
    if (!bChangePin)
    {
        return "Bitte geben Sie ihren " + name + " am Kartenleser ein";
    }
    return "Bitte geben Sie folgende Daten am Kartenleser ein\n"
           "1. " +
           name +
           "\n"
           "2. Die neue " +
           name +
           "\n"
           "3. Nochmals die neue " +
           name + "\n";
}

} // namespace

void LibInput::Initialize(const char* /*text*/, const void* /*data*/) {}

void LibInput::SetErrorLoggingFunc(Norvik::LogFunction function)
{
    pt2LogError.Set(function);
}

void LibInput::SetMessageLoggingFunc(Norvik::LogFunction function)
{
    pt2LogMessage.Set(function);
}

void LibInput::LogError(const char* text)
{
    pt2LogError(text);
}

void LibInput::LogMessage(const char* text)
{
    pt2LogMessage(text);
}

bool LibInput::ShowInfo(const char* title, const char* text, int timeout)
{
    constexpr std::size_t kRoom = DialogSegment::InfoRequest::MaxTextBytes;
    const std::string_view titleView(title);
    const std::string_view textView(text);
    if (titleView.size() > kRoom || textView.size() > kRoom - titleView.size())
    {
        return false;
    }
    try
    {
        const MappedDialogSegment segment;
        WriteInfoRequest(segment.Memory(), titleView, textView, timeout);
        int state = 0;
        static_cast<void>(GetResponse(DialogSegment::GuiInfoDone, segment.Memory(), state, timeout));
        return state == DialogSegment::GuiInfoDone;
    }
    catch (const boost::interprocess::interprocess_exception& exception)
    {
        std::puts(exception.what());
        return false;
    }
}

bool LibInput::KillInfo()
{
    const MappedDialogSegment segment;
    char* const memory = segment.Memory();
    DialogSegment::StoreState(memory, DialogSegment::GuiKill);

    const std::clock_t start = std::clock();
    while (true)
    {
        const std::int32_t state = DialogSegment::LoadState(memory);
        if (state == DialogSegment::GuiEnded || state == DialogSegment::GuiInfoDone)
        {
            return true;
        }
        if (std::clock() - start > kKillWaitTicks)
        {
            return true;
        }
        usleep(kKillPollMicroseconds);
    }
}

bool LibInput::GetResponse(int expected, char* segment, int& response, int timeout)
{
    StartProgram();
    if (timeout == kUntilKilled)
    {
        response = expected;
        return true;
    }

    const std::time_t start = std::time(nullptr);
    response = 0;
    while (true)
    {
        response = DialogSegment::LoadState(segment);
        if (response == expected || response == DialogSegment::GuiEnded)
        {
            return true;
        }
        if (std::time(nullptr) - start >= timeout)
        {
            break;
        }
        sleep(kResponsePollSeconds);
    }
    response = DialogSegment::GuiKill;
    DialogSegment::StoreState(segment, DialogSegment::GuiKill);
    return false;
}

bool LibInput::GetPIN(int request, int response, unsigned int minLength, unsigned int maxLength,
                      unsigned char* pin, unsigned long* pinLength)
{
    namespace Answer = DialogSegment::PinAnswer;
    const MappedDialogSegment segment;
    const DialogSegmentRemover remover;
    char* const memory = segment.Memory();
    WritePinRequest(memory, request, minLength, maxLength);

    int state = 0;
    const bool bAnswered = GetResponse(response, memory, state, kPinTimeoutSeconds);
    if (state != response)
    {
        return false;
    }
    // The caller's buffer holds maxLength bytes, also where the minimum is above the maximum.
    const std::size_t length = std::min({PinLength(memory, Answer::LengthOffset, minLength, maxLength),
                                         std::size_t{maxLength}, BytesFrom(Answer::PinOffset)});
    std::memcpy(pin, memory + Answer::PinOffset, length);
    *pinLength = length;
    return bAnswered;
}

bool LibInput::GetPinChange(int request, int response, unsigned int minLength, unsigned int maxLength,
                            Norvik::ByteArray& oldPin, Norvik::ByteArray& newPin)
{
    namespace Answer = DialogSegment::PinChangeAnswer;
    const MappedDialogSegment segment;
    const DialogSegmentRemover remover;
    char* const memory = segment.Memory();
    WritePinRequest(memory, request, minLength, maxLength);

    int state = 0;
    const bool bAnswered = GetResponse(response, memory, state, kPinTimeoutSeconds);
    if (state != response)
    {
        return false;
    }
    TakePin(memory, Answer::OldPinOffset, PinLength(memory, Answer::OldLengthOffset, minLength, maxLength),
            oldPin);
    TakePin(memory, Answer::NewPinOffset(maxLength),
            PinLength(memory, Answer::NewLengthOffset, minLength, maxLength), newPin);
    return bAnswered;
}

bool LibInput::GetPinSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                   unsigned int maxLength, unsigned char* pin, unsigned long& pinLength,
                                   void* /*parent*/)
{
    const DialogCodes* const codes = FindDialogCodes(application);
    return codes != nullptr &&
           GetPIN(codes->pinRequest, codes->pinResponse, minLength, maxLength, pin, &pinLength);
}

bool LibInput::GetPinChangeSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                         unsigned int maxLength, Norvik::ByteArray& oldPin,
                                         Norvik::ByteArray& newPin, void* /*parent*/)
{
    const DialogCodes* const codes = FindDialogCodes(application);
    return codes != nullptr &&
           GetPinChange(codes->changeRequest, codes->changeResponse, minLength, maxLength, oldPin, newPin);
}

iDialogHandle* LibInput::StartExternalEntry(SmartCardApplication application, unsigned int /*minLength*/,
                                            unsigned int /*maxLength*/, std::string /*label*/,
                                            std::string /*identifier*/, bool bChangePin, void* /*parent*/)
{
    const std::string hint = KeypadHint(PinName(application), bChangePin);
    static_cast<void>(ShowInfo("PIN-Eingabe", hint.c_str(), kUntilKilled));
    return nullptr;
}

bool LibInput::EndDialog(iDialogHandle* /*handle*/)
{
    return KillInfo();
}
