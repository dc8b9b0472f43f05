#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/CommandApdu.h"
#include "simulator/card/FileSystem.h"
#include "simulator/card/KeyUse.h"

#include <chrono>
#include <functional>
#include <map>
#include <span>
#include <string>

namespace Simulator
{

class Card;

/** What a card answers: data, then the status word. */
struct Response
{
    Bytes data;
    std::uint16_t statusWord = 0;

    static Response Status(std::uint16_t statusWord) { return {{}, statusWord}; }
    [[nodiscard]] Bytes ToBytes() const;
};

/** What the card must have been told before a command is carried out; each has its status word. */
enum class Precondition
{
    None,
    CurrentFile, ///< 6986
    KeySelected, ///< 6985: MSE SET in this DF, for an operation that the command belongs to
    KeyAndHash,  ///< 6985: and PSO HASH after it
};

constexpr unsigned int kCase1 = 1;
constexpr unsigned int kCase2 = 2;
constexpr unsigned int kCase3 = 4;
constexpr unsigned int kCase4 = 8;

/**
 * One command of a card.
 *
 * The checks run in the order of the members: class, instruction, P1-P2, form and length, precondition, and
 * for a command with a key its PIN (6982). The first one that fails gives the status word.
 */
struct CommandRule
{
    std::uint8_t cla;
    std::uint8_t ins;
    std::optional<std::uint16_t> p1p2; ///< absent: the command checks P1 and P2 itself
    unsigned int cases;                ///< the forms of ISO 7816-4 it comes in, kCase1 to kCase4 or-ed
    std::size_t leastLc;               ///< of a command with data
    std::size_t mostLc;
    Precondition precondition;
    std::uint8_t controlTemplate; ///< which part of the security environment names the key
    std::optional<KeyOperation> operation;
    Response (*run)(Card& card, const CommandApdu& command);
};

/**
 * A chip card at the level of its commands: a file system, a security status, and a table of commands.
 *
 * A kind of card is made by filling these; there is no class for each. Imitates an ISO 7816 card in the open
 * life cycle without secure messaging, logical channels, command chaining, extended lengths and records.
 * Not synchronised: World calls it under the lock of its reader.
 */
class Card final
{
public:
    /** Sees each command, calls @p answer to let the card work or leaves that, and gives what the host gets. */
    using Hook = std::function<Bytes(ByteView command, const std::function<Bytes()>& answer)>;

    Card(std::string kind, Bytes atr);
    Card(const Card&) = delete;
    Card& operator=(const Card&) = delete;

    [[nodiscard]] const std::string& Kind() const { return m_Kind; }
    [[nodiscard]] const Bytes& Atr() const { return m_Atr; }
    [[nodiscard]] DedicatedFile& MasterFile() { return m_MasterFile; }
    /** The serial number of the chip, which lies outside the file system. */
    [[nodiscard]] const Bytes& ChipId() const { return m_ChipId; }
    void SetChipId(Bytes chipId) { m_ChipId = std::move(chipId); }
    /** Rows are tried in the order added. */
    void AddCommands(std::span<const CommandRule> rules);

    /** By name anywhere on the card. @throws std::out_of_range when there is none */
    [[nodiscard]] ElementaryFile& File(const std::string& name) const;
    [[nodiscard]] Pin& PinNamed(const std::string& name) const;

    /** Power on or reset: MF selected, nothing verified, no security environment. */
    void Reset();
    /** An empty result is a card that doesn't answer; only a hook makes that. */
    [[nodiscard]] Bytes Transmit(ByteView command);

    void SetHook(Hook hook) { m_Hook = std::move(hook); }
    /** How long the card takes for a command, from its receipt to the answer. */
    void SetLatency(std::chrono::microseconds latency) { m_Latency = latency; }
    /** Overrides it for one instruction. */
    void SetLatency(std::uint8_t ins, std::chrono::microseconds latency) { m_LatencyOf[ins] = latency; }
    [[nodiscard]] std::chrono::microseconds Latency(ByteView command) const;

    /** Names of the current DF and EF, e.g. "DF_DEC/EF_INFO". */
    [[nodiscard]] std::string CurrentPath() const;

    // For the commands.
    [[nodiscard]] DedicatedFile& CurrentDirectory() const { return *m_Directory; }
    [[nodiscard]] ElementaryFile* CurrentFile() const { return m_File; }
    [[nodiscard]] const Bytes& Hash() const { return m_Hash; }
    [[nodiscard]] bool IsAllowed(const AccessRule& rule) const;
    void SelectDirectory(DedicatedFile& directory);
    void SelectFile(ElementaryFile& file) { m_File = &file; }
    void SetHash(Bytes hash) { m_Hash = std::move(hash); }
    void SetKeyUse(const KeyUse& use);
    void ForgetKeyUse(std::uint8_t controlTemplate);
    /** Null when no key is selected in that template. */
    [[nodiscard]] const KeyUse* SelectedKeyUse(std::uint8_t controlTemplate) const;
    [[nodiscard]] bool IsPinVerified(std::uint8_t reference) const;

private:
    [[nodiscard]] Response Process(ByteView command);
    [[nodiscard]] std::uint16_t CheckPrecondition(const CommandRule& rule) const;

    std::string m_Kind;
    Bytes m_Atr;
    Bytes m_ChipId;
    DedicatedFile m_MasterFile;
    std::vector<CommandRule> m_Commands;
    Hook m_Hook;
    std::chrono::microseconds m_Latency{0};
    std::map<std::uint8_t, std::chrono::microseconds> m_LatencyOf;

    DedicatedFile* m_Directory = &m_MasterFile;
    ElementaryFile* m_File = nullptr;
    std::map<std::uint8_t, const KeyUse*> m_Environment;
    Bytes m_Hash;
};

} // namespace Simulator
