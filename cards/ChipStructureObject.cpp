#include "cards/ChipStructureObject.h"

#include <array>
#include <cstddef>

namespace
{

// Image: P1, kind, identifier length, identifier.
constexpr std::size_t kImageHeader = 3;

unsigned char LowByte(std::size_t value)
{
    return static_cast<unsigned char>(value & 0xFF);
}

} // namespace

ChipStructureObject::ChipStructureObject(const unsigned char* id, unsigned long size, ChipStructureType type,
                                         unsigned char selectP1)
    : m_Identifier(id, size), m_StructureType(type), m_SelectP1(selectP1)
{}

ChipStructureObject ChipStructureObject::CreateAcos(ChipStructureType type, unsigned char high,
                                                    unsigned char low)
{
    const std::array id{high, low};
    return {id.data(), id.size(), type, 0x00};
}

ChipStructureObject ChipStructureObject::CreateECardEfSelect(unsigned char high, unsigned char low)
{
    const std::array id{high, low};
    return {id.data(), id.size(), ChipStructureEF, 0x02};
}

void ChipStructureObject::Clear()
{
    m_Identifier.clear();
    m_StructureType = ChipStructureEF;
    m_SelectP1 = 0;
}

Apdu ChipStructureObject::GetSelect() const
{
    Apdu select(0x00, 0xA4, m_SelectP1, 0x0C, LowByte(m_Identifier.size()));
    select.Append(m_Identifier);
    return select;
}

Norvik::ByteArray ChipStructureObject::ToBinary() const
{
    Norvik::ByteArray image;
    image.reserve(kImageHeader + m_Identifier.size());
    image.push_back(m_SelectP1);
    image.push_back(m_StructureType);
    image.push_back(LowByte(m_Identifier.size()));
    image.insert(image.end(), m_Identifier.begin(), m_Identifier.end());
    return image;
}

bool ChipStructureObject::FromBinary(Norvik::ByteArray image)
{
    if (image.size() <= kImageHeader)
    {
        return false;
    }
    // Intended: P1 and kind are taken before the identifier's length is tested.
    m_SelectP1 = image[0];
    m_StructureType = static_cast<ChipStructureType>(image[1]);
    const std::size_t length = image[2];
    if (length + 2 >= image.size())
    {
        return false;
    }
    m_Identifier = Norvik::ByteArray(image.data() + kImageHeader, length);
    return true;
}
