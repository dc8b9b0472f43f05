#include "simulator/card/Card.h"

#include "simulator/card/StatusWord.h"

#include <algorithm>
#include <stdexcept>

namespace
{

constexpr std::uint16_t kMasterFileId = 0x3F00;

} // namespace

namespace Simulator
{

Bytes Response::ToBytes() const
{
    Bytes bytes = data;
    bytes.push_back(static_cast<std::uint8_t>(statusWord >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(statusWord & 0xFFU));
    return bytes;
}

Card::Card(std::string kind, Bytes atr)
    : m_Kind(std::move(kind)), m_Atr(std::move(atr)), m_MasterFile("MF", kMasterFileId, {}, nullptr)
{}

void Card::AddCommands(std::span<const CommandRule> rules)
{
    m_Commands.insert(m_Commands.end(), rules.begin(), rules.end());
}

ElementaryFile& Card::File(const std::string& name) const
{
    ElementaryFile* file = m_MasterFile.FileByName(name);
    if (file == nullptr)
    {
        throw std::out_of_range("no file " + name + " on this card");
    }
    return *file;
}

Pin& Card::PinNamed(const std::string& name) const
{
    Pin* pin = m_MasterFile.PinByName(name);
    if (pin == nullptr)
    {
        throw std::out_of_range("no PIN " + name + " on this card");
    }
    return *pin;
}

void Card::Reset()
{
    m_MasterFile.DropPinStatus();
    m_Directory = &m_MasterFile;
    m_File = nullptr;
    m_Environment.clear();
    m_Hash.clear();
}

Bytes Card::Transmit(ByteView command)
{
    const auto answer = [&] { return Process(command).ToBytes(); };
    return m_Hook ? m_Hook(command, answer) : answer();
}

std::chrono::microseconds Card::Latency(ByteView command) const
{
    if (command.size() > 1)
    {
        const auto found = m_LatencyOf.find(command[1]);
        if (found != m_LatencyOf.end())
        {
            return found->second;
        }
    }
    return m_Latency;
}

std::string Card::CurrentPath() const
{
    return m_File == nullptr ? m_Directory->Name() : m_Directory->Name() + "/" + m_File->name;
}

bool Card::IsAllowed(const AccessRule& rule) const
{
    return rule.IsAlways() || (!rule.IsNever() && IsPinVerified(rule.PinReference()));
}

void Card::SelectDirectory(DedicatedFile& directory)
{
    if (&directory == &m_MasterFile)
    {
        Reset();
        return;
    }
    if (&directory != m_Directory)
    {
        // The status of a DF ends when it is left; that of the DFs above the new one stays.
        for (DedicatedFile* left = m_Directory; left != nullptr; left = left->Parent())
        {
            if (left != &directory && !directory.IsBelow(*left))
            {
                left->DropPinStatus();
            }
        }
        m_Environment.clear();
        m_Hash.clear();
    }
    m_Directory = &directory;
    m_File = nullptr;
}

void Card::SetKeyUse(const KeyUse& use)
{
    m_Environment[use.controlTemplate] = &use;
    m_Hash.clear();
}

void Card::ForgetKeyUse(std::uint8_t controlTemplate)
{
    m_Environment.erase(controlTemplate);
    m_Hash.clear();
}

const KeyUse* Card::SelectedKeyUse(std::uint8_t controlTemplate) const
{
    const auto found = m_Environment.find(controlTemplate);
    return found == m_Environment.end() ? nullptr : found->second;
}

bool Card::IsPinVerified(std::uint8_t reference) const
{
    const Pin* pin = m_Directory->PinToVerify(reference);
    return pin != nullptr && pin->IsVerified();
}

Response Card::Process(ByteView command)
{
    using namespace StatusWord;
    const std::optional<CommandApdu> apdu = CommandApdu::Parse(command);
    if (!apdu.has_value())
    {
        return Response::Status(kWrongLength);
    }
    std::uint16_t refusal = kUnknownClass;
    for (const CommandRule& rule : m_Commands)
    {
        // The refusal grows more exact with each thing that fits.
        if (rule.cla != apdu->cla)
        {
            continue;
        }
        if (rule.ins != apdu->ins)
        {
            refusal = std::min(refusal, kUnknownInstruction);
            continue;
        }
        if (rule.p1p2.has_value() && *rule.p1p2 != apdu->P1P2())
        {
            refusal = std::min(refusal, kWrongParameters);
            continue;
        }
        const bool bForm = (rule.cases & (1U << static_cast<unsigned int>(apdu->Case() - 1))) != 0;
        const bool bLength =
            apdu->data.empty() || (apdu->data.size() >= rule.leastLc && apdu->data.size() <= rule.mostLc);
        if (!bForm || !bLength)
        {
            return Response::Status(kWrongLength);
        }
        const std::uint16_t outcome = CheckPrecondition(rule);
        return outcome == kOk ? rule.run(*this, *apdu) : Response::Status(outcome);
    }
    return Response::Status(refusal);
}

std::uint16_t Card::CheckPrecondition(const CommandRule& rule) const
{
    using namespace StatusWord;
    switch (rule.precondition)
    {
    case Precondition::None:
        return kOk;
    case Precondition::CurrentFile:
        return m_File == nullptr ? kNoCurrentFile : kOk;
    case Precondition::KeySelected:
    case Precondition::KeyAndHash:
        break;
    }
    const KeyUse* use = SelectedKeyUse(rule.controlTemplate);
    const bool bHashMissing = rule.precondition == Precondition::KeyAndHash && m_Hash.empty();
    if (use == nullptr || use->operation != rule.operation || bHashMissing)
    {
        return kConditionsNotSatisfied;
    }
    return kOk;
}

} // namespace Simulator
