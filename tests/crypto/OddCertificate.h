#pragma once

#include "crypto/ByteArray.h"

#include <string>
#include <vector>

/** What an issuer may put into a certificate; each field goes in as it stands, good or bad. */
struct OddCertificate
{
    struct NameEntry
    {
        int nid;
        std::string value;
    };
    struct Time
    {
        int type; ///< V_ASN1_UTCTIME or V_ASN1_GENERALIZEDTIME
        std::string text;
    };
    struct Extension
    {
        std::string oid;
        Norvik::ByteArray value;
    };

    std::vector<NameEntry> subject;
    std::vector<NameEntry> issuer;
    Time notBefore = {23, "200101000000Z"};
    Time notAfter = {23, "300101000000Z"};
    long serial = 1;
    std::vector<Extension> extensions;

    /** DER, with an RSA key and a signature of no value. */
    [[nodiscard]] Norvik::ByteArray Der() const;
};
