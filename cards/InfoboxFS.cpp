#include "cards/InfoboxFS.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace LibInfobox
{

namespace
{

constexpr std::array<unsigned char, 3> kMagic{'A', 'I', 'K'};
constexpr unsigned char kVersion = 1;
constexpr std::size_t kHeaderLength = 4;
constexpr std::size_t kEntryHeaderLength = 4;

constexpr std::string_view kPersonenbindung = "PERSONENBINDUNG";
constexpr std::string_view kRfu1 = "RFU1";
constexpr std::string_view kRfu2 = "RFU2";
constexpr std::size_t kRfuLabelLength = 3;

} // namespace

bool InfoboxFS::GetEntryId(unsigned char tag, unsigned long& index) const
{
    const auto found =
        std::find_if(entries.begin(), entries.end(), [tag](const auto& entry) { return entry->tag == tag; });
    index = static_cast<unsigned long>(found - entries.begin());
    return found != entries.end();
}

bool InfoboxFS::HasEntry(unsigned char tag) const
{
    unsigned long index = 0;
    return GetEntryId(tag, index);
}

bool InfoboxFS::HasEntry(const std::string& label) const
{
    return HasEntry(LabelToTag(label));
}

bool InfoboxFS::GetEntry(unsigned char tag, unsigned char& encrypted, Norvik::ByteArray& data) const
{
    unsigned long index = 0;
    if (!GetEntryId(tag, index))
    {
        return false;
    }
    encrypted = entries[index]->encrypted;
    data = entries[index]->data;
    return true;
}

Norvik::ByteArray InfoboxFS::GetTagList() const
{
    Norvik::ByteArray tags;
    tags.reserve(entries.size());
    for (const auto& entry : entries)
    {
        tags.push_back(entry->tag);
    }
    return tags;
}

unsigned char InfoboxFS::LabelToTag(const std::string& label)
{
    if (label.size() == kPersonenbindung.size())
    {
        return label == kPersonenbindung ? PERSONENBINDUNG_INDEX : 0;
    }
    // Intended: the labels are known by their first three characters only, which the two of them share.
    if (label.size() == kRfuLabelLength)
    {
        return label == kRfu1.substr(0, kRfuLabelLength) ? RFU1_INDEX : 0;
    }
    return 0;
}

std::string InfoboxFS::TagToLabel(unsigned char tag)
{
    switch (tag)
    {
    case PERSONENBINDUNG_INDEX:
        return std::string(kPersonenbindung);
    case RFU1_INDEX:
        return std::string(kRfu1);
    default:
        return std::string(kRfu2);
    }
}

bool InfoboxFS::ParseInfoboxData(const Norvik::ByteArray& image)
{
    if (image.size() < kHeaderLength || !std::equal(kMagic.begin(), kMagic.end(), image.begin()) ||
        image[kMagic.size()] > kVersion)
    {
        return false;
    }
    return ReadDataField(image, kHeaderLength);
}

bool InfoboxFS::ReadDataField(const Norvik::ByteArray& image, unsigned long offset)
{
    // Intended: an entry without data whose header ends with the image is not read.
    while (offset < image.size() && image.size() - offset > kEntryHeaderLength && image[offset] != 0)
    {
        const std::size_t length = image[offset + 2] | (std::size_t{image[offset + 3]} << 8);
        const std::size_t dataOffset = offset + kEntryHeaderLength;
        if (length > image.size() - dataOffset)
        {
            return false;
        }
        entries.push_back(std::make_shared<InfoboxFSEntry>(InfoboxFSEntry{
            image[offset], image[offset + 1], Norvik::ByteArray(image.data() + dataOffset, length)}));
        offset = dataOffset + length;
    }
    return true;
}

bool InfoboxFS::AddEntry(unsigned char tag, unsigned char encrypted, const Norvik::ByteArray& data)
{
    auto entry = std::make_shared<InfoboxFSEntry>(InfoboxFSEntry{tag, encrypted, data});
    unsigned long index = 0;
    if (GetEntryId(tag, index))
    {
        entries[index] = std::move(entry);
    }
    else
    {
        entries.push_back(std::move(entry));
    }
    return true;
}

bool InfoboxFS::GetCompleteFile(Norvik::ByteArray& out) const
{
    out.insert(out.end(), kMagic.begin(), kMagic.end());
    out.push_back(kVersion);
    for (const auto& entry : entries)
    {
        // Intended: a length above 65535 is cut.
        const std::size_t length = entry->data.size();
        out.push_back(entry->tag);
        out.push_back(entry->encrypted);
        out.push_back(static_cast<unsigned char>(length & 0xFF));
        out.push_back(static_cast<unsigned char>((length >> 8) & 0xFF));
        out.insert(out.end(), entry->data.begin(), entry->data.end());
    }
    return true;
}

} // namespace LibInfobox
