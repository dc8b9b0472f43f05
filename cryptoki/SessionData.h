#pragma once

#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"
#include "crypto/DigestPreparation.h"

#include <p11-kit/pkcs11.h>

/** What a sign, verify or digest operation has been given so far: its mechanism, its key, and all data. */
class SessionData final : public Uncopyable
{
public:
    /**
     * Keeps the mechanism's parameter as the caller's pointer, unread.
     *
     * @param object the key of the operation; 0 for a digest
     */
    SessionData(CK_MECHANISM operationMechanism, unsigned long object);
    ~SessionData() override = default;

    void Add(unsigned char* bytes, unsigned long length);
    /** Copies the data to @p out. */
    void GetData(Norvik::ByteArray& out) const;
    [[nodiscard]] unsigned long GetDataLen() const { return data.size(); }
    /** Drops the data and keeps their memory for the next ones. */
    void Clear();

    [[nodiscard]] unsigned long GetSelectedObject() const { return selectedObject; }
    [[nodiscard]] const CK_MECHANISM& GetMechanism() const { return mechanism; }
    /**
     * What the mechanism asks for.
     *
     * @param hash     HashUnknown, and @p padding PaddingUnknown, for a mechanism that is of no use
     * @param hashData whether the token has to hash the data itself
     */
    void GetHashAlgoAndPadding(HashAlgorithm& hash, PaddingType& padding, bool& hashData) const;

private:
    Norvik::ByteArray data;
    CK_MECHANISM mechanism;
    CK_OBJECT_HANDLE selectedObject;
};
