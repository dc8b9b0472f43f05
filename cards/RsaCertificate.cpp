#include "cards/RsaCertificate.h"

#include "cards/CardFile.h"
#include "crypto/slCertificate.h"

bool ReadRsaKeyOfCertificate(CardFile& file, std::vector<unsigned char>& modulus,
                             std::vector<unsigned char>& exponent)
{
    modulus.clear();
    exponent.clear();
    Norvik::ByteArray content;
    if (!file.Read(content, true))
    {
        // Intended: only a file that is no certificate counts as a failure.
        return true;
    }
    Norvik::slCertificate certificate;
    if (!certificate.LoadFromBuffer(content.data(), content.size()))
    {
        return false;
    }
    if (!certificate.GetRsaPubKeyComponents(modulus, exponent))
    {
        modulus.clear();
        exponent.clear();
    }
    return true;
}
