#pragma once

namespace Simulator
{

/**
 * Gives this process a /run/pcscd of its own, which pcscd insists on and writes its process number into.
 *
 * So the file of the system's pcscd stays untouched, and a user without it needs nobody's help. Where the system
 * allows no namespaces nothing changes. Only for a process of one thread; asks for no memory.
 */
void MakeRunFolderPrivate() noexcept;

} // namespace Simulator
