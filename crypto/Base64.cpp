#include "crypto/Base64.h"

#include "crypto/MemoryBio.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace Norvik
{

namespace
{

constexpr std::size_t kLineLength = 76;
constexpr char kLineEnd[] = "\r\n";

/** OpenSSL's base64 filter in front of @p memory, without line feeds of its own. Empty when either is
 * missing. */
BioPtr Base64FilterOver(BioPtr memory)
{
    BioPtr filter(BIO_new(BIO_f_base64()));
    if (filter == nullptr || memory == nullptr)
    {
        return nullptr;
    }
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(filter.get(), memory.release());
    return filter;
}

std::string EncodeToOneLine(const unsigned char* data, int length)
{
    const ErrorQueueGuard errorQueue;
    BioPtr memory(BIO_new(BIO_s_mem()));
    BIO* const sink = memory.get();
    const BioPtr filter = Base64FilterOver(std::move(memory));
    if (filter == nullptr || BIO_write(filter.get(), data, length) != length || BIO_flush(filter.get()) != 1)
    {
        return {};
    }
    return MemoryBioText(sink);
}

/** Intended: a full last line is ended too, but not when it is full with padding. */
std::string BreakLines(const std::string& line)
{
    std::string text;
    text.reserve(line.size() + 2 * (line.size() / kLineLength));
    for (std::size_t start = 0; start < line.size(); start += kLineLength)
    {
        text.append(line, start, kLineLength);
        if (line.size() - start >= kLineLength && text.back() != '=')
        {
            text += kLineEnd;
        }
    }
    return text;
}

std::string EncodeToLines(const unsigned char* data, int length)
{
    return length > 0 ? BreakLines(EncodeToOneLine(data, length)) : std::string();
}

bool IsBlank(char character)
{
    return character == ' ' || character == '\r' || character == '\n';
}

/** Decodes @p text, which has no blanks, into an array of its own length. */
std::size_t DecodeInto(const std::string& text, unsigned char* bytes)
{
    if (text.empty())
    {
        return 0;
    }
    const ErrorQueueGuard errorQueue;
    const BioPtr filter = Base64FilterOver(MemoryBioOver(text.data(), text.size()));
    const int bytesRead =
        filter != nullptr ? BIO_read(filter.get(), bytes, static_cast<int>(text.size())) : 0;
    return bytesRead > 0 ? static_cast<std::size_t>(bytesRead) : 0;
}

std::string WithoutBlanks(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(), IsBlank), text.end());
    return text;
}

} // namespace

char* b64Encode(const unsigned char* data, int length)
{
    const std::string text = EncodeToLines(data, length);
    auto array = std::make_unique<char[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), array.get());
    return array.release();
}

std::string b64Encode(const std::vector<unsigned char>& data)
{
    return FitsInt(data.size()) ? EncodeToLines(data.data(), static_cast<int>(data.size())) : std::string();
}

unsigned char* b64Decode(const char* text, unsigned long& length)
{
    const std::string base64 = WithoutBlanks(text);
    auto bytes = std::make_unique<unsigned char[]>(base64.size());
    length = DecodeInto(base64, bytes.get());
    return bytes.release();
}

std::vector<unsigned char> b64Decode(const std::string& text)
{
    const std::string base64 = WithoutBlanks(text);
    std::vector<unsigned char> bytes(base64.size());
    bytes.resize(DecodeInto(base64, bytes.data()));
    return bytes;
}

} // namespace Norvik
