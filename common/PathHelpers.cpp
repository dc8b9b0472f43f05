#include "common/PathHelpers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{

constexpr mode_t kDirectoryMode = 0777;
constexpr int kTempNumbers = 100000;

struct CloseDirectory
{
    void operator()(DIR* directory) const noexcept { closedir(directory); }
};

// Independent of the locale that the host program has set.
char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return ToLower(left) == ToLower(right); });
}

} // namespace

namespace Norvik
{

std::string GetTempDir()
{
    const char* directory = std::getenv("TMPDIR");
    return directory != nullptr ? directory : "/tmp/";
}

std::string GetUserDir()
{
    const char* directory = std::getenv("HOME");
    return directory != nullptr ? directory : "";
}

std::string GetAllUsersDir()
{
    return "/etc/";
}

std::string CombinePaths(const std::string& a, const std::string& b)
{
    std::string result;
    result.reserve(a.size() + 1 + b.size());
    result = a;
    if (!a.empty() && a.back() != '/')
    {
        result += '/';
    }
    result.append(b, b.starts_with('/') ? 1 : 0, std::string::npos);
    return result;
}

std::string CombinePaths(const std::string* parts, int count)
{
    if (count < 1)
    {
        return {};
    }
    std::string result = parts[0];
    for (int i = 1; i < count; ++i)
    {
        result = CombinePaths(result, parts[i]);
    }
    return result;
}

std::string RemoveLastPartFromPath(const std::string& path)
{
    if (path.size() < 2)
    {
        return path;
    }
    const std::size_t slash = path.rfind('/', path.size() - 2);
    return slash == std::string::npos ? path : path.substr(0, slash + 1);
}

std::string GetFilenameFromPath(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string toNativeFS(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

bool FileExists(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
    {
        return false;
    }
    std::fclose(file);
    return true;
}

bool RenameFile(const std::string& source, const std::string& target)
{
    return std::rename(source.c_str(), target.c_str()) == 0;
}

bool RemoveFile(const std::string& path)
{
    return unlink(path.c_str()) == 0;
}

bool CopyFile(const std::string& source, const std::string& target)
{
    std::error_code error;
    return std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing,
                                      error);
}

bool CreateOneDir(const std::string& path)
{
    if (path.empty())
    {
        return true;
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0)
    {
        return S_ISDIR(status.st_mode);
    }
    return mkdir(path.c_str(), kDirectoryMode) == 0 || errno == EEXIST;
}

bool CreateDirectories(const std::string& path)
{
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1))
    {
        if (!CreateOneDir(path.substr(0, slash)))
        {
            return false;
        }
    }
    return true;
}

std::string GenerateFilenameWithTimestamp(std::string prefix, std::string extension)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char stamp[32] = {};
    if (localtime_r(&now, &local) != nullptr)
    {
        std::strftime(stamp, sizeof(stamp), "%Y-%m-%d-%H-%M-%S", &local);
    }
    return prefix + "_" + stamp + "." + extension;
}

std::string GenerateTempFilename(std::string& directory, std::string prefix)
{
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    char number[16] = {};
    std::snprintf(number, sizeof(number), "%06d", std::rand() % kTempNumbers);
    return CombinePaths(directory, prefix + number + ".tmp");
}

bool ListAllFilesInDirectory(const std::string& directory, std::vector<std::string>& files)
{
    const std::unique_ptr<DIR, CloseDirectory> handle(opendir(directory.c_str()));
    if (handle == nullptr)
    {
        return false;
    }
    while (const dirent* entry = readdir(handle.get()))
    {
        if (entry->d_type == DT_REG)
        {
            files.push_back(CombinePaths(directory, entry->d_name));
        }
    }
    return true;
}

bool nocase_Equals(const std::string& a, const std::string& b)
{
    return EqualsNoCase(a, b);
}

bool nocase_EndsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() &&
           EqualsNoCase(std::string_view(text).substr(text.size() - suffix.size()), suffix);
}

} // namespace Norvik
