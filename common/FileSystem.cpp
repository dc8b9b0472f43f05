#include "common/FileSystem.h"

#include "common/InstanceSlots.h"
#include "common/PathHelpers.h"

#include <array>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace
{

constexpr unsigned int kSlot = 0;
constexpr std::size_t kLinkSize = 4096;

std::string DirectoryOfProgram()
{
    std::array<char, kLinkSize> link = {};
    const ssize_t length = readlink("/proc/self/exe", link.data(), link.size());
    const std::string program(link.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    return program.substr(0, program.rfind('/'));
}

void EmptyFile(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file != nullptr)
    {
        std::fclose(file);
    }
}

} // namespace

namespace Norvik
{

FileSystem* FileSystem::GetHandle()
{
    return InstanceSlots<FileSystem>::Get(kSlot);
}

void FileSystem::Destroy()
{
    const std::unique_ptr<FileSystem> self = InstanceSlots<FileSystem>::Take(kSlot, this);
}

void FileSystem::Initialize(std::string name)
{
    m_Name = std::move(name);
    InitIntern();
}

void FileSystem::InitIntern()
{
    m_ProgramDirectory.clear();
    m_UserDirectory.clear();
    m_AllUserDirectory.clear();
    m_TempDirectory.clear();

    m_AllUserDirectory = CombinePaths(GetAllUsersDir(), NORVIK_PATH_SYS);
    m_TempDirectory = GetTempDir();
    // A relative text would lead into whatever the working directory is.
    const std::string home = GetUserDir();
    if (!home.empty())
    {
        m_UserDirectory = CombinePaths(home, NORVIK_PATH_USR);
    }
    m_ProgramDirectory = DirectoryOfProgram();
}

bool FileSystem::AddConfig(unsigned int id, BasePath base, std::string path, std::string file)
{
    m_Map[id] =
        std::make_unique<_PathConfig>(_PathConfig{base, toNativeFS(std::move(path)), std::move(file)});
    return true;
}

bool FileSystem::AddConfigs(unsigned int firstId, const _PathConfig* entries, int count)
{
    bool bAll = true;
    for (int i = 0; i < count; ++i)
    {
        const _PathConfig& entry = entries[i];
        bAll = AddConfig(firstId + static_cast<unsigned int>(i), entry.base, entry.path, entry.file) && bAll;
    }
    return bAll;
}

_PathConfig* FileSystem::GetConfigEntry(unsigned int id)
{
    const auto found = m_Map.find(id);
    return found == m_Map.end() ? nullptr : found->second.get();
}

const std::string& FileSystem::BaseDirectory(BasePath base) const
{
    switch (base)
    {
    case BasePathUser:
        return m_UserDirectory;
    case BasePathAllUsers:
        return m_AllUserDirectory;
    case BasePathProgram:
        return m_ProgramDirectory;
    case BasePathTemp:
        break;
    }
    return m_TempDirectory;
}

bool FileSystem::HasBase(const _PathConfig& entry) const
{
    return entry.base != BasePathUser || !m_UserDirectory.empty();
}

std::string FileSystem::BuildPath(_PathConfig* entry, bool bCreate)
{
    if (!HasBase(*entry))
    {
        return {};
    }
    std::string path = BaseDirectory(entry->base);
    if (!m_Name.empty())
    {
        path = CombinePaths(path, m_Name);
    }
    if (!entry->path.empty())
    {
        path = CombinePaths(path, entry->path);
    }
    if (bCreate)
    {
        CreateDirectories(path);
    }
    return path;
}

std::string FileSystem::GetPath(unsigned int id, bool bCreate)
{
    _PathConfig* entry = GetConfigEntry(id);
    return entry != nullptr ? BuildPath(entry, bCreate) : std::string();
}

std::string FileSystem::GetFile(unsigned int id, bool bCreate)
{
    _PathConfig* entry = GetConfigEntry(id);
    if (entry == nullptr || !HasBase(*entry))
    {
        return {};
    }
    std::string file = CombinePaths(BuildPath(entry, bCreate), entry->file);
    if (bCreate)
    {
        EmptyFile(file);
    }
    return file;
}

} // namespace Norvik
