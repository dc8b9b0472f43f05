#pragma once

#include "common/Uncopyable.h"

#include <map>
#include <memory>
#include <string>

namespace Norvik
{

/** Where a path of the table begins; any other value means the temporary directory. */
enum BasePath : unsigned int
{
    BasePathUser = 0,
    BasePathAllUsers = 1,
    BasePathProgram = 2,
    BasePathTemp = 3,
};

/** One entry of the table. The name is agreed with the other programs of the family. */
struct _PathConfig // NOLINT(bugprone-reserved-identifier): agreed name
{
    BasePath base = BasePathUser;
    std::string path; ///< directory relative to the base
    std::string file; ///< may be empty
};

/**
 * Paths that are addressed by number. A singleton without a lock.
 *
 * The directories are those of the process at the time of Initialize(). Without a HOME there is no user's
 * directory: its text is empty, and so is every path under it.
 */
class FileSystem final : public Uncopyable
{
public:
    FileSystem() = default;

    /** Never null; made on first use. */
    static FileSystem* GetHandle();
    /** Ends the life of the instance, this one. */
    void Destroy();

    /** @param name sub-directory of the application under every base, may be empty */
    void Initialize(std::string name);

    /** The directory of the host program, without a slash at its end. */
    [[nodiscard]] std::string GetProgramDirectory() const { return m_ProgramDirectory; }
    [[nodiscard]] std::string GetUserDirectory() const { return m_UserDirectory; }
    [[nodiscard]] std::string GetAllUserDirectory() const { return m_AllUserDirectory; }
    [[nodiscard]] std::string GetTempDirectory() const { return m_TempDirectory; }

    /** Registers an entry in place of an older one; backslashes of the path become slashes. Always true. */
    bool AddConfig(unsigned int id, BasePath base, std::string path, std::string file);
    /** Registers @p count entries under consecutive numbers. */
    bool AddConfigs(unsigned int firstId, const _PathConfig* entries, int count);
    /** Borrowed until the entry is replaced; null for an unknown number. */
    _PathConfig* GetConfigEntry(unsigned int id);

    /** @param bCreate makes the directories in front of the last one (see CreateDirectories) */
    std::string BuildPath(_PathConfig* entry, bool bCreate);
    /** The entry's directory; empty for an unknown number. */
    std::string GetPath(unsigned int id, bool bCreate);
    /** The entry's file; empty for an unknown number. @param bCreate also makes the file, or empties it */
    std::string GetFile(unsigned int id, bool bCreate);

private:
    void InitIntern();
    [[nodiscard]] const std::string& BaseDirectory(BasePath base) const;
    /** False for a path under a user's directory that doesn't exist. */
    [[nodiscard]] bool HasBase(const _PathConfig& entry) const;

    std::string m_ProgramDirectory;
    std::string m_UserDirectory;
    std::string m_AllUserDirectory;
    std::string m_TempDirectory;
    std::string m_Name;
    std::map<unsigned int, std::unique_ptr<_PathConfig>> m_Map;
};

} // namespace Norvik
