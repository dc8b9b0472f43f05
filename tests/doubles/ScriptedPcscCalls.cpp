#include "tests/doubles/ScriptedPcscCalls.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace ScriptedPcscCalls
{
namespace
{
std::string HexNumber(unsigned long number)
{
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}
} // namespace

std::string Hex(const unsigned char* bytes, std::size_t size)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < size; ++i)
    {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0x0F];
    }
    return text;
}

std::string Unhex(const std::string& hex)
{
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits),
                 [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string EstablishContext(unsigned long scope)
{
    return "SCardEstablishContext scope=" + std::to_string(scope);
}

std::string ReleaseContext(long context)
{
    return "SCardReleaseContext context=" + std::to_string(context);
}

std::string ListReaders(long context, const std::string& buffer)
{
    return "SCardListReaders context=" + std::to_string(context) + " buffer=" + buffer;
}

std::string Connect(long context, const std::string& reader, unsigned long shareMode, unsigned long protocols)
{
    return "SCardConnect context=" + std::to_string(context) + " reader=\"" + reader +
           "\" share=" + std::to_string(shareMode) + " protocols=" + std::to_string(protocols);
}

std::string Reconnect(long card, unsigned long shareMode, unsigned long protocols, unsigned long disposition)
{
    return "SCardReconnect card=" + std::to_string(card) + " share=" + std::to_string(shareMode) +
           " protocols=" + std::to_string(protocols) + " disposition=" + std::to_string(disposition);
}

std::string Disconnect(long card, unsigned long disposition)
{
    return "SCardDisconnect card=" + std::to_string(card) + " disposition=" + std::to_string(disposition);
}

std::string BeginTransaction(long card)
{
    return "SCardBeginTransaction card=" + std::to_string(card);
}

std::string EndTransaction(long card, unsigned long disposition)
{
    return "SCardEndTransaction card=" + std::to_string(card) + " disposition=" + std::to_string(disposition);
}

std::string Status(long card, const std::string& atr)
{
    return "SCardStatus card=" + std::to_string(card) + " atr=" + atr;
}

std::string GetAttrib(long card, unsigned long attribute, const std::string& buffer)
{
    return "SCardGetAttrib card=" + std::to_string(card) + " attribute=" + HexNumber(attribute) +
           " buffer=" + buffer;
}

std::string Control(long card, unsigned long code, const std::string& inputHex, const std::string& buffer)
{
    return "SCardControl card=" + std::to_string(card) + " code=" + HexNumber(code) + " input=[" + inputHex +
           "] buffer=" + buffer;
}

std::string Transmit(long card, const std::string& pci, const std::string& commandHex,
                     const std::string& buffer)
{
    return "SCardTransmit card=" + std::to_string(card) + " pci=" + pci + " command=[" + commandHex +
           "] buffer=" + buffer;
}

std::string Sleep(unsigned int seconds)
{
    return "sleep " + std::to_string(seconds);
}

std::string Usleep(unsigned int microseconds)
{
    return "usleep " + std::to_string(microseconds);
}

std::string OpenFile(const std::string& path, const std::string& mode)
{
    return "fopen " + path + " " + mode;
}

std::string Buffer(const void* bytes, std::size_t size)
{
    if (bytes == nullptr)
    {
        return NoBuffer();
    }
    const auto* const first = static_cast<const unsigned char*>(bytes);
    const bool bZeroed = std::all_of(first, first + size, [](unsigned char byte) { return byte == 0; });
    return bZeroed ? ZeroedBuffer(size) : std::to_string(size) + " not zeroed";
}

std::string ZeroedBuffer(std::size_t size)
{
    return std::to_string(size) + " zeroed";
}

std::string NoBuffer()
{
    return "none";
}

} // namespace ScriptedPcscCalls
