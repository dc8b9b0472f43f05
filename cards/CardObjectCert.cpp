#include "cards/CardObjectCert.h"

#include "cards/CardFile.h"
#include "crypto/slCertificate.h"

#include <algorithm>
#include <array>
#include <bit>

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_CLASS, AttributeRow::Number, CKO_CERTIFICATE},
    {CKA_TOKEN, AttributeRow::Flag, 1},
    {CKA_PRIVATE, AttributeRow::Flag, 0},
    {CKA_MODIFIABLE, AttributeRow::Flag, 0},
    {CKA_LABEL, AttributeRow::Label},
    {CKA_CERTIFICATE_TYPE, AttributeRow::Number, CKC_X_509},
    {CKA_TRUSTED, AttributeRow::Flag, 1},
    {CKA_CERTIFICATE_CATEGORY, AttributeRow::Number, 1}, // token user
    {CKA_CHECK_VALUE, AttributeRow::NoConstant},
    {CKA_START_DATE, AttributeRow::NoConstant},
    {CKA_END_DATE, AttributeRow::NoConstant},
    {CKA_SUBJECT, AttributeRow::NoConstant},
    {CKA_ISSUER, AttributeRow::NoConstant},
    {CKA_ID, AttributeRow::Id},
    {CKA_SERIAL_NUMBER, AttributeRow::NoConstant},
    {CKA_VALUE, AttributeRow::Updatable},
    {CKA_HASH_OF_SUBJECT_PUBLIC_KEY, AttributeRow::NoConstant},
    {CKA_HASH_OF_ISSUER_PUBLIC_KEY, AttributeRow::NoConstant},
};

constexpr CK_ATTRIBUTE_TYPE kLoaded[] = {
    CKA_VALUE, CKA_ISSUER, CKA_SERIAL_NUMBER, CKA_SUBJECT, CKA_START_DATE, CKA_END_DATE,
};

/** What a getter with a size query yields; empty when there is nothing or the getter fails. */
template <auto Getter>
Norvik::ByteArray GetBytes(Norvik::slCertificate& certificate)
{
    unsigned int length = 0;
    if (!(certificate.*Getter)(nullptr, length) || length == 0)
    {
        return {};
    }
    Norvik::ByteArray bytes;
    bytes.resize(length);
    if (!(certificate.*Getter)(bytes.data(), length))
    {
        return {};
    }
    return bytes;
}

struct Day
{
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    unsigned short hour = 0;
    unsigned short minute = 0;
    unsigned short second = 0;

    [[nodiscard]] Norvik::ByteArray ToCkDate() const
    {
        CK_DATE date{};
        CardObject::FillCkDate(date, year, month, day);
        const auto bytes = std::bit_cast<std::array<unsigned char, sizeof(date)>>(date);
        return {bytes.data(), bytes.size()};
    }
};

Norvik::ByteArray StartDate(Norvik::slCertificate& certificate)
{
    Day d;
    certificate.ValidFrom(d.year, d.month, d.day, d.hour, d.minute, d.second);
    return d.ToCkDate();
}

Norvik::ByteArray EndDate(Norvik::slCertificate& certificate)
{
    Day d;
    certificate.ValidTo(d.year, d.month, d.day, d.hour, d.minute, d.second);
    return d.ToCkDate();
}

struct CertificateField
{
    CK_ATTRIBUTE_TYPE type;
    Norvik::ByteArray (*get)(Norvik::slCertificate& certificate);
};

constexpr CertificateField kFields[] = {
    {CKA_START_DATE, &StartDate},
    {CKA_END_DATE, &EndDate},
    {CKA_SUBJECT, &GetBytes<&Norvik::slCertificate::GetSubjectDER>},
    {CKA_ISSUER, &GetBytes<&Norvik::slCertificate::GetIssuerDER>},
    {CKA_SERIAL_NUMBER, &GetBytes<&Norvik::slCertificate::GetSerialNumberDER>},
};

} // namespace

CardObjectCert::CardObjectCert(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                               SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(kAttributes, id);
}

std::shared_ptr<CardAttribute> CardObjectCert::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    if (!attribute || attribute->GetLength() != 0)
    {
        return attribute;
    }
    if (std::find(std::begin(kLoaded), std::end(kLoaded), type) == std::end(kLoaded))
    {
        return nullptr;
    }
    loadCertAttributes();
    return attribute;
}

bool CardObjectCert::loadCertAttributes()
{
    Norvik::ByteArray content;
    if (!file->Read(content, true))
    {
        // Intended: only a file that is no certificate counts as a failure.
        return true;
    }
    Norvik::slCertificate certificate;
    if (!certificate.LoadFromBuffer(content.data(), content.size()))
    {
        return false;
    }
    SetAttribute(CKA_VALUE, content);
    for (const CertificateField& field : kFields)
    {
        const Norvik::ByteArray value = field.get(certificate);
        if (!value.empty())
        {
            SetAttribute(field.type, value);
        }
    }
    return true;
}
