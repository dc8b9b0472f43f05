#include "cards/profiles/PinCommands.h"

#include "cards/Apdu.h"
#include "cards/ChipStructureObject.h"
#include "cards/PINVerifyData.h"
#include "cards/iCardToken.h"
#include "crypto/SecretWipe.h"
#include "readers/LibReaderAndCard.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace PinCommands
{

namespace
{

constexpr unsigned char kVerify = 0x20;
constexpr unsigned char kChangeReferenceData = 0x24;
constexpr unsigned char kPinBlockBytes = 8;
constexpr std::size_t kHeaderAndLengthBytes = 5;

/** What a caller reads before the card has answered. */
unsigned long PresetRetries(SmartCardApplication app)
{
    return app == AppSignature ? 3 : 10;
}

const PinCommand* Find(std::span<const PinCommand> commands, SmartCardApplication app)
{
    const auto row = std::find_if(commands.begin(), commands.end(),
                                  [app](const PinCommand& command) { return command.application == app; });
    return row == commands.end() ? nullptr : &*row;
}

std::vector<Apdu> PreCommands(const PinCommand& row)
{
    std::vector<Apdu> commands;
    if (!row.preCommand.empty())
    {
        commands.emplace_back().Append(row.preCommand.data(), static_cast<int>(row.preCommand.size()));
    }
    return commands;
}

/** CLA to Lc, with room for the PIN blocks: a buffer that grows would leave a copy of the PIN behind. */
Apdu CommandHead(unsigned char instruction, unsigned char reference, unsigned char blockBytes)
{
    Apdu command;
    command.reserve(kHeaderAndLengthBytes + blockBytes);
    for (const unsigned char byte : {static_cast<unsigned char>(0x00), instruction,
                                     static_cast<unsigned char>(0x00), reference, blockBytes})
    {
        command.Append(byte);
    }
    return command;
}

std::string Describe(const PinStatus& row, unsigned int sw1, unsigned int sw2)
{
    char text[64];
    switch (row.kind)
    {
    case PinStatusKind::Plain:
    case PinStatusKind::NoTriesLeft:
        return row.text;
    case PinStatusKind::Tries:
        std::snprintf(text, sizeof(text), row.text, static_cast<int>(sw2 & 0x0FU));
        return text;
    case PinStatusKind::NamesStatusWord:
        std::snprintf(text, sizeof(text), row.text, sw1, sw2);
        return text;
    }
    return {};
}

} // namespace

unsigned long Verify(iCardToken& token, std::span<const PinCommand> commands, SmartCardApplication app,
                     const Norvik::ByteArray& pin, unsigned long* retries)
{
    *retries = PresetRetries(app);
    const PinCommand* row = Find(commands, app);
    if (row == nullptr || (row->parent != nullptr && !token.Impl().SelectFile(*row->parent)))
    {
        return CKR_FUNCTION_FAILED;
    }
    Apdu command = CommandHead(kVerify, row->reference, kPinBlockBytes);
    const Norvik::WipeGuard wipe(command);
    return token.DoAuthenticatePin(*row->target, PreCommands(*row), &command, *row->data, pin, retries);
}

unsigned long Change(iCardToken& token, std::span<const PinCommand> commands, SmartCardApplication app)
{
    unsigned long retries = PresetRetries(app);
    const PinCommand* row = Find(commands, app);
    if (row == nullptr)
    {
        return CKR_FUNCTION_FAILED;
    }
    Apdu command = CommandHead(kChangeReferenceData, row->reference, 2 * kPinBlockBytes);
    const Norvik::WipeGuard wipe(command);
    return token.DoChangePin(*row->target, PreCommands(*row), &command, *row->data, Norvik::ByteArray(),
                             &retries);
}

unsigned long TranslateStatus(std::span<const PinStatus> rows, const Norvik::ByteArray& response,
                              unsigned long* retries)
{
    const unsigned int sw1 = response.empty() ? 0 : response[0];
    const unsigned int sw2 = response.size() < 2 ? 0 : response[1];
    const unsigned int statusWord = sw1 << 8U | sw2;
    const auto found = response.size() < 2
                           ? rows.end()
                           : std::find_if(rows.begin(), rows.end(), [statusWord](const PinStatus& row) {
                                 return (statusWord & row.mask) == row.statusWord;
                             });
    const PinStatus& row = found == rows.end() ? rows.back() : *found;

    const std::string text = Describe(row, sw1, sw2);
    if (row.result == CKR_OK)
    {
        LibReaderAndCard::LogMessage(text);
    }
    else
    {
        LibReaderAndCard::LogError(text);
    }
    if (retries != nullptr && row.kind == PinStatusKind::Tries)
    {
        *retries = sw2 & 0x0FU;
    }
    if (retries != nullptr && row.kind == PinStatusKind::NoTriesLeft)
    {
        *retries = ~0UL;
    }
    return row.result;
}

} // namespace PinCommands
