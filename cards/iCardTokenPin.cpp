// The PIN operations of iCardToken.

#include "cards/TransactionGuard.h"
#include "cards/iCardToken.h"
#include "crypto/SecretWipe.h"
#include "input/LibInput.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

#include <algorithm>
#include <string>
#include <utility>

namespace
{

// Bytes of one PIN field of a command, whatever the card.
constexpr int kPinFieldWidth = 8;
// Bytes that a dialog may fill with one PIN.
constexpr unsigned long kPinBufferSize = 256;

using PinDialog = bool (*)(const PINVerifyData& data, Norvik::ByteArray& oldPin, Norvik::ByteArray& newPin);

bool AskForPin(const PINVerifyData& data, Norvik::ByteArray& pin, Norvik::ByteArray& /*newPin*/)
{
    unsigned char buffer[kPinBufferSize] = {};
    const Norvik::WipeGuard guard(buffer);
    unsigned long length = sizeof(buffer);
    if (!LibInput::GetPinSoftwareEntry(data.application, static_cast<unsigned int>(data.minLength),
                                       static_cast<unsigned int>(data.maxLength), buffer, length, nullptr))
    {
        return false;
    }
    pin.Add(buffer, std::min(length, kPinBufferSize));
    return true;
}

bool AskForPinChange(const PINVerifyData& data, Norvik::ByteArray& oldPin, Norvik::ByteArray& newPin)
{
    return LibInput::GetPinChangeSoftwareEntry(data.application, static_cast<unsigned int>(data.minLength),
                                               static_cast<unsigned int>(data.maxLength), oldPin, newPin,
                                               nullptr);
}

} // namespace

/** What sets the check and the change of a PIN apart. */
struct iCardToken::PinOperation
{
    const char* entryLog;
    const char* dialogLog;
    bool bChange; ///< the command carries two PIN fields, old and new
    int (iCardReader::*enterOnReader)(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                                      Norvik::ByteArray& response);
    PinDialog askUser;
};

/** What a profile asks for. */
struct iCardToken::PinRequest
{
    const ChipStructureObject& df;
    std::vector<Apdu> preCommands;
    Apdu& command;
    const PINVerifyData& data;
    const Norvik::ByteArray& pin;
    unsigned long& retries;
};

unsigned long iCardToken::Login(SmartCardApplication app, const Norvik::ByteArray& pin,
                                unsigned long* retries)
{
    const unsigned long rv = AuthenticatePin(app, pin, retries);
    UpdateFlags(rv, *retries);
    if (rv == CKR_OK)
    {
        loggedIn = true;
    }
    return rv;
}

bool iCardToken::Login(SmartCardApplication app, unsigned long* retries)
{
    return Login(app, Norvik::ByteArray(), retries) == CKR_OK;
}

bool iCardToken::Logout(SmartCardApplication app)
{
    loggedIn = false;
    return DeauthenticatePin(app);
}

bool iCardToken::DoPinPadding(Apdu* apdu, PINFormat format, const Norvik::ByteArray& pin)
{
    switch (format)
    {
    case PinFormatAscii:
        apdu->AppendAndPad(pin, kPinFieldWidth);
        return true;
    case PinFormat2:
        apdu->AppendPinFormat2(pin, kPinFieldWidth);
        return true;
    case PinFormatBcd:
        break;
    }
    return false;
}

unsigned long iCardToken::DoAuthenticatePin(const ChipStructureObject& df, std::vector<Apdu> preCommands,
                                            Apdu* command, const PINVerifyData& data,
                                            const Norvik::ByteArray& pin, unsigned long* retries)
{
    static constexpr PinOperation kAuthenticate{"DoAuthenticatePin", "Software PIN Entry - Pin Dialog", false,
                                                &iCardReader::VerifyPin, &AskForPin};
    return RunPinOperation(kAuthenticate, {df, std::move(preCommands), *command, data, pin, *retries});
}

unsigned long iCardToken::DoAuthenticatePin(const ChipStructureObject& df, Apdu* command,
                                            const PINVerifyData& data, const Norvik::ByteArray& pin,
                                            unsigned long* retries)
{
    return DoAuthenticatePin(df, {}, command, data, pin, retries);
}

unsigned long iCardToken::DoChangePin(const ChipStructureObject& df, std::vector<Apdu> preCommands,
                                      Apdu* command, const PINVerifyData& data, const Norvik::ByteArray& pin,
                                      unsigned long* retries)
{
    static constexpr PinOperation kChange{"DoChangePin", "Software PIN Entry - PinChange Dialog", true,
                                          &iCardReader::ChangePin, &AskForPinChange};
    return RunPinOperation(kChange, {df, std::move(preCommands), *command, data, pin, *retries});
}

unsigned long iCardToken::DoChangePin(const ChipStructureObject& df, Apdu* command, const PINVerifyData& data,
                                      const Norvik::ByteArray& pin, unsigned long* retries)
{
    return DoChangePin(df, {}, command, data, pin, retries);
}

unsigned long iCardToken::RunPinOperation(const PinOperation& operation, const PinRequest& request)
{
    LibReaderAndCard::LogMessage(operation.entryLog);
    if (reader == nullptr)
    {
        LibReaderAndCard::LogError("Verify PIN ERROR");
        return CKR_FUNCTION_FAILED;
    }
    // A PIN that the caller gave is sent as a command, also where the reader has a keypad.
    const bool bKeypad = request.pin.empty() && reader->IsSecure();

    TransactionGuard transaction(*reader);
    std::string identifier;
    static_cast<void>(GetCardIdentifier(identifier));

    Norvik::ByteArray response;
    const bool bHasResponse = transaction.Held() && SendBeforePin(request) &&
                              PresentPin(operation, request, identifier, bKeypad, response);
    const unsigned long rv =
        bHasResponse ? VerifyReturnValue(response, &request.retries) : CKR_FUNCTION_FAILED;
    if (rv == CKR_OK)
    {
        LibReaderAndCard::LogMessage("Verify PIN OK");
    }
    else
    {
        LibReaderAndCard::LogError("Verify PIN ERROR");
    }
    transaction.End();
    UpdateFlags(rv, request.retries);
    return rv;
}

bool iCardToken::SendBeforePin(const PinRequest& request)
{
    // A PIN without a directory of its own is no error.
    if (request.df.IsOk())
    {
        if (!impl->SelectFile(request.df))
        {
            return false;
        }
        LibReaderAndCard::LogMessage("SELECT DF OK");
    }
    for (const Apdu& preCommand : request.preCommands)
    {
        Norvik::ByteArray response;
        if (!reader->SendApdu(preCommand, response) || !iCardReader::CheckApduSW(response, 0x90, 0x00))
        {
            return false;
        }
    }
    return true;
}

bool iCardToken::PresentPin(const PinOperation& operation, const PinRequest& request,
                            const std::string& identifier, bool bKeypad, Norvik::ByteArray& response)
{
    if (!bKeypad)
    {
        return SendPinCommand(operation, request, response);
    }
    switch (EnterPinOnReader(operation, request, identifier, response))
    {
    case PinEntryDone:
        return true;
    case PinEntryError:
        LibReaderAndCard::LogError("External PIN Entry Error");
        return false;
    case PinEntryNotSupported:
        LibReaderAndCard::LogError(
            "External PIN Entry Error -> Retry with Software PIN Entry, Set Secure to false");
        reader->SetSecure(false);
        return SendPinCommand(operation, request, response);
    default:
        LibReaderAndCard::LogError("External PIN Entry returns unknown result -> ERROR");
        return false;
    }
}

int iCardToken::EnterPinOnReader(const PinOperation& operation, const PinRequest& request,
                                 const std::string& identifier, Norvik::ByteArray& response)
{
    LibReaderAndCard::LogMessage("External PIN Entry");
    // A copy, since the command itself is still needed when the keypad turns out to be none.
    Apdu keypadCommand = request.command;
    iDialogHandle* const hint = LibInput::StartExternalEntry(
        request.data.application, static_cast<unsigned int>(request.data.minLength),
        static_cast<unsigned int>(request.data.maxLength), GetTokenLabel(), identifier, operation.bChange,
        nullptr);
    const Norvik::ByteArray noPin;
    DoPinPadding(&keypadCommand, request.data.format, noPin);
    if (operation.bChange)
    {
        DoPinPadding(&keypadCommand, request.data.format, noPin);
    }
    const int result = (reader->*operation.enterOnReader)(keypadCommand, &request.data, response);
    LibInput::EndDialog(hint);
    return result;
}

bool iCardToken::SendPinCommand(const PinOperation& operation, const PinRequest& request,
                                Norvik::ByteArray& response)
{
    Norvik::ByteArray oldPin;
    const Norvik::WipeGuard oldGuard(oldPin);
    Norvik::ByteArray newPin;
    const Norvik::WipeGuard newGuard(newPin);
    if (request.pin.empty())
    {
        LibReaderAndCard::LogMessage(operation.dialogLog);
        if (!operation.askUser(request.data, oldPin, newPin))
        {
            LibReaderAndCard::LogError("software pin entry failed");
            return false;
        }
    }
    else
    {
        LibReaderAndCard::LogMessage("Software PIN Entry");
        oldPin = request.pin;
        newPin = request.pin;
    }
    DoPinPadding(&request.command, request.data.format, oldPin);
    if (operation.bChange)
    {
        DoPinPadding(&request.command, request.data.format, newPin);
    }
    response.clear();
    return reader->SendApdu(request.command, response);
}
