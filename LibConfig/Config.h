#pragma once

#include "LibConfig/sConfig.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Norvik
{

class iConfigImpl;

/** Kind of storage. Any value that is not named gives none. */
enum ConfigBackend : unsigned int
{
    ConfigBackendXML = 1,
};

/**
 * Settings that are addressed by number: registered once, read by number afterwards. Holds no lock.
 *
 * There are no default values here. A read that fails leaves the caller's preset in place.
 */
class Config
{
public:
    /** For the table of instances; users call GetHandle() or Register(). */
    explicit Config(unsigned int id);
    virtual ~Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    /** The instance in slot @p id, made if the slot is empty; null if @p id is above the number of slots. */
    static Config* GetHandle(unsigned int id);
    /** Adds an instance behind the others, 1 being the first number. @return its number */
    static unsigned int Register();
    /** Ends the life of this instance, and writes nothing; GetHandle() makes a new one. */
    void Destroy();

    /**
     * Reads the files of configuration @p name.
     *
     * @return true also when there is no file; false without a backend. Once true, further calls change
     * nothing.
     */
    bool Init(const std::string& name, ConfigBackend backend);
    bool Init(const std::string& name);

    /** Registers a value, in place of an older one of that number. @return false before a good Init() */
    bool AddConfig(unsigned int id, ConfigType type, const std::string& key, const std::string& path,
                   SysType sys);
    /** Registers @p count values under consecutive numbers. */
    bool AddConfigs(unsigned int firstId, const sConfig* entries, int count);
    /** Borrowed until the entry is replaced; null, and an error logged, for an unknown number. */
    sConfig* GetConfigEntry(unsigned int id);

    bool GetInteger(unsigned int id, long& value);
    bool GetString(unsigned int id, std::string& value);
    bool GetBoolean(unsigned int id, bool& bValue);
    /** Takes YES, JA, Y and TRUE in any case for true, and any other text for false. */
    bool GetStringBoolean(unsigned int id, bool& bValue);

    /** These write the file at once. */
    bool SetInteger(unsigned int id, long value);
    bool SetString(unsigned int id, const std::string& value);
    bool SetBoolean(unsigned int id, bool bValue);
    /** Stores YES or NO. */
    bool SetStringBoolean(unsigned int id, bool bValue);

    /** Names of the sections under that of @p id which begin with @p filter, in the order of the file. */
    std::vector<std::string> EnumSubDirs(unsigned int id, const std::string& filter);
    bool RemoveKey(unsigned int id);
    bool RemovePath(unsigned int id);

private:
    /** The entry if there is a backend to ask, otherwise null. */
    sConfig* EntryOfBackend(unsigned int id);

    std::string m_Name;
    std::map<unsigned int, std::unique_ptr<sConfig>> m_Map;
    std::unique_ptr<iConfigImpl> m_Impl;
    unsigned int m_Id;
    bool m_bInitialised = false;
};

/** The instances, by slot number; the module uses slot 0. An empty slot holds null. */
class ConfigVector final
{
public:
    ConfigVector() = delete;
    static std::vector<Config*>& vector();
};

} // namespace Norvik
