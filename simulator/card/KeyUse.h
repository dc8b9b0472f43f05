#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/CardKey.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Simulator
{

/** The command that carries out what MANAGE SECURITY ENVIRONMENT has prepared. */
enum class KeyOperation
{
    InternalAuthenticate,
    Decipher,
    SignHash, ///< PSO HASH, then PSO COMPUTE DIGITAL SIGNATURE without data
    SignData  ///< PSO COMPUTE DIGITAL SIGNATURE with the hash in its data field
};

/** One row of what a key of a DF may do, and how a command names it. */
struct KeyUse
{
    std::uint8_t mseP1 = 0;           ///< P1 of MSE SET
    std::uint8_t controlTemplate = 0; ///< P2 of MSE SET: A4, B6 or B8
    Bytes parameters;                 ///< the data objects of MSE SET; their order in the command is free
    KeyOperation operation = KeyOperation::SignHash;
    std::shared_ptr<const CardKey> key;
    std::uint8_t pinReference = 0;
    std::vector<std::size_t> inputLengths; ///< empty: what the computation accepts
    bool bPinForEachUse = false;           ///< the PIN status is used up by one computation
    /** Nothing for an input that the key can't take. */
    std::function<std::optional<Bytes>(const CardKey&, ByteView)> compute;
};

} // namespace Simulator
