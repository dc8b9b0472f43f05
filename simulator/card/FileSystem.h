#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/KeyUse.h"
#include "simulator/card/Pin.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

/** Who may read or update a file. */
class AccessRule final
{
public:
    static AccessRule Always() { return AccessRule(Kind::Always, 0); }
    static AccessRule Never() { return AccessRule(Kind::Never, 0); }
    /** The PIN with this reference must be verified. */
    static AccessRule AfterPin(std::uint8_t reference) { return AccessRule(Kind::Pin, reference); }

    [[nodiscard]] bool IsAlways() const { return m_Kind == Kind::Always; }
    [[nodiscard]] bool IsNever() const { return m_Kind == Kind::Never; }
    [[nodiscard]] std::uint8_t PinReference() const { return m_PinReference; }

private:
    enum class Kind
    {
        Always,
        Never,
        Pin
    };
    AccessRule(Kind kind, std::uint8_t reference) : m_Kind(kind), m_PinReference(reference) {}

    Kind m_Kind;
    std::uint8_t m_PinReference;
};

/** A transparent EF. Its size is that of its content and never changes by a command. */
struct ElementaryFile
{
    std::string name;
    std::uint16_t fileId = 0;
    std::optional<std::uint8_t> shortFileId; ///< 1 to 30
    AccessRule read = AccessRule::Always();
    AccessRule update = AccessRule::Never();
    Bytes content;
};

/** The MF or a DF: files, PINs and keys, each owned here and found by the identifiers that a command carries. */
class DedicatedFile final
{
public:
    /** @param dfName 1 to 16 bytes, or empty for a DF that is selected by its file identifier alone */
    DedicatedFile(std::string name, std::uint16_t fileId, Bytes dfName, DedicatedFile* parent);
    DedicatedFile(const DedicatedFile&) = delete;
    DedicatedFile& operator=(const DedicatedFile&) = delete;

    DedicatedFile& AddDirectory(std::string name, std::uint16_t fileId, Bytes dfName = {});
    ElementaryFile& AddFile(ElementaryFile file);
    Pin& AddPin(PinSettings settings);
    void AddKeyUse(KeyUse use) { m_KeyUses.push_back(std::move(use)); }

    [[nodiscard]] const std::string& Name() const { return m_Name; }
    [[nodiscard]] std::uint16_t FileId() const { return m_FileId; }
    [[nodiscard]] const Bytes& DfName() const { return m_DfName; }
    [[nodiscard]] DedicatedFile* Parent() const { return m_Parent; }
    [[nodiscard]] const std::vector<KeyUse>& KeyUses() const { return m_KeyUses; }
    [[nodiscard]] const std::vector<std::unique_ptr<DedicatedFile>>& Directories() const
    {
        return m_Directories;
    }

    /** Null when this DF holds no such file. Subordinate DFs are not searched. */
    [[nodiscard]] ElementaryFile* FileById(std::uint16_t fileId) const;
    [[nodiscard]] ElementaryFile* FileByShortId(std::uint8_t shortFileId) const;
    [[nodiscard]] DedicatedFile* DirectoryById(std::uint16_t fileId) const;

    /** Searches this DF and all below it. */
    [[nodiscard]] DedicatedFile* DirectoryByDfName(ByteView dfName);
    [[nodiscard]] ElementaryFile* FileByName(const std::string& name) const;
    [[nodiscard]] Pin* PinByName(const std::string& name) const;

    /** The PIN that a command in this DF means: its own one, or one of the DFs above. */
    [[nodiscard]] Pin* PinToVerify(std::uint8_t reference) const;
    [[nodiscard]] Pin* PinToChange(std::uint8_t reference) const;

    [[nodiscard]] bool IsBelow(const DedicatedFile& ancestor) const;
    /** Drops the PIN status of this DF and of all below it. */
    void DropPinStatus();

private:
    std::string m_Name;
    std::uint16_t m_FileId;
    Bytes m_DfName;
    DedicatedFile* m_Parent;
    std::vector<std::unique_ptr<DedicatedFile>> m_Directories;
    std::vector<std::unique_ptr<ElementaryFile>> m_Files;
    std::vector<std::unique_ptr<Pin>> m_Pins;
    std::vector<KeyUse> m_KeyUses;
};

} // namespace Simulator
