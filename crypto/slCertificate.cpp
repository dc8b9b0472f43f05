#include "crypto/slCertificate.h"

#include "crypto/Base64.h"
#include "crypto/MemoryBio.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <array>

namespace Norvik
{

void X509Free::operator()(x509_st* certificate) const noexcept
{
    X509_free(certificate);
}

X509Ptr myX509_duplicate(const x509_st* certificate)
{
    if (certificate == nullptr)
    {
        return nullptr;
    }
    const ErrorQueueGuard errorQueue;
    const BioPtr memory(BIO_new(BIO_s_mem()));
    if (memory == nullptr || i2d_X509_bio(memory.get(), certificate) != 1)
    {
        return nullptr;
    }
    return X509Ptr(d2i_X509_bio(memory.get(), nullptr));
}

slCertificate::slCertificate(const x509_st* certificate) : m_Certificate(myX509_duplicate(certificate)) {}

slCertificate::slCertificate(const slCertificate& other) : slCertificate(other.GetX509()) {}

slCertificate& slCertificate::operator=(const slCertificate& other)
{
    if (this != &other)
    {
        m_Certificate = myX509_duplicate(other.GetX509());
    }
    return *this;
}

bool slCertificate::LoadFromBuffer(const unsigned char* data, unsigned long length)
{
    const ErrorQueueGuard errorQueue;
    const BioPtr memory = MemoryBioOver(data, length);
    // Intended: the earlier certificate may still be in use elsewhere and is not released.
    static_cast<void>(m_Certificate.release());
    m_Certificate.reset(memory != nullptr ? d2i_X509_bio(memory.get(), nullptr) : nullptr);
    return m_Certificate != nullptr;
}

bool slCertificate::LoadFromBuffer(const std::vector<unsigned char>& data)
{
    return LoadFromBuffer(data.data(), data.size());
}

bool slCertificate::LoadFromX509(x509_st* certificate)
{
    m_Certificate = myX509_duplicate(certificate);
    return m_Certificate != nullptr;
}

std::vector<unsigned char> slCertificate::ToBin() const
{
    if (m_Certificate == nullptr)
    {
        return {};
    }
    const ErrorQueueGuard errorQueue;
    unsigned char* encoded = nullptr;
    const int length = i2d_X509(m_Certificate.get(), &encoded);
    const OpenSslBytesPtr owner(encoded);
    return length > 0 ? std::vector<unsigned char>(encoded, encoded + length) : std::vector<unsigned char>();
}

std::string slCertificate::ToB64() const
{
    return b64Encode(ToBin());
}

x509_st* slCertificate::GetX509Copy() const
{
    return myX509_duplicate(m_Certificate.get()).release();
}

bool slCertificate::GetThumbprint(std::vector<unsigned char>& thumbprint, HashAlgorithm algorithm) const
{
    unsigned long digestLength = 0;
    const EVP_MD* const digest = intern::GetHashAlgo(algorithm, digestLength);
    if (m_Certificate == nullptr || digest == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int length = 0;
    if (X509_digest(m_Certificate.get(), digest, bytes.data(), &length) != 1)
    {
        return false;
    }
    thumbprint.assign(bytes.data(), bytes.data() + length);
    return true;
}

bool slCertificate::GetThumbprint(unsigned char** thumbprint, unsigned long* length) const
{
    std::vector<unsigned char> bytes;
    if (!GetThumbprint(bytes, HashAlgorithm::Sha1))
    {
        return false;
    }
    auto array = std::make_unique<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), array.get());
    *thumbprint = array.release();
    *length = bytes.size();
    return true;
}

std::wstring slCertificate::GetThumbprint() const
{
    static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::vector<unsigned char> bytes;
    if (!GetThumbprint(bytes, HashAlgorithm::Sha1))
    {
        return {};
    }
    std::wstring text;
    for (const unsigned char byte : bytes)
    {
        if (byte >= 0x10)
        {
            text += kDigits[byte >> 4U];
        }
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

} // namespace Norvik
