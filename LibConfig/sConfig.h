#pragma once

#include <string>

namespace Norvik
{

/** Which file a value lives in; there is no fall-back from one to the other. */
enum ConfigType : unsigned int
{
    ConfigTypeUser = 0,
    ConfigTypeAllUsers = 1,
};

/** Carried for the other programs of the family; the XML files know no difference. */
enum SysType : unsigned int
{
    SysTypeFirst = 0,
    SysTypeSecond = 1,
};

/** The address of one value. */
struct sConfig
{
    ConfigType type = ConfigTypeUser;
    std::string path; ///< section, its steps separated by backslash or slash
    std::string key;  ///< name inside the section; empty for the section's own value
    SysType sys = SysTypeFirst;
};

} // namespace Norvik
