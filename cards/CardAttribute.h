#pragma once

#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"

/** The value of one Cryptoki attribute. */
class CardAttribute : public Uncopyable
{
public:
    /** No constant value: empty until the object or the token fills it. */
    explicit CardAttribute(bool bUpdateAllowed);
    /** A CK_BBOOL. */
    explicit CardAttribute(unsigned char value);
    /** A CK_ULONG in machine order. */
    explicit CardAttribute(unsigned long value);
    /** The characters without the terminator. */
    explicit CardAttribute(const char* text);
    CardAttribute(const unsigned char* data, unsigned long length);

    void Set(const unsigned char* data, unsigned long length);
    void Free();
    [[nodiscard]] Norvik::ByteArray GetBytes() const { return value; }
    /** The value without a copy; valid until Set() or Free(). */
    [[nodiscard]] const Norvik::ByteArray& Bytes() const { return value; }
    [[nodiscard]] unsigned long GetLength() const { return value.size(); }
    /** Always true: no attribute is sensitive at this level. */
    [[nodiscard]] bool ReadAllowed() const { return true; }
    /** Whether an empty value has to be fetched through the token. */
    [[nodiscard]] bool CallCardObjectForData() const { return callCardObject; }
    [[nodiscard]] bool UpdateAllowed() const { return updateAllowed; }
    void SetUpdateAllowed(bool bAllowed) { updateAllowed = bAllowed; }

private:
    Norvik::ByteArray value;
    bool callCardObject = false;
    bool updateAllowed = false;
};
