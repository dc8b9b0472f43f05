#include "cards/CardTokenImpl.h"

#include "cards/Apdu.h"
#include "crypto/Asn1.h"
#include "crypto/LibCardImpl.h"
#include "readers/iCardReader.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace
{

// Data bytes of one READ BINARY, for all cards.
constexpr unsigned long kReadChunk = 255;
constexpr std::size_t kStatusWordLength = 2;

Apdu ReadBinary(unsigned long offset, unsigned long length)
{
    return {0x00, 0xB0, static_cast<unsigned char>((offset >> 8) & 0xFF),
            static_cast<unsigned char>(offset & 0xFF), static_cast<unsigned char>(length)};
}

std::string HexByte(unsigned char value)
{
    constexpr char kDigits[] = "0123456789abcdef";
    return {'0', 'x', kDigits[value >> 4], kDigits[value & 0x0F]};
}

/** Appends what stands before the status word; @p response holds at least that. Gives the number of bytes. */
unsigned long AppendData(const Norvik::ByteArray& response, Norvik::ByteArray& out)
{
    const std::size_t count = response.size() - kStatusWordLength;
    out.insert(out.end(), response.data(), response.data() + count);
    return count;
}

} // namespace

bool CardTokenImpl::SelectFile(const ChipStructureObject& file)
{
    if (reader == nullptr)
    {
        LibCardImpl::LogError("reader is NULL");
        return false;
    }
    if (file.IsDF() && currentDF.IsOk() && currentDF == file)
    {
        LibCardImpl::LogDebug("skip directory select");
        return true;
    }
    if (file.IsDF() || file.IsMF())
    {
        currentDF.Clear();
    }

    Norvik::ByteArray response;
    if (!reader->SendApdu(file.GetSelect(), response))
    {
        LibCardImpl::LogError("error select file");
        return false;
    }
    if (iCardReader::CheckApduSW(response, 0x90, 0x00))
    {
        if (file.IsDF())
        {
            currentDF = file;
        }
        return true;
    }
    if (response.size() < kStatusWordLength)
    {
        LibCardImpl::LogError("error select file");
        return false;
    }
    const unsigned char* const statusWord = response.data() + (response.size() - kStatusWordLength);
    LibCardImpl::LogError("error select file " + HexByte(statusWord[0]) + " " + HexByte(statusWord[1]));
    return false;
}

bool CardTokenImpl::SelectDirectoryAndFile(const ChipStructureObject& df, const ChipStructureObject& ef)
{
    if (!SelectFile(df))
    {
        LibCardImpl::LogError("error change to df");
        return false;
    }
    if (!SelectFile(ef))
    {
        LibCardImpl::LogError("error change to ef");
        return false;
    }
    return true;
}

bool CardTokenImpl::ReadCardFile(unsigned long length, unsigned long offset, Norvik::ByteArray& out)
{
    LibCardImpl::LogMessage("ReadCardFile");
    if (length == 0)
    {
        return true;
    }

    Norvik::ByteArray response;
    // Intended: only an exact match ends the read. A card that gives more than was asked for wraps the
    // remainder.
    unsigned long remainder = length;
    while (true)
    {
        response.clear();
        if (!Send(ReadBinary(offset, std::min(remainder, kReadChunk)), response) ||
            !iCardReader::CheckApduSW(response, 0x90, 0x00))
        {
            break;
        }
        const unsigned long count = AppendData(response, out);
        if (count == remainder)
        {
            return true;
        }
        offset += count;
        remainder -= count;
    }

    if (length == UnknownLength)
    {
        return true;
    }
    LibCardImpl::LogError("error reading data");
    return false;
}

bool CardTokenImpl::ReadCardFile(unsigned long length, Norvik::ByteArray& out)
{
    return ReadCardFile(length, 0, out);
}

bool CardTokenImpl::ReadAsn1DataFromCard(Norvik::ByteArray& out)
{
    LibCardImpl::LogMessage("ReadAsn1DataFromCard");
    out.clear();

    Norvik::ByteArray response;
    if (!Send(ReadBinary(0, kReadChunk), response))
    {
        return false;
    }
    const bool bFileEnded = iCardReader::CheckApduSW(response, 0x62, 0x82, false);
    if (!bFileEnded && !iCardReader::CheckApduSW(response, 0x90, 0x00))
    {
        return false;
    }
    const unsigned long count = AppendData(response, out);
    if (bFileEnded)
    {
        return true;
    }

    // The length is read from the whole response: 90 00 behind the data bounds every form that getLen()
    // knows, and an answer without data has its second status byte for a length.
    int position = 1;
    const unsigned long contentLength = Norvik::getLen(response.data(), position);
    const unsigned long total = contentLength + static_cast<unsigned long>(position);
    if (count < total)
    {
        return ReadCardFile(total - count, count, out);
    }
    return true;
}

bool CardTokenImpl::Send(const Norvik::ByteArray& command, Norvik::ByteArray& response)
{
    return reader != nullptr && reader->SendApdu(command, response);
}
