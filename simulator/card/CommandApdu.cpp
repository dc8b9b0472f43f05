#include "simulator/card/CommandApdu.h"

namespace
{

constexpr std::size_t kHeaderLength = 4;

std::size_t ExpectedLength(std::uint8_t le)
{
    return le == 0 ? 256 : le;
}

} // namespace

namespace Simulator
{

int CommandApdu::Case() const
{
    if (data.empty())
    {
        return le.has_value() ? 2 : 1;
    }
    return le.has_value() ? 4 : 3;
}

std::optional<CommandApdu> CommandApdu::Parse(ByteView command)
{
    if (command.size() < kHeaderLength)
    {
        return std::nullopt;
    }
    CommandApdu apdu{command[0], command[1], command[2], command[3], {}, std::nullopt};
    const ByteView body = command.subspan(kHeaderLength);
    if (body.empty())
    {
        return apdu;
    }
    if (body.size() == 1)
    {
        apdu.le = ExpectedLength(body[0]);
        return apdu;
    }
    const std::size_t lc = body[0];
    const std::size_t behindLc = body.size() - 1;
    if (lc == 0 || behindLc < lc || behindLc - lc > 1)
    {
        return std::nullopt;
    }
    const ByteView data = body.subspan(1, lc);
    apdu.data.assign(data.begin(), data.end());
    if (behindLc > lc)
    {
        apdu.le = ExpectedLength(body.back());
    }
    return apdu;
}

} // namespace Simulator
