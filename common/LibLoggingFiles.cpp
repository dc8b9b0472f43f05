#include "common/LibLogging.h"

#include "common/PathHelpers.h"

#include <ctime>

namespace
{

constexpr const char* kLogExtension = ".log";

/** base_number.extension */
std::string PartName(const std::string& base, unsigned long number, const std::string& extension)
{
    return base + "_" + std::to_string(number) + "." + extension;
}

} // namespace

namespace Norvik
{

void LibLogging::GetExtension(const std::string& name, std::string& base, std::string& extension)
{
    const std::size_t found = name.rfind(kLogExtension);
    base = name.substr(0, found);
    extension = found == std::string::npos ? "" : "log";
}

std::string LibLogging::AppendLogExtension(const std::string& name)
{
    std::string base;
    std::string extension;
    GetExtension(name, base, extension);
    return extension.empty() ? name + kLogExtension : name;
}

std::string LibLogging::NameWithTimeStamp(const std::string& name)
{
    std::string base;
    std::string extension;
    GetExtension(name, base, extension);
    return base + "_" + std::to_string(std::time(nullptr)) + "." + extension;
}

std::string LibLogging::NumberedName(const std::string& name)
{
    std::string base;
    std::string extension;
    GetExtension(name, base, extension);
    std::string candidate = name;
    for (unsigned long number = 0; FileExists(candidate); ++number)
    {
        candidate = PartName(base, number, extension);
    }
    return candidate;
}

bool LibLogging::BackupFile(const std::string& source, const std::string& target, bool bRemoveSource)
{
    std::ifstream in(source, std::ios::binary);
    if (!in.is_open())
    {
        return false;
    }
    std::ofstream out(target, std::ios::binary);
    // An insertion of nothing would count as a failure.
    if (in.peek() != std::ifstream::traits_type::eof())
    {
        out << in.rdbuf();
    }
    in.close();
    out.close();
    if (!out.good())
    {
        return false;
    }
    return !bRemoveSource || RemoveFile(source);
}

void LibLogging::OpenEmptyFile(const std::string& name)
{
    if (m_File.is_open())
    {
        m_File.close();
    }
    m_File.open(name, std::ios::out | std::ios::trunc);
}

void LibLogging::OpenFileAndRotate(const std::string& name)
{
    std::string base;
    std::string extension;
    GetExtension(name, base, extension);
    if (FileExists(name))
    {
        BackupFile(name, NumberedName(NameWithTimeStamp(name)), false);
    }
    unsigned long number = 0;
    for (std::string part = PartName(base, number, extension); FileExists(part);
         part = PartName(base, ++number, extension))
    {
        BackupFile(part, NameWithTimeStamp(part), true);
    }
    OpenEmptyFile(name);
}

void LibLogging::SplitLog()
{
    std::string base;
    std::string extension;
    GetExtension(m_Filename, base, extension);
    const std::string target = PartName(base, m_SplitCount, extension);
    ++m_SplitCount;
    m_LoggedEntries = 0;
    m_LoggedFileSize = 0;
    m_File.close();
    BackupFile(m_Filename, target, false);
    OpenEmptyFile(m_Filename);
}

} // namespace Norvik
