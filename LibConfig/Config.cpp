#include "LibConfig/Config.h"

#include "LibConfig/ConfigImpl_XML.h"
#include "LibConfig/LibConfig.h"
#include "common/InstanceSlots.h"
#include "common/PathHelpers.h"

#include <algorithm>
#include <array>

namespace
{

constexpr std::array<const char*, 4> kTrueTexts = {"YES", "JA", "Y", "TRUE"};

} // namespace

namespace Norvik
{

std::vector<Config*>& ConfigVector::vector()
{
    return InstanceSlots<Config>::Vector();
}

Config::Config(unsigned int id) : m_Id(id) {}

Config::~Config() = default;

Config* Config::GetHandle(unsigned int id)
{
    return InstanceSlots<Config>::Get(id);
}

unsigned int Config::Register()
{
    return InstanceSlots<Config>::Register();
}

void Config::Destroy()
{
    m_Map.clear();
    m_Impl.reset();
    const std::unique_ptr<Config> self = InstanceSlots<Config>::Take(m_Id, this);
}

bool Config::Init(const std::string& name, ConfigBackend backend)
{
    if (m_bInitialised)
    {
        return true;
    }
    m_Name = name;
    m_Impl.reset();
    if (backend != ConfigBackendXML)
    {
        return false;
    }
    m_Impl = std::make_unique<ConfigImpl_XML>();
    m_bInitialised = m_Impl->Init(m_Name);
    return m_bInitialised;
}

bool Config::Init(const std::string& name)
{
    return Init(name, ConfigBackendXML);
}

bool Config::AddConfig(unsigned int id, ConfigType type, const std::string& key, const std::string& path,
                       SysType sys)
{
    if (!m_bInitialised)
    {
        return false;
    }
    m_Map[id] = std::make_unique<sConfig>(sConfig{type, path, key, sys});
    return true;
}

bool Config::AddConfigs(unsigned int firstId, const sConfig* entries, int count)
{
    if (!m_bInitialised || count < 1)
    {
        return m_bInitialised;
    }
    bool bAll = true;
    for (int i = 0; i < count; ++i)
    {
        const sConfig& entry = entries[i];
        const unsigned int id = firstId + static_cast<unsigned int>(i);
        bAll = AddConfig(id, entry.type, entry.key, entry.path, entry.sys) && bAll;
    }
    return bAll;
}

sConfig* Config::GetConfigEntry(unsigned int id)
{
    const auto found = m_Map.find(id);
    if (found == m_Map.end())
    {
        LibConfig::LogError("config entry is NULL");
        return nullptr;
    }
    return found->second.get();
}

sConfig* Config::EntryOfBackend(unsigned int id)
{
    return m_Impl != nullptr ? GetConfigEntry(id) : nullptr;
}

bool Config::GetInteger(unsigned int id, long& value)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->GetInteger(entry, value);
}

bool Config::GetString(unsigned int id, std::string& value)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->GetString(entry, value);
}

bool Config::GetBoolean(unsigned int id, bool& bValue)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->GetBoolean(entry, bValue);
}

bool Config::GetStringBoolean(unsigned int id, bool& bValue)
{
    std::string text;
    if (!GetString(id, text))
    {
        return false;
    }
    bValue = std::any_of(kTrueTexts.begin(), kTrueTexts.end(),
                         [&text](const char* trueText) { return nocase_Equals(text, trueText); });
    return true;
}

bool Config::SetInteger(unsigned int id, long value)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->SetInteger(entry, value);
}

bool Config::SetString(unsigned int id, const std::string& value)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->SetString(entry, value);
}

bool Config::SetBoolean(unsigned int id, bool bValue)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->SetBoolean(entry, bValue);
}

bool Config::SetStringBoolean(unsigned int id, bool bValue)
{
    return SetString(id, bValue ? "YES" : "NO");
}

std::vector<std::string> Config::EnumSubDirs(unsigned int id, const std::string& filter)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr ? m_Impl->EnumSubDirs(entry, filter) : std::vector<std::string>();
}

bool Config::RemoveKey(unsigned int id)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->RemoveKey(entry);
}

bool Config::RemovePath(unsigned int id)
{
    sConfig* entry = EntryOfBackend(id);
    return entry != nullptr && m_Impl->RemovePath(entry);
}

} // namespace Norvik
