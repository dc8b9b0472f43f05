#pragma once

#include "cards/AttributeRow.h"
#include "cards/CardAttribute.h"
#include "cards/SmartCardApplication.h"
#include "common/Uncopyable.h"

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

class CardFile;

/**
 * A Cryptoki object of a token: attributes, mechanisms, and the file that its values come from.
 *
 * Owned by the token's object table; the file is borrowed from the same token.
 */
class CardObject : public Uncopyable
{
public:
    /** Handle of the object at index 0 of the token's table. */
    static constexpr unsigned long OBJECT_BASE = 1000;

    CardObject(const std::string& objectLabel, CardFile& cardFile, SmartCardApplication application);
    ~CardObject() override;

    /** The attribute, filled from the card where it has to be; null when the object has none. */
    virtual std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) = 0;

    /** What GetAttribute() would give, if that has a value by now; null otherwise. Reads no card. */
    [[nodiscard]] const CardAttribute* Stored(unsigned long type) const
    {
        const AttributeEntry* const entry = m_Index[SlotOf(type)];
        return entry != nullptr && entry->first == type && entry->second->GetLength() != 0
                   ? entry->second.get()
                   : nullptr;
    }

    [[nodiscard]] SmartCardApplication GetApp() const { return app; }
    /** The last value of a type wins. Always true. */
    bool AddAttribute(unsigned long type, std::shared_ptr<CardAttribute> attribute);
    /** Takes ownership of @p attribute. Always true. */
    bool AddAttribute(unsigned long type, CardAttribute* attribute);
    bool AddMechanism(unsigned long mechanism);
    /** Appends the other's mechanisms to what this object already has. */
    void CopyMechanismFrom(const CardObject* other);
    [[nodiscard]] bool CheckMechanism(CK_MECHANISM* mechanism) const;
    [[nodiscard]] const std::vector<unsigned long>& GetMechanismList() const { return mechanisms; }
    /** Whether the object satisfies a search template; may read the card. An empty one is always satisfied. */
    bool Match(CK_ATTRIBUTE* templ, unsigned long count) { return count == 0 || MatchEach(templ, count); }
    void LogInfo() const;
    static void FillCkDate(CK_DATE& date, unsigned short year, unsigned short month, unsigned short day);
    /** Drops all attributes. */
    void Free();

protected:
    /** Adds the attributes of @p rows, all with their starting values. */
    void AddAttributes(std::span<const AttributeRow> rows, const std::string& id);
    /** The attribute as it stands; null when the object has none. */
    [[nodiscard]] std::shared_ptr<CardAttribute> FindAttribute(unsigned long type) const
    {
        const AttributeEntry* const entry = m_Index[SlotOf(type)];
        return entry != nullptr && entry->first == type ? entry->second : FindInMap(type);
    }
    /** Replaces the value of an attribute that the object has; does nothing when it has none. */
    void SetAttribute(unsigned long type, const Norvik::ByteArray& value);

    std::vector<unsigned long> mechanisms;
    std::string label;
    CardFile* file; ///< not owned
    SmartCardApplication app;

private:
    using AttributeMap = std::map<unsigned long, std::shared_ptr<CardAttribute>>;
    using AttributeEntry = AttributeMap::value_type;

    static constexpr std::size_t kSlots = 128;
    /** Tells the types of every object class apart. */
    static constexpr std::size_t SlotOf(unsigned long type)
    {
        return (type ^ type >> 2 ^ type >> 4) % kSlots;
    }
    [[nodiscard]] std::shared_ptr<CardAttribute> FindInMap(unsigned long type) const;
    bool MatchEach(CK_ATTRIBUTE* templ, unsigned long count);

    AttributeMap attributes;
    /** Entries of the map by their slot. A search asks for a few attributes of every object, again and again. */
    std::array<const AttributeEntry*, kSlots> m_Index{};
};
