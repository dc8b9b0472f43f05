#include "cryptoki/Session.h"

#include "cards/CardObject.h"
#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "crypto/ByteArray.h"
#include "cryptoki/AttributeNames.h"
#include "cryptoki/KMarkP11Logging.h"

#include <algorithm>
#include <cstddef>
#include <string>

using KMarkP11::IsLogOpen;
using KMarkP11::PKCS11_AttributeTypeToName;
using KMarkP11::Refuse;

namespace
{

/** A template entry whose value is not to be had. */
CK_RV Withhold(CK_ATTRIBUTE& entry, CK_RV code)
{
    entry.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    return code;
}

/** Hands @p value out in the three ways that the standard knows. */
CK_RV StoreValue(const Norvik::ByteArray& value, CK_ATTRIBUTE& entry)
{
    if (entry.pValue == nullptr)
    {
        P11Logger::GetHandle()->LogWarning("attribute pValue is NULL -> return length");
        entry.ulValueLen = value.size();
        return CKR_OK;
    }
    if (entry.ulValueLen < value.size())
    {
        P11Logger::GetHandle()->LogWarning("attribute buffer to small");
        if (IsLogOpen())
        {
            P11Logger::GetHandle()->LogMessage("input len:" + std::to_string(entry.ulValueLen) +
                                               ", real len:" + std::to_string(value.size()));
        }
        // Intended: the length that would do is told for a null pValue alone.
        return Withhold(entry, CKR_BUFFER_TOO_SMALL);
    }
    std::copy(value.begin(), value.end(), static_cast<unsigned char*>(entry.pValue));
    entry.ulValueLen = value.size();
    return CKR_OK;
}

/** Fills one entry of the template and gives its own code. */
CK_RV ReadAttribute(iCardToken& token, CardObject& object, unsigned long hObject, CK_ATTRIBUTE& entry)
{
    if (IsLogOpen())
    {
        P11Logger::GetHandle()->LogMessage("read card attribute: " + PKCS11_AttributeTypeToName(entry.type));
    }
    // A value that is there already is handed out without the costs of a shared one.
    std::shared_ptr<CardAttribute> loaded;
    const CardAttribute* attribute = object.Stored(entry.type);
    if (attribute == nullptr)
    {
        loaded = object.GetAttribute(entry.type);
        attribute = loaded.get();
    }
    if (attribute == nullptr)
    {
        P11Logger::GetHandle()->LogWarning("attribute not found");
        return Withhold(entry, CKR_ATTRIBUTE_TYPE_INVALID);
    }
    if (!attribute->ReadAllowed())
    {
        P11Logger::GetHandle()->LogWarning("attribute is sensitive");
        return Withhold(entry, CKR_ATTRIBUTE_SENSITIVE);
    }
    if (attribute->GetLength() != 0 || !attribute->CallCardObjectForData())
    {
        return StoreValue(attribute->Bytes(), entry);
    }
    Norvik::ByteArray bytes;
    const CK_RV rv = token.GetAttributeValue(hObject, entry.type, bytes);
    return rv == CKR_OK ? StoreValue(bytes, entry) : Withhold(entry, rv);
}

} // namespace

CK_RV Session::FindObjectsInit(CK_ATTRIBUTE* pTemplate, unsigned long ulCount)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    if (findActive)
    {
        return Refuse("A find objects operation is already in progress", CKR_OPERATION_ACTIVE);
    }
    if (IsLogOpen() && P11Logger::GetHandle()->Writes(Norvik::DebugLevelDebug))
    {
        for (unsigned long i = 0; i < ulCount; ++i)
        {
            P11Logger::GetHandle()->LogDebug("FindInit searching for attribute type: " +
                                             PKCS11_AttributeTypeToName(pTemplate[i].type));
        }
    }
    foundObjects.clear();
    findCursor = 0;

    const std::vector<CardObject*>& objects = token->GetObjectMap();
    foundObjects.reserve(objects.size());
    for (std::size_t index = 0; index < objects.size(); ++index)
    {
        if (objects[index] != nullptr && objects[index]->Match(pTemplate, ulCount))
        {
            foundObjects.emplace_back(index + CardObject::OBJECT_BASE, 0);
        }
    }
    findActive = true;
    return CKR_OK;
}

CK_RV Session::FindObjects(unsigned long* phObject, unsigned long ulMaxObjectCount,
                           unsigned long* pulObjectCount)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (!findActive)
    {
        return Refuse("C_FindObjectsInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (ulMaxObjectCount == 0)
    {
        return Refuse("ulMaxObjectCount is 0", CKR_ARGUMENTS_BAD);
    }
    const unsigned long count = std::min(ulMaxObjectCount, foundObjects.size() - findCursor);
    for (unsigned long i = 0; i < count; ++i)
    {
        phObject[i] = foundObjects[findCursor + i].first;
    }
    findCursor += count;
    *pulObjectCount = count;
    return CKR_OK;
}

CK_RV Session::FindObjectsFinal()
{
    // The search ends also on a session without a token.
    const bool bWasActive = findActive;
    findActive = false;
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (!bWasActive)
    {
        return Refuse("C_FindObjectsInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    foundObjects.clear();
    findCursor = 0;
    return CKR_OK;
}

CK_RV Session::GetAttributeValue(unsigned long hObject, CK_ATTRIBUTE* pTemplate, unsigned long ulCount)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    CardObject* const object = token->GetCardObject(hObject);
    if (object == nullptr)
    {
        return Refuse("CardObject is NULL", CKR_OBJECT_HANDLE_INVALID);
    }
    object->LogInfo();
    CK_RV rv = CKR_OK;
    for (unsigned long i = 0; i < ulCount; ++i)
    {
        rv = updateReturnCode(rv, ReadAttribute(*token, *object, hObject, pTemplate[i]));
    }
    return rv;
}

CK_RV Session::SetAttributeValue(unsigned long hObject, CK_ATTRIBUTE* pTemplate, unsigned long ulCount)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    CardObject* const object = token->GetCardObject(hObject);
    if (object == nullptr)
    {
        return Refuse("CardObject is NULL", CKR_OBJECT_HANDLE_INVALID);
    }
    object->LogInfo();
    return token->SetAttributeValue(hObject, pTemplate, ulCount);
}

CK_RV Session::updateReturnCode(unsigned long current, unsigned long newCode)
{
    switch (newCode)
    {
    case CKR_BUFFER_TOO_SMALL:
        return CKR_BUFFER_TOO_SMALL;
    case CKR_ATTRIBUTE_TYPE_INVALID:
        return current == CKR_BUFFER_TOO_SMALL ? current : CKR_ATTRIBUTE_TYPE_INVALID;
    case CKR_ATTRIBUTE_SENSITIVE:
        return current != CKR_OK ? current : CKR_ATTRIBUTE_SENSITIVE;
    default:
        // Intended: any other failure of an entry doesn't show in the result of the call.
        return current;
    }
}
