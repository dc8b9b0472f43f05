#include "simulator/cards/CardCatalogue.h"

#include "simulator/cards/Acos03.h"

#include <stdexcept>
#include <string>

namespace
{

using namespace Simulator;

constexpr CardKind kCatalogue[] = {
    {"acos03", "signature card on the chip ACOS EMV-A03: RSA 1536, P-192, infobox", &MakeAcos03},
};

} // namespace

namespace Simulator
{

std::span<const CardKind> CardCatalogue()
{
    return kCatalogue;
}

std::shared_ptr<Card> MakeCard(std::string_view name, const CardOptions& options)
{
    for (const CardKind& kind : kCatalogue)
    {
        if (kind.name == name)
        {
            return kind.make(options);
        }
    }
    throw std::invalid_argument("no such card: " + std::string(name));
}

} // namespace Simulator
