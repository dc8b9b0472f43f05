#include "readers/PinBlocks.h"

#include "cards/PINVerifyData.h"
#include "readers/LibReaderImpl.h"

#include <algorithm>

namespace
{
constexpr unsigned char kTimeoutSeconds = 60;
constexpr unsigned char kTimeoutAfterFirstKeySeconds = 10;
constexpr unsigned char kInsertionOffsetOld = 0;
constexpr unsigned char kInsertionOffsetNew = 8;
constexpr unsigned char kConfirmPin = 0x03; // ask for the old PIN, and for the new one twice
constexpr unsigned char kEntryValidation =
    0x01; // the reader ends the entry when the greatest length is reached
constexpr unsigned char kDefaultMessages = 0xFF; // the reader shows what it has
constexpr unsigned int kLanguageGerman = 0x0407;
constexpr std::size_t kVerifyHeaderSize = 19;
constexpr std::size_t kModifyHeaderSize = 24;

struct FormatRow
{
    PINFormat format;
    unsigned char formatString;
    unsigned char lengthFormat;
    bool bSetControlByte;
};

constexpr FormatRow kFormats[] = {
    {PinFormatAscii, 0x02, 0x00, false},
    {PinFormat2, 0x89, 0x04, true},
    {PinFormatBcd, 0x01, 0x00, false},
};

// Format 2: control nibble 2, and F in the nibble where the reader puts the PIN's length.
constexpr unsigned char kFormat2ControlByte = 0x2F;
constexpr std::size_t kFirstDataByte = 5;

const FormatRow* FindFormat(PINFormat format)
{
    const auto* const row = std::find_if(std::begin(kFormats), std::end(kFormats),
                                         [format](const FormatRow& r) { return r.format == format; });
    return row != std::end(kFormats) ? row : nullptr;
}

/** Writes the fields of a block one after the other; multi-byte fields least significant byte first. */
class FieldWriter final
{
public:
    explicit FieldWriter(PinBlock& block) : m_Block(block) {}

    void Byte(unsigned int value)
    {
        m_Block.bytes[m_Block.length++] = static_cast<unsigned char>(value & 0xFF);
    }
    void Word(unsigned int value)
    {
        Byte(value);
        Byte(value >> 8);
    }
    void DoubleWord(unsigned int value)
    {
        Word(value);
        Word(value >> 16);
    }
    void Zeros(unsigned int count) { m_Block.length += count; }

private:
    PinBlock& m_Block;
};

unsigned int MaxExtraDigit(const PINVerifyData& data)
{
    return (static_cast<unsigned int>(data.minLength) << 8) | static_cast<unsigned int>(data.maxLength);
}

void WriteCommand(const Norvik::ByteArray& command, const FormatRow& format, PinBlock& block)
{
    FieldWriter fields(block);
    fields.DoubleWord(static_cast<unsigned int>(command.size()));  // ulDataLength
    unsigned char* const data = block.bytes.data() + block.length; // abData
    std::copy(command.begin(), command.end(), data);
    if (format.bSetControlByte)
    {
        // Intended: behind a command of 5 bytes it stands outside of ulDataLength.
        data[kFirstDataByte] = kFormat2ControlByte;
    }
    block.length += static_cast<unsigned int>(command.size());
}

/** @return the row of the format, null when the block can't be built */
const FormatRow* CheckInput(const Norvik::ByteArray& command, const PINVerifyData& data,
                            std::size_t headerSize)
{
    const FormatRow* const format = FindFormat(data.format);
    if (format == nullptr)
    {
        LibReaderImpl::LogError("invalid pin format");
        return nullptr;
    }
    return command.size() <= PinBlock::kSize - headerSize ? format : nullptr;
}
} // namespace

bool BuildPinVerifyBlock(const Norvik::ByteArray& command, const PINVerifyData& data, PinBlock& block)
{
    const FormatRow* const format = CheckInput(command, data, kVerifyHeaderSize);
    if (format == nullptr)
    {
        return false;
    }
    block = PinBlock();
    FieldWriter fields(block);
    fields.Byte(kTimeoutSeconds);              // bTimerOut
    fields.Byte(kTimeoutAfterFirstKeySeconds); // bTimerOut2
    fields.Byte(format->formatString);         // bmFormatString
    fields.Byte(data.pinBlockString);          // bmPINBlockString
    fields.Byte(format->lengthFormat);         // bmPINLengthFormat
    fields.Word(MaxExtraDigit(data));          // wPINMaxExtraDigit
    fields.Byte(kEntryValidation);             // bEntryValidationCondition
    fields.Byte(kDefaultMessages);             // bNumberMessage
    fields.Word(kLanguageGerman);              // wLangId
    fields.Zeros(1);                           // bMsgIndex
    fields.Zeros(3);                           // bTeoPrologue
    WriteCommand(command, *format, block);
    return true;
}

bool BuildPinModifyBlock(const Norvik::ByteArray& command, const PINVerifyData& data, PinBlock& block)
{
    const FormatRow* const format = CheckInput(command, data, kModifyHeaderSize);
    if (format == nullptr)
    {
        return false;
    }
    block = PinBlock();
    FieldWriter fields(block);
    fields.Byte(kTimeoutSeconds);              // bTimerOut
    fields.Byte(kTimeoutAfterFirstKeySeconds); // bTimerOut2
    fields.Byte(format->formatString);         // bmFormatString
    fields.Byte(data.pinBlockString);          // bmPINBlockString
    fields.Byte(format->lengthFormat);         // bmPINLengthFormat
    fields.Byte(kInsertionOffsetOld);          // bInsertionOffsetOld
    fields.Byte(kInsertionOffsetNew);          // bInsertionOffsetNew
    fields.Word(MaxExtraDigit(data));          // wPINMaxExtraDigit
    fields.Byte(kConfirmPin);                  // bConfirmPIN
    fields.Byte(kEntryValidation);             // bEntryValidationCondition
    fields.Byte(kDefaultMessages);             // bNumberMessage
    fields.Word(kLanguageGerman);              // wLangId
    fields.Zeros(3);                           // bMsgIndex1, bMsgIndex2, bMsgIndex3
    fields.Zeros(3);                           // bTeoPrologue
    WriteCommand(command, *format, block);
    return true;
}
