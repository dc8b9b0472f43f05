#include "crypto/ByteArray.h"

#include <cstddef>
#include <stdexcept>
#include <utility>

namespace Norvik
{

ByteArray::ByteArray(const unsigned char* data, unsigned long length)
{
    Add(data, length);
}

ByteArray::ByteArray(const std::string& text) : std::vector<unsigned char>(text.begin(), text.end()) {}

ByteArray::ByteArray(std::vector<unsigned char> bytes) : std::vector<unsigned char>(std::move(bytes)) {}

ByteArray::ByteArray(const std::wstring& text)
{
    reserve(2 * text.size());
    for (const wchar_t character : text)
    {
        const auto code = static_cast<char32_t>(character);
        push_back(static_cast<unsigned char>(code & 0xFFU));
        push_back(static_cast<unsigned char>((code >> 8U) & 0xFFU));
    }
}

void ByteArray::Add(const unsigned char* data, unsigned long length)
{
    if (length == 0)
    {
        return;
    }
    // Before the end pointer is formed, which such a length would wrap.
    if (length > max_size() - size())
    {
        throw std::length_error("ByteArray::Add");
    }
    insert(end(), data, data + length);
}

std::string ByteArray::ToHexString(unsigned short flags) const
{
    const char* const digits = (flags & UPPERCASE) != 0 ? "0123456789ABCDEF" : "0123456789abcdef";
    const bool bSpaced = (flags & NOT_SPACED) == 0;

    std::string text;
    text.reserve(3 * size());
    const auto append = [&text, digits](unsigned char byte) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    };
    // Intended: the checked access refuses an empty buffer.
    append(at(0));
    for (std::size_t i = 1; i < size(); ++i)
    {
        if (bSpaced)
        {
            text += ' ';
        }
        append((*this)[i]);
    }
    return text;
}

} // namespace Norvik
