#include "cards/profiles/KeySession.h"

#include "cards/profiles/ProfileCommon.h"
#include "readers/LibReaderAndCard.h"

namespace
{

constexpr std::size_t kStatusWordBytes = 2;

} // namespace

bool KeySession::SetEnvironment(std::span<const unsigned char> command)
{
    if (!m_Transaction.Held())
    {
        return false;
    }
    LibReaderAndCard::LogMessage("manage security environment");
    return Send(command);
}

bool KeySession::Send(std::span<const unsigned char> command)
{
    return m_Transaction.Held() && ProfileCommon::SendChecked(m_Reader, command, m_Response);
}

Norvik::ByteArray KeySession::Data() const
{
    if (m_Response.size() < kStatusWordBytes)
    {
        return {};
    }
    return {m_Response.data(), m_Response.size() - kStatusWordBytes};
}

bool AppendWithLength(Apdu& command, const Norvik::ByteArray& data)
{
    if (data.size() > 0xFF)
    {
        return false;
    }
    command.Append(static_cast<unsigned char>(data.size()));
    command.Append(data);
    return true;
}

bool AppendCryptogram(Apdu& command, const Norvik::ByteArray& cryptogram, std::size_t keyBytes)
{
    if (cryptogram.size() > keyBytes)
    {
        return false;
    }
    constexpr unsigned char kPaddingIndicator = 0x00;
    command.Append(static_cast<unsigned char>(keyBytes + 1));
    command.Append(kPaddingIndicator);
    command.insert(command.end(), keyBytes - cryptogram.size(), 0x00);
    command.Append(cryptogram);
    command.Append(0x00);
    return true;
}
