#pragma once

#include "crypto/ByteArray.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/** The bytes behind pairs of hexadecimal digits; blanks between pairs do not count. */
inline Norvik::ByteArray Bytes(const std::string& hex)
{
    Norvik::ByteArray bytes;
    for (std::size_t i = 0; i < hex.size();)
    {
        if (hex[i] == ' ')
        {
            ++i;
            continue;
        }
        bytes.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
        i += 2;
    }
    return bytes;
}

inline Norvik::ByteArray Repeated(unsigned char byte, std::size_t count)
{
    return Norvik::ByteArray(std::vector<unsigned char>(count, byte));
}

inline Norvik::ByteArray Fixture(const std::string& name)
{
    std::ifstream file(std::string(KMARK_CRYPTO_FIXTURES "/") + name, std::ios::binary);
    return Norvik::ByteArray(
        std::vector<unsigned char>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}

/** What the openssl command said about a fixture: the value behind @p key in its text file. */
inline std::string Described(const std::string& fixture, const std::string& key)
{
    std::ifstream file(KMARK_CRYPTO_FIXTURES "/" + fixture + ".txt");
    std::string name;
    std::string value;
    while (file >> name >> value)
    {
        if (name == key)
        {
            return value;
        }
    }
    return {};
}
