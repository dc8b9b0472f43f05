#include "crypto/slCertificate.h"

#include "crypto/MemoryBio.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

namespace Norvik
{

namespace
{

constexpr std::size_t kLongestNameText = 1024;
using NameBuffer = std::array<char, kLongestNameText + 1>;

X509_NAME* SubjectOf(const X509Ptr& certificate)
{
    return certificate != nullptr ? X509_get_subject_name(certificate.get()) : nullptr;
}

X509_NAME* IssuerOf(const X509Ptr& certificate)
{
    return certificate != nullptr ? X509_get_issuer_name(certificate.get()) : nullptr;
}

/** Answers the question for the length, or copies what fits. */
bool CopyContent(std::span<const unsigned char> content, unsigned char* buffer, unsigned int& length)
{
    if (buffer != nullptr && length < content.size())
    {
        return false;
    }
    if (buffer != nullptr && !content.empty())
    {
        std::memcpy(buffer, content.data(), content.size());
    }
    length = static_cast<unsigned int>(content.size());
    return true;
}

bool NameDer(const X509_NAME* name, unsigned char* buffer, unsigned int& length)
{
    if (name == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    unsigned char* encoded = nullptr;
    const int encodedLength = i2d_X509_NAME(name, &encoded);
    const OpenSslBytesPtr owner(encoded);
    return encodedLength > 0 &&
           CopyContent({encoded, static_cast<std::size_t>(encodedLength)}, buffer, length);
}

std::string OneLine(const X509_NAME* name)
{
    if (name == nullptr)
    {
        return {};
    }
    const ErrorQueueGuard errorQueue;
    NameBuffer text{};
    return X509_NAME_oneline(name, text.data(), static_cast<int>(text.size())) != nullptr ? text.data() : "";
}

std::string WithFormat(const X509_NAME* name, unsigned long flags)
{
    if (name == nullptr)
    {
        return {};
    }
    const ErrorQueueGuard errorQueue;
    const BioPtr memory(BIO_new(BIO_s_mem()));
    if (memory == nullptr || X509_NAME_print_ex(memory.get(), name, 0, flags) < 0)
    {
        return {};
    }
    return MemoryBioText(memory.get());
}

std::string ValueOf(X509_NAME* name, int nid)
{
    if (name == nullptr)
    {
        return {};
    }
    const ErrorQueueGuard errorQueue;
    NameBuffer text{};
    const int length = X509_NAME_get_text_by_NID(name, nid, text.data(), static_cast<int>(text.size()));
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : std::string();
}

std::string HashText(unsigned long hash)
{
    char text[2 * sizeof(hash) + 1] = {};
    std::snprintf(text, sizeof(text), "%08lx", hash);
    return text;
}

} // namespace

bool slCertificate::GetSubjectDER(unsigned char* buffer, unsigned int& length) const
{
    return NameDer(SubjectOf(m_Certificate), buffer, length);
}

bool slCertificate::GetIssuerDER(unsigned char* buffer, unsigned int& length) const
{
    return NameDer(IssuerOf(m_Certificate), buffer, length);
}

bool slCertificate::GetSerialNumberDER(unsigned char* buffer, unsigned int& length) const
{
    const ASN1_INTEGER* const serial = GetSerialNumberAsn1();
    if (serial == nullptr)
    {
        return false;
    }
    const int contentLength = ASN1_STRING_length(serial);
    return contentLength >= 0 &&
           CopyContent({ASN1_STRING_get0_data(serial), static_cast<std::size_t>(contentLength)}, buffer,
                       length);
}

std::string slCertificate::GetSubject() const
{
    return OneLine(SubjectOf(m_Certificate));
}
std::string slCertificate::GetIssuer() const
{
    return OneLine(IssuerOf(m_Certificate));
}

std::string slCertificate::GetSubjectWithFormat(unsigned long flags) const
{
    return WithFormat(SubjectOf(m_Certificate), flags);
}

std::string slCertificate::GetIssuerWithFormat(unsigned long flags) const
{
    return WithFormat(IssuerOf(m_Certificate), flags);
}

std::string slCertificate::GetIssuerSepByComa() const
{
    const std::string issuer = GetIssuer();
    std::string_view rest = issuer;
    std::string collected;
    while (!rest.empty())
    {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        const std::string_view component = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (component.empty())
        {
            continue;
        }
        // Intended: a single character collected so far gets no comma.
        collected.insert(0, collected.size() > 1 ? "," : "");
        collected.insert(0, component);
    }
    return collected;
}

std::string slCertificate::GetSubjectVal(int nid) const
{
    return ValueOf(SubjectOf(m_Certificate), nid);
}
std::string slCertificate::GetIssuerVal(int nid) const
{
    return ValueOf(IssuerOf(m_Certificate), nid);
}
std::string slCertificate::GetSubjectCN() const
{
    return GetSubjectVal(NID_commonName);
}
std::string slCertificate::GetSubjectOU() const
{
    return GetSubjectVal(NID_organizationalUnitName);
}
std::string slCertificate::GetSubjectGN() const
{
    return GetSubjectVal(NID_givenName);
}
std::string slCertificate::GetSubjectSN() const
{
    return GetSubjectVal(NID_surname);
}
std::string slCertificate::GetSubjectSerial() const
{
    return GetSubjectVal(NID_serialNumber);
}
std::string slCertificate::GetIssuerCN() const
{
    return GetIssuerVal(NID_commonName);
}
std::string slCertificate::GetIssuerC() const
{
    return GetIssuerVal(NID_countryName);
}
std::string slCertificate::GetIssuerO() const
{
    return GetIssuerVal(NID_organizationName);
}
std::string slCertificate::GetIssuerOU() const
{
    return GetIssuerVal(NID_organizationalUnitName);
}

std::string slCertificate::GetSubjectNameHash() const
{
    const ErrorQueueGuard errorQueue;
    return m_Certificate != nullptr ? HashText(X509_subject_name_hash(m_Certificate.get())) : std::string();
}

std::string slCertificate::GetIssuerNameHash() const
{
    const ErrorQueueGuard errorQueue;
    return m_Certificate != nullptr ? HashText(X509_issuer_name_hash(m_Certificate.get())) : std::string();
}

const asn1_string_st* slCertificate::GetSerialNumberAsn1() const
{
    return m_Certificate != nullptr ? X509_get0_serialNumber(m_Certificate.get()) : nullptr;
}

std::string slCertificate::GetSerialNumber() const
{
    const ASN1_INTEGER* const serial = GetSerialNumberAsn1();
    if (serial == nullptr)
    {
        return {};
    }
    const ErrorQueueGuard errorQueue;
    const BignumPtr number(ASN1_INTEGER_to_BN(serial, nullptr));
    const OpenSslTextPtr digits(number != nullptr ? BN_bn2hex(number.get()) : nullptr);
    return digits != nullptr ? std::string("0x") + digits.get() : std::string();
}

long slCertificate::GetSerialNumberInt() const
{
    return std::strtol(GetSerialNumber().c_str(), nullptr, 16);
}

bool slCertificate::IsSelfSigned() const
{
    return m_Certificate != nullptr && X509_NAME_cmp(SubjectOf(m_Certificate), IssuerOf(m_Certificate)) == 0;
}

} // namespace Norvik
