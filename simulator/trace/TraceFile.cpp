#include "simulator/trace/TraceFile.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace
{

using namespace Simulator;

constexpr std::size_t kHeaderLength = 4;
constexpr std::size_t kLcEnd = 5;
constexpr std::size_t kFieldCount = 6;
constexpr std::array<std::uint8_t, 3> kInstructionsWithPin = {0x20, 0x24, 0x2C};

const char* WordOf(TraceKind kind)
{
    switch (kind)
    {
    case TraceKind::Insert:
        return "insert";
    case TraceKind::Remove:
        return "remove";
    case TraceKind::PowerOn:
        return "power-on";
    case TraceKind::Reset:
        return "reset";
    case TraceKind::PowerOff:
        return "power-off";
    case TraceKind::Command:
        return "command";
    case TraceKind::Control:
        return "control";
    }
    return "";
}

std::string HiddenFrom(ByteView bytes, std::size_t first)
{
    std::string text = ToHex(bytes.first(std::min(first, bytes.size())));
    for (std::size_t index = first; index < bytes.size(); ++index)
    {
        text += "**";
    }
    return text;
}

std::string ShownCommand(const TraceEntry& entry)
{
    if (entry.kind == TraceKind::Control)
    {
        return HiddenFrom(entry.command, kHeaderLength);
    }
    for (const std::uint8_t ins : kInstructionsWithPin)
    {
        // The class is not looked at: a PIN under a wrong class is a PIN all the same.
        if (entry.command.size() > 1 && entry.command[1] == ins)
        {
            return HiddenFrom(entry.command, kLcEnd);
        }
    }
    return ToHex(entry.command);
}

} // namespace

namespace Simulator
{

TraceLine TraceLine::From(const TraceEntry& entry)
{
    return {std::to_string(entry.time.count()),
            std::to_string(entry.reader),
            WordOf(entry.kind),
            ShownCommand(entry),
            ToHex(entry.answer),
            entry.note};
}

std::optional<TraceLine> TraceLine::Parse(const std::string& text)
{
    std::vector<std::string> fields(1);
    for (const char character : text)
    {
        if (character == '\t')
        {
            fields.emplace_back();
        }
        else
        {
            fields.back().push_back(character);
        }
    }
    if (fields.size() != kFieldCount)
    {
        return std::nullopt;
    }
    return TraceLine{fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]};
}

std::string TraceLine::ToText() const
{
    return time + '\t' + reader + '\t' + kind + '\t' + command + '\t' + answer + '\t' + note;
}

TraceFile::TraceFile(const std::string& path) : m_File(path)
{
    if (!m_File)
    {
        throw std::runtime_error("cannot write " + path);
    }
}

void TraceFile::Write(const TraceEntry& entry)
{
    m_File << TraceLine::From(entry).ToText() << '\n' << std::flush;
}

} // namespace Simulator
