#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/CardKey.h"
#include "simulator/data/Holder.h"

#include <cstdint>

namespace Simulator
{

enum class CertificatePurpose
{
    Encryption, ///< digitalSignature, keyEncipherment, dataEncipherment, critical
    Signature   ///< nonRepudiation, critical
};

/**
 * "Muster CA", which issues what the simulated cards carry.
 *
 * Valid from 2020 to 2049 and signed with RSA, so the same request gives the same bytes in every run.
 */
namespace CertificateAuthority
{

/** Its own certificate, self-signed, in DER. */
const Bytes& Certificate();

/** @return the certificate in DER */
Bytes Issue(const Holder& holder, const CardKey& key, CertificatePurpose purpose, std::uint32_t serialNumber);

/** SHA-256 with RSA over any content. */
Bytes Sign(ByteView content);

} // namespace CertificateAuthority

} // namespace Simulator
