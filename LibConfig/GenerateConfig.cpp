#include "LibConfig/GenerateConfig.h"

#include "LibConfig/Config.h"
#include "common/FileSystem.h"

const std::string ClientRegKeyName = "k.mark Client";

namespace
{

using Norvik::Config;
using Norvik::ConfigTypeAllUsers;
using Norvik::FileSystem;

constexpr unsigned int kModuleSlot = 0;

constexpr const char* kClient = "k.mark Client";
constexpr const char* kTrace = "k.mark Client\\Trace";
constexpr const char* kMiniDriver = "KMarkMiniDriver";

struct SchemaKey
{
    unsigned int firstId; ///< the second id of a pair follows it
    const char* key;
    const char* section;
};

// Each key has two ids, which differ in the system type alone. The order plays no part, except that a
// repeated id counts as the last row says.
constexpr SchemaKey kPairs[] = {
    {0, "", kClient},
    {2, "CheckForUpdates", kClient},
    {4, "Reserved4", kClient}, // the name belongs to another program; here the ids are only kept taken
    {6, "InstallDir", kClient},
    {8, "Updateable", kClient},
    {10, "Version", kClient},
    {27, "Language", kClient},
    {12, "LogMode", kTrace},
    {14, "LogLevel", kTrace},
    {16, "Filename", kTrace},
    {18, "DeleteLogfilesAfterXDays", kClient},
    {20, "FixIt", kClient},
    {22, "CleanCertsOnRefresh", kClient},
    {24, "MakeDialogsStayOnTop", kClient},
    {29, "EnableNorvikPinDialog", kMiniDriver},
    {31, "EnableExternalPin", kMiniDriver},
    {33, "EnableLogging", kMiniDriver},
    {35, "EnableCardAuthenticateEx", kMiniDriver},
    {37, "PinCachePolicyType", kMiniDriver},
    {39, "PinCachePolicyInfo", kMiniDriver},
    {41, "EnableOutputDebugString", kMiniDriver},
    {43, "EnableNorvikPinDialog", kMiniDriver},
    {45, "PinEntryRequireSecuryMode", kMiniDriver}, // spelled as in existing files
    {47, "EnableExternalPin", kMiniDriver},
    {49, "IgnoreAcosSubVersion", kMiniDriver},
    {51, "CheckReaderCapabilities", kMiniDriver},
    {53, "EnableDiagnostics", kMiniDriver},
    {55, "DoExclusiveReconnect", kMiniDriver},
    {57, "MiniDriverVersion", kMiniDriver},
    {59, "MiniDriverMinVersion", kMiniDriver},
    // Intended: these two come a second time.
    {37, "PinCachePolicyType", kMiniDriver},
    {39, "PinCachePolicyInfo", kMiniDriver},
};

// An id of another program, without a second one.
constexpr SchemaKey kSingle = {26, "Reserved26", kClient};

struct SchemaPath
{
    unsigned int id;
    Norvik::BasePath base;
    const char* path;
};

// Directories of other programs of the family; 0 is this module's.
constexpr SchemaPath kFamilyPaths[] = {
    {1, Norvik::BasePathUser, "kmarkclient\\log"},     {2, Norvik::BasePathUser, "kmarkclient\\data"},
    {3, Norvik::BasePathAllUsers, "kmarkclient\\log"}, {4, Norvik::BasePathAllUsers, "kmarkclient\\data"},
    {5, Norvik::BasePathUser, "minidriver\\log"},      {6, Norvik::BasePathAllUsers, "minidriver\\log"},
    {7, Norvik::BasePathAllUsers, "minidriver\\data"},
};

} // namespace

void GenerateConfig()
{
    Config* config = Config::GetHandle(kModuleSlot);
    config->Init("kmarkclient");
    for (const SchemaKey& row : kPairs)
    {
        config->AddConfig(row.firstId, ConfigTypeAllUsers, row.key, row.section, Norvik::SysTypeFirst);
        config->AddConfig(row.firstId + 1, ConfigTypeAllUsers, row.key, row.section, Norvik::SysTypeSecond);
    }
    config->AddConfig(kSingle.firstId, ConfigTypeAllUsers, kSingle.key, kSingle.section,
                      Norvik::SysTypeFirst);
}

void GenerateFileSystem()
{
    FileSystem* fileSystem = FileSystem::GetHandle();
    std::string logDirectory;
    Config::GetHandle(kModuleSlot)->GetString(ConfigIdLogFilename, logDirectory);
    fileSystem->Initialize("");
    fileSystem->AddConfig(0, Norvik::BasePathUser, logDirectory, "");
    for (const SchemaPath& row : kFamilyPaths)
    {
        fileSystem->AddConfig(row.id, row.base, row.path, "");
    }
}
