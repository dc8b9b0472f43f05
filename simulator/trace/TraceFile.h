#pragma once

#include "simulator/world/TraceEntry.h"

#include <fstream>
#include <optional>
#include <string>

namespace Simulator
{

/**
 * One line of a trace file: time in microseconds, reader, kind, command, answer, note, with tabs between.
 *
 * Bytes are hexadecimal pairs. What stands behind the header of VERIFY, CHANGE REFERENCE DATA and RESET RETRY
 * COUNTER may hold a PIN: each of its bytes is "**". The same holds for the input of a control code.
 */
struct TraceLine
{
    std::string time;
    std::string reader;
    std::string kind;
    std::string command;
    std::string answer;
    std::string note;

    static TraceLine From(const TraceEntry& entry);
    /** Nothing for a line of another form. */
    static std::optional<TraceLine> Parse(const std::string& text);
    [[nodiscard]] std::string ToText() const;
};

/** Writes entries as they come, so that a run that dies leaves what it did. */
class TraceFile final
{
public:
    /** @throws std::runtime_error when the file can't be written */
    explicit TraceFile(const std::string& path);
    void Write(const TraceEntry& entry);

private:
    std::ofstream m_File;
};

} // namespace Simulator
