#include "cards/iCardToken.h"

#include "cards/CardFile.h"
#include "cards/CardObject.h"
#include "cards/TransactionGuard.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr std::size_t kIdentifierLength = 16;
// A card that has just been put in may answer badly at first.
constexpr int kIdentifierRounds = 3;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool BeginsWith(const unsigned char* name, const char* prefix)
{
    return std::strncmp(reinterpret_cast<const char*>(name), prefix, std::strlen(prefix)) == 0;
}

} // namespace

iCardToken::iCardToken() : impl(std::make_unique<CardTokenImpl>())
{
    LibReaderAndCard::LogMessage("iCardToken constructor");
}

iCardToken::~iCardToken()
{
    LibReaderAndCard::LogMessage("iCardToken destructor");
    for (CardObject*& entry : objects)
    {
        const std::unique_ptr<CardObject> object(entry);
        entry = nullptr;
        if (object)
        {
            object->Free();
        }
    }
}

void iCardToken::UpdateFlags(unsigned long rv, unsigned long retries)
{
    switch (rv)
    {
    case CKR_PIN_INCORRECT:
        flags |= CKF_USER_PIN_COUNT_LOW;
        if (retries == 1)
        {
            flags |= CKF_USER_PIN_FINAL_TRY;
        }
        break;
    case CKR_PIN_LOCKED:
        flags |= CKF_USER_PIN_LOCKED;
        break;
    case CKR_OK:
        flags = DefaultFlags;
        break;
    default:
        break;
    }
}

void iCardToken::SetReader(iCardReader* cardReader)
{
    impl->SetReader(cardReader);
    reader = cardReader;
}

bool iCardToken::GetATR(Norvik::ByteArray& atr)
{
    return reader != nullptr && reader->GetAtr(atr);
}

bool iCardToken::ResetCard()
{
    LibReaderAndCard::LogMessage("ResetCard");
    if (reader == nullptr || !reader->Disconnect())
    {
        LibReaderAndCard::LogError("error disconnect reader");
        return false;
    }
    if (!reader->ConnectReader())
    {
        LibReaderAndCard::LogError("error connet reader");
        return false;
    }
    if (!reader->ConnectCard())
    {
        LibReaderAndCard::LogError("error connect card");
        return false;
    }
    return true;
}

unsigned long iCardToken::CommonCardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                              unsigned long* /*length*/)
{
    if (BeginsWith(name, "ATR"))
    {
        LibReaderAndCard::LogMessage("read ATR from token");
        return GetATR(out) ? CKR_OK : CKR_FUNCTION_FAILED;
    }
    if (!BeginsWith(name, "Reset"))
    {
        return CKR_FUNCTION_FAILED;
    }
    LibReaderAndCard::LogMessage("reset card");
    if (!ResetCard())
    {
        LibReaderAndCard::LogError("error reset card");
        return CKR_FUNCTION_FAILED;
    }
    if (!GetATR(out))
    {
        LibReaderAndCard::LogError("error get ATR");
        return CKR_FUNCTION_FAILED;
    }
    return CKR_OK;
}

bool iCardToken::CardTransmit(const Norvik::ByteArray& command, Norvik::ByteArray& response)
{
    if (reader == nullptr)
    {
        LibReaderAndCard::LogMessage("iCardToken::CardTransmit Reader is NULL");
        return false;
    }
    const TransactionGuard transaction(*reader);
    if (!transaction.Held())
    {
        return false;
    }
    if (!reader->SendApdu(command, response))
    {
        LibReaderAndCard::LogMessage("iCardToken::CardTransmit SendAPDU failed");
        return false;
    }
    return true;
}

bool iCardToken::Write(const Norvik::ByteArray& data)
{
    LibReaderAndCard::LogMessage("writing to cardobject");
    if (data.empty())
    {
        LibReaderAndCard::LogError("writing 0 Bytes ??");
        return false;
    }
    if (reader == nullptr)
    {
        return false;
    }
    Apdu updateBinary(0x00, 0xD6, 0x00, 0x00);
    for (std::size_t offset = 0; offset < data.size();)
    {
        const std::size_t chunk = std::min<std::size_t>(data.size() - offset, UPDATE_BINARY_MAX_WRITE);
        updateBinary.SetP1(static_cast<unsigned char>((offset >> 8) & 0xFF));
        updateBinary.SetP2(static_cast<unsigned char>(offset & 0xFF));
        updateBinary.RemoveDataAndLength();
        updateBinary.Append(static_cast<unsigned char>(chunk));
        updateBinary.Append(data.data() + offset, static_cast<int>(chunk));
        offset += chunk;

        Norvik::ByteArray response;
        if (!reader->SendApdu(updateBinary, response) || !iCardReader::CheckApduSW(response, 0x90, 0x00))
        {
            return false;
        }
    }
    return true;
}

bool iCardToken::IsIdentifierOk(const std::string& text)
{
    if (text.size() != kIdentifierLength)
    {
        LibReaderAndCard::LogMessage("identifier length != 16");
        return false;
    }
    if (!std::all_of(text.begin(), text.end(), IsDigit))
    {
        LibReaderAndCard::LogMessage("invalid char in identifier");
        return false;
    }
    return true;
}

bool iCardToken::GetCardIdentifier(std::string& out)
{
    out.clear();
    for (int round = 0; round < kIdentifierRounds; ++round)
    {
        if (InternalGetCardIdentifier(out) && IsIdentifierOk(out))
        {
            return true;
        }
    }
    return false;
}

bool iCardToken::IsChipIdOk(const std::string& text)
{
    if (text.size() < kIdentifierLength)
    {
        LibReaderAndCard::LogMessage("identifier length < 16");
        return false;
    }
    if (!std::all_of(text.begin(), text.begin() + kIdentifierLength, IsHexDigit))
    {
        LibReaderAndCard::LogMessage("invalid char in identifier");
        return false;
    }
    return true;
}

bool iCardToken::GetChipId(std::string& out)
{
    // Intended: a known chip id is read again.
    out.clear();
    bool bOk = false;
    for (int round = 0; round < kIdentifierRounds && !bOk; ++round)
    {
        bOk = InternalGetChipId(out) && IsChipIdOk(out);
    }
    chipId = out;
    return bOk;
}
