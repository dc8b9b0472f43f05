#include "simulator/card/IsoCommands.h"

#include "simulator/card/StatusWord.h"

#include <algorithm>

namespace
{

using namespace Simulator;
using namespace Simulator::StatusWord;

constexpr std::uint8_t kByFileId = 0x00;
constexpr std::uint8_t kFileUnderCurrentDf = 0x02;
constexpr std::uint8_t kByDfName = 0x04;
constexpr std::uint8_t kReturnFci = 0x00;
constexpr std::uint8_t kReturnNothing = 0x0C;
constexpr std::size_t kWholeRest = 256;

std::uint16_t FileIdIn(const Bytes& data)
{
    return static_cast<std::uint16_t>(data[0] * 256 + data[1]);
}

void AppendTlv(Bytes& target, std::uint8_t tag, ByteView value)
{
    target.push_back(tag);
    target.push_back(static_cast<std::uint8_t>(value.size()));
    Append(target, value);
}

Bytes TwoBytes(std::size_t value)
{
    return {static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value & 0xFFU)};
}

Bytes Fci(const Card& card)
{
    Bytes content;
    if (const ElementaryFile* file = card.CurrentFile())
    {
        AppendTlv(content, 0x80, TwoBytes(file->content.size()));
        AppendTlv(content, 0x82, Bytes{0x01});
        AppendTlv(content, 0x83, TwoBytes(file->fileId));
    }
    else
    {
        const DedicatedFile& directory = card.CurrentDirectory();
        AppendTlv(content, 0x82, Bytes{0x38});
        AppendTlv(content, 0x83, TwoBytes(directory.FileId()));
        if (!directory.DfName().empty())
        {
            AppendTlv(content, 0x84, directory.DfName());
        }
    }
    Bytes fci;
    AppendTlv(fci, 0x6F, content);
    return fci;
}

bool SelectUnder(Card& card, DedicatedFile& directory, std::uint16_t fileId)
{
    if (DedicatedFile* child = directory.DirectoryById(fileId))
    {
        card.SelectDirectory(*child);
        return true;
    }
    return false;
}

bool SelectFileUnderCurrentDf(Card& card, std::uint16_t fileId)
{
    if (ElementaryFile* file = card.CurrentDirectory().FileById(fileId))
    {
        card.SelectFile(*file);
        return true;
    }
    return false;
}

// ISO 7816-4 searches the children of the current DF, its parent, and the children of the parent, in this order.
bool SelectByFileId(Card& card, std::uint16_t fileId)
{
    DedicatedFile& current = card.CurrentDirectory();
    for (DedicatedFile* same : {&card.MasterFile(), &current, current.Parent()})
    {
        if (same != nullptr && same->FileId() == fileId)
        {
            card.SelectDirectory(*same);
            return true;
        }
    }
    return SelectFileUnderCurrentDf(card, fileId) || SelectUnder(card, current, fileId) ||
           (current.Parent() != nullptr && SelectUnder(card, *current.Parent(), fileId));
}

bool SelectByDfName(Card& card, ByteView dfName)
{
    if (DedicatedFile* directory = card.MasterFile().DirectoryByDfName(dfName))
    {
        card.SelectDirectory(*directory);
        return true;
    }
    return false;
}

Response Select(Card& card, const CommandApdu& command)
{
    if (command.p2 != kReturnNothing && command.p2 != kReturnFci)
    {
        return Response::Status(kWrongParameters);
    }
    if (command.p1 != kByFileId && command.p1 != kFileUnderCurrentDf && command.p1 != kByDfName)
    {
        return Response::Status(kWrongParameters);
    }
    if (command.p1 != kByDfName && command.data.size() != 2)
    {
        return Response::Status(kWrongLength);
    }
    const bool bFound = command.p1 == kByDfName   ? SelectByDfName(card, command.data)
                        : command.p1 == kByFileId ? SelectByFileId(card, FileIdIn(command.data))
                                                  : SelectFileUnderCurrentDf(card, FileIdIn(command.data));
    if (!bFound)
    {
        return Response::Status(kFileNotFound);
    }
    if (command.p2 == kReturnFci && command.le.has_value())
    {
        return {Fci(card), kOk};
    }
    return Response::Status(kOk);
}

// P1 with its top bit set names the file by its short identifier and selects it.
std::uint16_t FindTarget(Card& card, const CommandApdu& command, std::size_t& offset)
{
    if ((command.p1 & 0x80U) == 0)
    {
        offset = command.P1P2();
        return card.CurrentFile() == nullptr ? kNoCurrentFile : kOk;
    }
    const auto shortFileId = static_cast<std::uint8_t>(command.p1 & 0x1FU);
    if ((command.p1 & 0x60U) != 0 || shortFileId == 0 || shortFileId == 0x1F)
    {
        return kWrongParameters;
    }
    ElementaryFile* file = card.CurrentDirectory().FileByShortId(shortFileId);
    if (file == nullptr)
    {
        return kFileNotFound;
    }
    card.SelectFile(*file);
    offset = command.p2;
    return kOk;
}

// Le 00 asks for what is there. Any other Le that reaches past the end gets the rest, with the warning 6282.
Response ReadBinary(Card& card, const CommandApdu& command)
{
    std::size_t offset = 0;
    if (const std::uint16_t outcome = FindTarget(card, command, offset); outcome != kOk)
    {
        return Response::Status(outcome);
    }
    const ElementaryFile& file = *card.CurrentFile();
    if (!card.IsAllowed(file.read))
    {
        return Response::Status(kSecurityNotSatisfied);
    }
    if (offset >= file.content.size())
    {
        return Response::Status(kWrongOffset);
    }
    const std::size_t wanted = *command.le;
    const ByteView rest = ByteView(file.content).subspan(offset);
    const ByteView given = rest.first(std::min(wanted, rest.size()));
    const bool bEndOfFile = wanted != kWholeRest && wanted > rest.size();
    return {Bytes(given.begin(), given.end()), bEndOfFile ? kEndOfFile : kOk};
}

Response UpdateBinary(Card& card, const CommandApdu& command)
{
    std::size_t offset = 0;
    if (const std::uint16_t outcome = FindTarget(card, command, offset); outcome != kOk)
    {
        return Response::Status(outcome);
    }
    ElementaryFile& file = *card.CurrentFile();
    if (!card.IsAllowed(file.update))
    {
        return Response::Status(kSecurityNotSatisfied);
    }
    if (offset >= file.content.size())
    {
        return Response::Status(kWrongOffset);
    }
    if (command.data.size() > file.content.size() - offset)
    {
        return Response::Status(kNotEnoughMemory);
    }
    std::ranges::copy(command.data, file.content.begin() + static_cast<std::ptrdiff_t>(offset));
    return Response::Status(kOk);
}

constexpr CommandRule kFileCommands[] = {
    {0x00, 0xA4, {}, kCase3 | kCase4, 1, 16, Precondition::None, 0, {}, &Select},
    {0x00, 0xB0, {}, kCase2, 0, 0, Precondition::None, 0, {}, &ReadBinary},
    {0x00, 0xD6, {}, kCase3, 1, 255, Precondition::None, 0, {}, &UpdateBinary},
};

} // namespace

namespace Simulator
{

std::span<const CommandRule> FileCommands()
{
    return kFileCommands;
}

} // namespace Simulator
