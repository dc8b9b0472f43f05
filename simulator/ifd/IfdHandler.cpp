// The driver that pcscd loads: it passes everything to the world that its DEVICENAME names.

#include "simulator/ifd/WorldClient.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

// The header declares C functions without saying so to a C++ compiler.
extern "C" {
#include <ifdhandler.h>
#include <reader.h>
}

#define KMARK_EXPORT __attribute__((visibility("default")))

namespace
{

using Simulator::WorldClient;
using Simulator::WorldProtocol::Operation;
using Simulator::WorldProtocol::Outcome;
using Bytes = std::vector<std::uint8_t>;

constexpr UCHAR kMostReaders = 16;
constexpr int kMillisecondsPerSecond = 1000;

/** One reader of pcscd. */
struct Channel
{
    explicit Channel(const std::string& deviceName) : world(deviceName) {}

    WorldClient world;
    std::mutex mutex;
    Bytes atr; ///< guarded by mutex
};

// The polling thread may still hold a channel that pcscd closes.
std::mutex sChannelMutex;
std::map<DWORD, std::shared_ptr<Channel>> sChannels;

std::shared_ptr<Channel> Find(DWORD lun)
{
    const std::lock_guard lock(sChannelMutex);
    const auto found = sChannels.find(lun);
    return found == sChannels.end() ? nullptr : found->second;
}

// pcscd is written in C: nothing may be thrown through it.
template <typename Function>
RESPONSECODE WithChannel(DWORD lun, Function function) noexcept
{
    try
    {
        const std::shared_ptr<Channel> channel = Find(lun);
        return channel ? function(*channel) : IFD_NO_SUCH_DEVICE;
    }
    catch (...)
    {
        return IFD_COMMUNICATION_ERROR;
    }
}

RESPONSECODE Give(const void* content, std::size_t size, PDWORD length, PUCHAR value)
{
    if (*length < size)
    {
        return IFD_ERROR_INSUFFICIENT_BUFFER;
    }
    if (size > 0)
    {
        std::memcpy(value, content, size);
    }
    *length = size;
    return IFD_SUCCESS;
}

RESPONSECODE GiveByte(UCHAR byte, PDWORD length, PUCHAR value)
{
    return Give(&byte, sizeof byte, length, value);
}

RESPONSECODE WaitForCardEvent(DWORD lun, int timeoutSeconds)
{
    return WithChannel(lun, [&](Channel& channel) -> RESPONSECODE {
        channel.world.WaitForChange(timeoutSeconds * kMillisecondsPerSecond);
        return IFD_SUCCESS;
    });
}

RESPONSECODE StopWaiting(DWORD lun)
{
    return WithChannel(lun, [](Channel& channel) -> RESPONSECODE {
        channel.world.StopWaiting();
        return IFD_SUCCESS;
    });
}

RESPONSECODE GiveAtr(Channel& channel, PDWORD length, PUCHAR value)
{
    const std::lock_guard lock(channel.mutex);
    return Give(channel.atr.data(), channel.atr.size(), length, value);
}

RESPONSECODE GivePresence(Channel& channel, PDWORD length, PUCHAR value)
{
    constexpr UCHAR kAbsent = 0;
    constexpr UCHAR kPresentAndSwallowed = 2;
    const bool bPresent = channel.world.Ask(Operation::IsPresent).outcome == Outcome::Ok;
    return GiveByte(bPresent ? kPresentAndSwallowed : kAbsent, length, value);
}

} // namespace

extern "C" {

KMARK_EXPORT RESPONSECODE IFDHCreateChannelByName(DWORD Lun, LPSTR DeviceName)
{
    try
    {
        auto channel = std::make_shared<Channel>(DeviceName);
        const std::lock_guard lock(sChannelMutex);
        sChannels[Lun] = std::move(channel);
        return IFD_SUCCESS;
    }
    catch (...)
    {
        return IFD_COMMUNICATION_ERROR;
    }
}

// A reader of this driver is known by its name alone.
KMARK_EXPORT RESPONSECODE IFDHCreateChannel(DWORD /*Lun*/, DWORD /*Channel*/)
{
    return IFD_NO_SUCH_DEVICE;
}

KMARK_EXPORT RESPONSECODE IFDHCloseChannel(DWORD Lun)
{
    const std::lock_guard lock(sChannelMutex);
    sChannels.erase(Lun);
    return IFD_SUCCESS;
}

KMARK_EXPORT RESPONSECODE IFDHGetCapabilities(DWORD Lun, DWORD Tag, PDWORD Length, PUCHAR Value)
{
    return WithChannel(Lun, [&](Channel& channel) -> RESPONSECODE {
        RESPONSECODE (*const wait)(DWORD, int) = &WaitForCardEvent;
        RESPONSECODE (*const stop)(DWORD) = &StopWaiting;
        switch (Tag)
        {
        case TAG_IFD_ATR:
        case SCARD_ATTR_ATR_STRING:
            return GiveAtr(channel, Length, Value);
        case SCARD_ATTR_ICC_PRESENCE:
            return GivePresence(channel, Length, Value);
        case TAG_IFD_SIMULTANEOUS_ACCESS:
            return GiveByte(kMostReaders, Length, Value);
        case TAG_IFD_THREAD_SAFE:
        case TAG_IFD_SLOTS_NUMBER:
            return GiveByte(1, Length, Value);
        case TAG_IFD_SLOT_THREAD_SAFE:
        case TAG_IFD_POLLING_THREAD_KILLABLE:
            return GiveByte(0, Length, Value);
        case TAG_IFD_POLLING_THREAD_WITH_TIMEOUT:
            return Give(&wait, sizeof wait, Length, Value);
        case TAG_IFD_STOP_POLLING_THREAD:
            return Give(&stop, sizeof stop, Length, Value);
        default:
            return IFD_ERROR_TAG;
        }
    });
}

KMARK_EXPORT RESPONSECODE IFDHSetCapabilities(DWORD /*Lun*/, DWORD /*Tag*/, DWORD /*Length*/,
                                              PUCHAR /*Value*/)
{
    return IFD_ERROR_VALUE_READ_ONLY;
}

// The cards offer T=1 alone, with the parameters of the standard: there is nothing to negotiate.
KMARK_EXPORT RESPONSECODE IFDHSetProtocolParameters(DWORD /*Lun*/, DWORD Protocol, UCHAR /*Flags*/,
                                                    UCHAR /*PTS1*/, UCHAR /*PTS2*/, UCHAR /*PTS3*/)
{
    return Protocol == SCARD_PROTOCOL_T1 ? IFD_SUCCESS : IFD_PROTOCOL_NOT_SUPPORTED;
}

KMARK_EXPORT RESPONSECODE IFDHPowerICC(DWORD Lun, DWORD Action, PUCHAR Atr, PDWORD AtrLength)
{
    return WithChannel(Lun, [&](Channel& channel) -> RESPONSECODE {
        WorldClient::Answer answer;
        const std::size_t room = *AtrLength;
        *AtrLength = 0;
        switch (Action)
        {
        case IFD_POWER_DOWN:
            channel.world.Ask(Operation::PowerOff);
            answer.outcome = Outcome::Ok;
            break;
        case IFD_POWER_UP:
            answer = channel.world.Ask(Operation::PowerOn);
            break;
        case IFD_RESET:
            answer = channel.world.Ask(Operation::Reset);
            break;
        default:
            return IFD_NOT_SUPPORTED;
        }
        if (answer.outcome != Outcome::Ok ||
            answer.content.size() > std::min<std::size_t>(room, MAX_ATR_SIZE))
        {
            return IFD_ERROR_POWER_ACTION;
        }
        const std::lock_guard lock(channel.mutex);
        channel.atr = answer.content;
        std::copy(channel.atr.begin(), channel.atr.end(), Atr);
        *AtrLength = channel.atr.size();
        return IFD_SUCCESS;
    });
}

KMARK_EXPORT RESPONSECODE IFDHTransmitToICC(DWORD Lun, SCARD_IO_HEADER SendPci, PUCHAR TxBuffer,
                                            DWORD TxLength, PUCHAR RxBuffer, PDWORD RxLength,
                                            PSCARD_IO_HEADER RecvPci)
{
    return WithChannel(Lun, [&](Channel& channel) -> RESPONSECODE {
        const std::size_t room = *RxLength;
        *RxLength = 0;
        const WorldClient::Answer answer = channel.world.Ask(Operation::Transmit, {TxBuffer, TxLength});
        if (answer.outcome != Outcome::Ok)
        {
            const bool bPresent = channel.world.Ask(Operation::IsPresent).outcome == Outcome::Ok;
            return bPresent ? IFD_COMMUNICATION_ERROR : IFD_ICC_NOT_PRESENT;
        }
        if (answer.content.size() > room)
        {
            return IFD_ERROR_INSUFFICIENT_BUFFER;
        }
        std::copy(answer.content.begin(), answer.content.end(), RxBuffer);
        *RxLength = answer.content.size();
        if (RecvPci != nullptr)
        {
            RecvPci->Protocol = SendPci.Protocol;
        }
        return IFD_SUCCESS;
    });
}

KMARK_EXPORT RESPONSECODE IFDHControl(DWORD Lun, DWORD dwControlCode, PUCHAR TxBuffer, DWORD TxLength,
                                      PUCHAR RxBuffer, DWORD RxLength, LPDWORD pdwBytesReturned)
{
    return WithChannel(Lun, [&](Channel& channel) -> RESPONSECODE {
        if (pdwBytesReturned != nullptr)
        {
            *pdwBytesReturned = 0;
        }
        const auto code = static_cast<std::uint32_t>(dwControlCode);
        Bytes request(sizeof code);
        std::memcpy(request.data(), &code, sizeof code);
        request.insert(request.end(), TxBuffer, TxBuffer + TxLength);
        const WorldClient::Answer answer = channel.world.Ask(Operation::Control, request);
        // A list of no features is an answer too: it comes from readers without an extension.
        if (answer.outcome != Outcome::Ok && code == CM_IOCTL_GET_FEATURE_REQUEST)
        {
            return IFD_SUCCESS;
        }
        if (answer.outcome != Outcome::Ok)
        {
            return IFD_NOT_SUPPORTED;
        }
        if (answer.content.size() > RxLength || pdwBytesReturned == nullptr)
        {
            return IFD_ERROR_INSUFFICIENT_BUFFER;
        }
        std::copy(answer.content.begin(), answer.content.end(), RxBuffer);
        *pdwBytesReturned = answer.content.size();
        return IFD_SUCCESS;
    });
}

KMARK_EXPORT RESPONSECODE IFDHICCPresence(DWORD Lun)
{
    return WithChannel(Lun, [](Channel& channel) -> RESPONSECODE {
        return channel.world.Ask(Operation::IsPresent).outcome == Outcome::Ok ? IFD_ICC_PRESENT
                                                                              : IFD_ICC_NOT_PRESENT;
    });
}

} // extern "C"
