#pragma once

#include "simulator/trace/TraceFile.h"

#include <string>

namespace Simulator
{

/**
 * One event as people read it: seconds, reader, name of the command with what it asks for, status word with its
 * meaning, and the names of the files that are current afterwards.
 */
std::string DecodeTraceLine(const TraceLine& line);

} // namespace Simulator
