#pragma once

#include "simulator/card/Card.h"

#include <span>

namespace Simulator
{

/** SELECT, READ BINARY, UPDATE BINARY. */
std::span<const CommandRule> FileCommands();

/** VERIFY, CHANGE REFERENCE DATA. */
std::span<const CommandRule> PinCommands();

/** MANAGE SECURITY ENVIRONMENT SET. */
std::span<const CommandRule> EnvironmentCommands();

/** INTERNAL AUTHENTICATE with P1-P2 1000, and PSO DECIPHER. */
std::span<const CommandRule> RsaCommands();

/** PSO HASH with the plain digest, then PSO COMPUTE DIGITAL SIGNATURE without data. */
std::span<const CommandRule> HashThenSignCommands();

} // namespace Simulator
