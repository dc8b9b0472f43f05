#include "simulator/card/IsoCommands.h"

#include "simulator/card/StatusWord.h"

#include <algorithm>

namespace
{

using namespace Simulator;
using namespace Simulator::StatusWord;

constexpr std::uint8_t kTemplateAuthentication = 0xA4;
constexpr std::uint8_t kTemplateSignature = 0xB6;
constexpr std::uint8_t kTemplateConfidentiality = 0xB8;
constexpr std::uint8_t kTagPublicKeyReference = 0x83;
constexpr std::uint8_t kTagPrivateKeyReference = 0x84;

using DataObjects = std::map<std::uint8_t, Bytes>;

std::optional<DataObjects> ParseDataObjects(ByteView data)
{
    DataObjects objects;
    while (!data.empty())
    {
        if (data.size() < 2 || data.size() - 2 < data[1])
        {
            return std::nullopt;
        }
        const ByteView value = data.subspan(2, data[1]);
        if (!objects.emplace(data[0], Bytes(value.begin(), value.end())).second)
        {
            return std::nullopt;
        }
        data = data.subspan(2 + value.size());
    }
    return objects;
}

bool NamesSameKey(const DataObjects& left, const DataObjects& right)
{
    for (const std::uint8_t tag : {kTagPrivateKeyReference, kTagPublicKeyReference})
    {
        const auto found = left.find(tag);
        const auto other = right.find(tag);
        if ((found == left.end()) != (other == right.end()) ||
            (found != left.end() && found->second != other->second))
        {
            return false;
        }
    }
    return true;
}

bool IsTemplateOf(const KeyUse& use, const CommandApdu& command)
{
    return use.mseP1 == command.p1 && use.controlTemplate == command.p2;
}

bool HasTemplate(const DedicatedFile& directory, const CommandApdu& command)
{
    return std::ranges::any_of(directory.KeyUses(),
                               [&](const KeyUse& use) { return IsTemplateOf(use, command); }) ||
           std::ranges::any_of(directory.Directories(),
                               [&](const auto& child) { return HasTemplate(*child, command); });
}

// A refused SET leaves no key selected: the sequence has to start again.
Response SetSecurityEnvironment(Card& card, const CommandApdu& command)
{
    if (!HasTemplate(card.MasterFile(), command))
    {
        return Response::Status(kWrongParameters);
    }
    card.ForgetKeyUse(command.p2);
    const std::optional<DataObjects> wanted = ParseDataObjects(command.data);
    if (!wanted.has_value())
    {
        return Response::Status(kWrongData);
    }
    bool bKeyKnown = false;
    for (const KeyUse& use : card.CurrentDirectory().KeyUses())
    {
        const std::optional<DataObjects> offered = ParseDataObjects(use.parameters);
        if (!IsTemplateOf(use, command) || !offered.has_value() || !NamesSameKey(*offered, *wanted))
        {
            continue;
        }
        bKeyKnown = true;
        if (*offered == *wanted)
        {
            card.SetKeyUse(use);
            return Response::Status(kOk);
        }
    }
    return Response::Status(bKeyKnown ? kWrongData : kReferenceNotFound);
}

bool IsLengthAllowed(const KeyUse& use, std::size_t length)
{
    return use.inputLengths.empty() || std::ranges::find(use.inputLengths, length) != use.inputLengths.end();
}

Response Compute(Card& card, const KeyUse& use, ByteView input, std::uint16_t inputRefused)
{
    Pin* pin = card.CurrentDirectory().PinToVerify(use.pinReference);
    if (pin == nullptr || !pin->IsVerified())
    {
        return Response::Status(kSecurityNotSatisfied);
    }
    if (!IsLengthAllowed(use, input.size()))
    {
        return Response::Status(kWrongLength);
    }
    std::optional<Bytes> result = use.compute(*use.key, input);
    if (!result.has_value())
    {
        return Response::Status(inputRefused);
    }
    if (use.bPinForEachUse)
    {
        pin->DropStatus();
    }
    return {std::move(*result), kOk};
}

Response InternalAuthenticate(Card& card, const CommandApdu& command)
{
    return Compute(card, *card.SelectedKeyUse(kTemplateAuthentication), command.data, kWrongLength);
}

Response Decipher(Card& card, const CommandApdu& command)
{
    const KeyUse& use = *card.SelectedKeyUse(kTemplateConfidentiality);
    if (command.data.size() != use.key->Size() + 1)
    {
        return Response::Status(kWrongLength);
    }
    // The first byte is the padding indicator: 00, no further indication.
    if (command.data[0] != 0x00)
    {
        return Response::Status(kWrongData);
    }
    return Compute(card, use, ByteView(command.data).subspan(1), kWrongData);
}

Response PutHash(Card& card, const CommandApdu& command)
{
    card.SetHash({});
    if (!IsLengthAllowed(*card.SelectedKeyUse(kTemplateSignature), command.data.size()))
    {
        return Response::Status(kWrongLength);
    }
    card.SetHash(command.data);
    return Response::Status(kOk);
}

// The hash serves for one signature.
Response SignHash(Card& card, const CommandApdu& /*command*/)
{
    Response response = Compute(card, *card.SelectedKeyUse(kTemplateSignature), card.Hash(), kWrongData);
    if (response.statusWord != kSecurityNotSatisfied)
    {
        card.SetHash({});
    }
    return response;
}

constexpr CommandRule kEnvironmentCommands[] = {
    {0x00, 0x22, {}, kCase3, 1, 255, Precondition::None, 0, {}, &SetSecurityEnvironment},
};

constexpr CommandRule kRsaCommands[] = {
    {0x00, 0x88, 0x1000, kCase4, 1, 255, Precondition::KeySelected, kTemplateAuthentication,
     KeyOperation::InternalAuthenticate, &InternalAuthenticate},
    {0x00, 0x2A, 0x8086, kCase4, 1, 255, Precondition::KeySelected, kTemplateConfidentiality,
     KeyOperation::Decipher, &Decipher},
};

constexpr CommandRule kHashThenSignCommands[] = {
    {0x00, 0x2A, 0x9081, kCase3, 1, 255, Precondition::KeySelected, kTemplateSignature,
     KeyOperation::SignHash, &PutHash},
    {0x00, 0x2A, 0x9E9A, kCase2, 0, 0, Precondition::KeyAndHash, kTemplateSignature, KeyOperation::SignHash,
     &SignHash},
};

} // namespace

namespace Simulator
{

std::span<const CommandRule> EnvironmentCommands()
{
    return kEnvironmentCommands;
}

std::span<const CommandRule> RsaCommands()
{
    return kRsaCommands;
}

std::span<const CommandRule> HashThenSignCommands()
{
    return kHashThenSignCommands;
}

} // namespace Simulator
