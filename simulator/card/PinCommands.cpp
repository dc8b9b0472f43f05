#include "simulator/card/IsoCommands.h"

#include "simulator/card/StatusWord.h"

namespace
{

using namespace Simulator;
using namespace Simulator::StatusWord;

// Case 1 asks for the state and costs nothing.
Response Verify(Card& card, const CommandApdu& command)
{
    if (command.p1 != 0x00)
    {
        return Response::Status(kWrongParameters);
    }
    Pin* pin = card.CurrentDirectory().PinToVerify(command.p2);
    if (pin == nullptr)
    {
        return Response::Status(kReferenceNotFound);
    }
    return Response::Status(command.data.empty() ? pin->Status() : pin->Verify(command.data));
}

Response ChangeReferenceData(Card& card, const CommandApdu& command)
{
    if (command.p1 != 0x00)
    {
        return Response::Status(kWrongParameters);
    }
    Pin* pin = card.CurrentDirectory().PinToChange(command.p2);
    if (pin == nullptr)
    {
        return Response::Status(kReferenceNotFound);
    }
    const ByteView blocks = command.data;
    return Response::Status(pin->Change(blocks.first(Pin::kBlockLength), blocks.subspan(Pin::kBlockLength)));
}

constexpr CommandRule kPinCommands[] = {
    {0x00, 0x20, {}, kCase1 | kCase3, 8, 8, Precondition::None, 0, {}, &Verify},
    {0x00, 0x24, {}, kCase3, 16, 16, Precondition::None, 0, {}, &ChangeReferenceData},
};

} // namespace

namespace Simulator
{

std::span<const CommandRule> PinCommands()
{
    return kPinCommands;
}

} // namespace Simulator
