#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/CardKey.h"
#include "simulator/data/Holder.h"

namespace Simulator
{

/**
 * A record that ties the keys of a card to its holder, signed by the made-up authority, in DER:
 *
 *     SEQUENCE { version INTEGER, issued GeneralizedTime,
 *                person SEQUENCE { givenName, surname, dateOfBirth, identifier: UTF8String },
 *                keys SEQUENCE OF OCTET STRING (SHA-256 of each SubjectPublicKeyInfo),
 *                signature BIT STRING (RSA and SHA-256 over the elements before, as a SEQUENCE) }
 */
Bytes MakeIdentityLink(const Holder& holder, const CardKey& encryptionKey, const CardKey& signatureKey);

} // namespace Simulator
