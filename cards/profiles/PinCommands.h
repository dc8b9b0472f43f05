#pragma once

#include "cards/SmartCardApplication.h"
#include "crypto/ByteArray.h"

#include <span>

struct PINVerifyData;
class ChipStructureObject;
class iCardToken;

/** How one PIN of a card is presented or changed: a row of a profile's table. */
struct PinCommand
{
    SmartCardApplication application;
    unsigned char reference;           ///< P2 of the command
    const ChipStructureObject* parent; ///< selected ahead of the PIN flow, null for none
    const ChipStructureObject* target; ///< what the PIN flow selects
    const PINVerifyData* data;
    std::span<const unsigned char> preCommand; ///< sent before the PIN is asked for, empty for none
};

/** What a status word of a PIN command does besides giving a result. */
enum class PinStatusKind
{
    Plain,
    Tries,           ///< the low nibble is the retry counter, for the text and the caller
    NoTriesLeft,     ///< the caller's retry counter becomes all ones
    NamesStatusWord, ///< SW1 and SW2 go into the text
};

/** One row of a status-word table; the first match wins and the last row matches all. */
struct PinStatus
{
    unsigned int statusWord;
    unsigned int mask; ///< FFF0 leaves the retry counter in the low nibble open, 0000 takes any status word
    unsigned long result; ///< a CKR_ value
    const char* text;     ///< a printf format for the kinds with a number in their text
    PinStatusKind kind;
};

/** The PIN operations of a profile, by table. */
namespace PinCommands
{

/**
 * AuthenticatePin(): presets the retry counter, then VERIFY through the common PIN flow.
 *
 * @return a CKR_ value; CKR_FUNCTION_FAILED for an application without a row
 */
unsigned long Verify(iCardToken& token, std::span<const PinCommand> commands, SmartCardApplication app,
                     const Norvik::ByteArray& pin, unsigned long* retries);

/** ChangePin(): CHANGE REFERENCE DATA through the common PIN flow; otherwise as Verify(). */
unsigned long Change(iCardToken& token, std::span<const PinCommand> commands, SmartCardApplication app);

/**
 * VerifyReturnValue(): logs the row's text and gives its result.
 *
 * Looks at the first two bytes of @p response. A shorter one is no status word and takes the last row, with
 * 00 for what is missing. @p retries may be null.
 */
unsigned long TranslateStatus(std::span<const PinStatus> rows, const Norvik::ByteArray& response,
                              unsigned long* retries);

} // namespace PinCommands
