#pragma once

#include "simulator/card/Card.h"
#include "simulator/cards/CardOptions.h"

#include <memory>
#include <span>
#include <string_view>

namespace Simulator
{

/** One kind of card that can be had by name. */
struct CardKind
{
    std::string_view name;
    std::string_view description;
    std::shared_ptr<Card> (*make)(const CardOptions& options);
};

std::span<const CardKind> CardCatalogue();

/** @throws std::invalid_argument for a name that is not in the catalogue */
std::shared_ptr<Card> MakeCard(std::string_view name, const CardOptions& options = {});

} // namespace Simulator
