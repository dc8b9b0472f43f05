#pragma once

#include "cards/CardFile.h"
#include "crypto/LibCardImpl.h"
#include "readers/LibReaderAndCard.h"
#include "tests/doubles/ScriptedCardReader.h"
#include "tests/doubles/TestToken.h"
#include "tests/support/CapturedLog.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

inline const LogBridge kTokenLog{&LibReaderAndCard::SetErrorLoggingFunc,
                                 &LibReaderAndCard::SetMessageLoggingFunc, nullptr};
inline const LogBridge kCardLog{&LibCardImpl::SetErrorLoggingFunc, &LibCardImpl::SetMessageLoggingFunc,
                                &LibCardImpl::SetDebugLoggingFunc};

/** The content of a file of the folder fixtures/. */
inline Norvik::ByteArray Fixture(const std::string& name)
{
    std::ifstream file(std::string(KMARK_TEST_FIXTURES) + "/" + name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return Norvik::ByteArray(content);
}

inline Norvik::ByteArray Bytes(const std::string& text)
{
    return Norvik::ByteArray(text);
}

inline std::string Text(const Norvik::ByteArray& bytes)
{
    return {bytes.begin(), bytes.end()};
}

/** A file DF 71 / C0 01 of a known size that everybody may read and nobody may write. */
inline std::shared_ptr<CardFile> MakeFreeFile(TestToken& token, std::size_t size)
{
    auto file = std::make_shared<CardFile>(&token, "test file");
    file->SetDF(ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71));
    file->SetEF(ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x01));
    file->SetFileSize(size);
    file->SetReadAccess(eAccessAlways);
    return file;
}

inline const char* const kSelectDf = "00A4000C02DF71";
inline const char* const kSelectEf = "00A4000C02C001";

/** The script of READ BINARY commands that yield @p content; up to 765 bytes. */
inline void ExpectReadBinary(ScriptedCardReader& reader, const Norvik::ByteArray& content)
{
    constexpr const char* kHeaders[] = {"00B00000", "00B000FF", "00B001FE"};
    std::size_t offset = 0;
    for (const char* header : kHeaders)
    {
        const std::size_t size = std::min<std::size_t>(content.size() - offset, 255);
        if (size == 0)
        {
            return;
        }
        const Norvik::ByteArray part(content.data() + offset, size);
        const Norvik::ByteArray length(std::vector<unsigned char>{static_cast<unsigned char>(size)});
        reader.Expect(header + ToHex(length), ToHex(part) + "9000");
        offset += size;
    }
}

/** The script of the first read of a file of MakeFreeFile(). */
inline void ExpectFirstRead(ScriptedCardReader& reader, const Norvik::ByteArray& content)
{
    reader.Expect(kSelectDf, "9000").Expect(kSelectEf, "9000");
    ExpectReadBinary(reader, content);
}
