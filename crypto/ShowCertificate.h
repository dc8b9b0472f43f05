#pragma once

#include <string>

namespace Norvik
{

/**
 * Starts the viewer program, which is looked for in PATH, for a certificate file.
 *
 * @return whether a process could be made for it; a viewer that doesn't start says so on standard error
 */
bool ShowCertificate(std::string path);

} // namespace Norvik
