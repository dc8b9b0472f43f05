#include "crypto/slCertificate.h"

#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <string_view>

namespace Norvik
{

namespace
{

constexpr std::string_view kOcspPrefix = "ocsp:";
constexpr std::string_view kCaIssuersPrefix = "ca:";
constexpr int kAsn1True = 0xFF;

/** Owns what is decoded of an extension; empty when it is absent, there more than once, or no good DER. */
template <typename Owner>
Owner DecodedExtension(const X509Ptr& certificate, int nid)
{
    using Content = typename Owner::element_type;
    void* const content =
        certificate != nullptr ? X509_get_ext_d2i(certificate.get(), nid, nullptr, nullptr) : nullptr;
    return Owner(static_cast<Content*>(content));
}

/** Borrowed from the certificate. Intended: the search begins behind the first extension. */
X509_EXTENSION* ExtensionBehindTheFirst(const X509Ptr& certificate, const std::string& oid)
{
    if (certificate == nullptr)
    {
        return nullptr;
    }
    const Asn1ObjectPtr object(OBJ_txt2obj(oid.c_str(), 0));
    if (object == nullptr)
    {
        return nullptr;
    }
    const int index = X509_get_ext_by_OBJ(certificate.get(), object.get(), 0);
    return index >= 0 ? X509_get_ext(certificate.get(), index) : nullptr;
}

std::vector<unsigned char> RawExtension(const X509Ptr& certificate, int nid)
{
    const int index = certificate != nullptr ? X509_get_ext_by_NID(certificate.get(), nid, -1) : -1;
    if (index < 0)
    {
        return {};
    }
    const ASN1_OCTET_STRING* const value = X509_EXTENSION_get_data(X509_get_ext(certificate.get(), index));
    const unsigned char* const bytes = ASN1_STRING_get0_data(value);
    const int length = ASN1_STRING_length(value);
    return length > 0 ? std::vector<unsigned char>(bytes, bytes + length) : std::vector<unsigned char>();
}

std::string Text(const ASN1_STRING* value)
{
    const int length = ASN1_STRING_length(value);
    return length > 0 ? std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                                    static_cast<std::size_t>(length))
                      : std::string();
}

/** Appends the names of one type, GEN_DNS or GEN_URI, which are all text. */
void AppendNames(const GENERAL_NAMES* names, int type, std::vector<std::string>& texts)
{
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i)
    {
        int nameType = 0;
        const void* const value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names, i), &nameType);
        if (nameType == type)
        {
            texts.push_back(Text(static_cast<const ASN1_STRING*>(value)));
        }
    }
}

/** What stands in front of the URI of an access description; empty for a method of no interest. */
std::string_view MethodPrefix(const ASN1_OBJECT* method)
{
    switch (OBJ_obj2nid(method))
    {
    case NID_ad_OCSP:
        return kOcspPrefix;
    case NID_ad_ca_issuers:
        return kCaIssuersPrefix;
    default:
        return {};
    }
}

std::vector<std::string> WithoutPrefix(const std::vector<std::string>& entries, std::string_view prefix)
{
    std::vector<std::string> kept;
    for (const std::string& entry : entries)
    {
        if (entry.starts_with(prefix))
        {
            kept.push_back(entry.substr(prefix.size()));
        }
    }
    return kept;
}

} // namespace

bool slCertificate::GetExtAvailable(std::string oid) const
{
    const ErrorQueueGuard errorQueue;
    return ExtensionBehindTheFirst(m_Certificate, oid) != nullptr;
}

bool slCertificate::GetBoolExt(std::string oid) const
{
    const ErrorQueueGuard errorQueue;
    X509_EXTENSION* const extension = ExtensionBehindTheFirst(m_Certificate, oid);
    if (extension == nullptr)
    {
        return false;
    }
    const ASN1_OCTET_STRING* const value = X509_EXTENSION_get_data(extension);
    const unsigned char* bytes = ASN1_STRING_get0_data(value);
    const Asn1TypePtr content(d2i_ASN1_TYPE(nullptr, &bytes, ASN1_STRING_length(value)));
    return content != nullptr && content->type == V_ASN1_BOOLEAN && content->value.boolean == kAsn1True;
}

bool slCertificate::IsCaCert() const
{
    const ErrorQueueGuard errorQueue;
    return m_Certificate != nullptr && X509_check_ca(m_Certificate.get()) == 1;
}

bool slCertificate::IsOcspSigner() const
{
    const ErrorQueueGuard errorQueue;
    const auto purposes = DecodedExtension<ExtendedKeyUsagePtr>(m_Certificate, NID_ext_key_usage);
    for (int i = 0; i < sk_ASN1_OBJECT_num(purposes.get()); ++i)
    {
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes.get(), i)) == NID_OCSP_sign)
        {
            return true;
        }
    }
    return false;
}

std::vector<unsigned char> slCertificate::GetSKI() const
{
    return RawExtension(m_Certificate, NID_subject_key_identifier);
}

std::vector<unsigned char> slCertificate::GetAKI() const
{
    return RawExtension(m_Certificate, NID_authority_key_identifier);
}

std::vector<std::string> slCertificate::Get_SAN_DNS() const
{
    const ErrorQueueGuard errorQueue;
    std::vector<std::string> texts;
    AppendNames(DecodedExtension<GeneralNamesPtr>(m_Certificate, NID_subject_alt_name).get(), GEN_DNS, texts);
    return texts;
}

std::vector<std::string> slCertificate::Get_CRL_Dp() const
{
    const ErrorQueueGuard errorQueue;
    constexpr int kFullName = 0;
    const auto points = DecodedExtension<CrlDistPointsPtr>(m_Certificate, NID_crl_distribution_points);
    std::vector<std::string> texts;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i)
    {
        const DIST_POINT_NAME* const name = sk_DIST_POINT_value(points.get(), i)->distpoint;
        if (name != nullptr && name->type == kFullName)
        {
            AppendNames(name->name.fullname, GEN_URI, texts);
        }
    }
    return texts;
}

std::vector<std::string> slCertificate::Get_AIA() const
{
    const ErrorQueueGuard errorQueue;
    const auto entries = DecodedExtension<AuthorityInfoAccessPtr>(m_Certificate, NID_info_access);
    std::vector<std::string> texts;
    for (int i = 0; i < sk_ACCESS_DESCRIPTION_num(entries.get()); ++i)
    {
        const ACCESS_DESCRIPTION* const entry = sk_ACCESS_DESCRIPTION_value(entries.get(), i);
        const std::string_view prefix = MethodPrefix(entry->method);
        if (!prefix.empty() && entry->location->type == GEN_URI)
        {
            texts.push_back(std::string(prefix) + Text(entry->location->d.uniformResourceIdentifier));
        }
    }
    return texts;
}

std::vector<std::string> slCertificate::Get_AIA_OCSP() const
{
    return WithoutPrefix(Get_AIA(), kOcspPrefix);
}

std::vector<std::string> slCertificate::Get_AIA_CAIssuers() const
{
    return WithoutPrefix(Get_AIA(), kCaIssuersPrefix);
}

} // namespace Norvik
