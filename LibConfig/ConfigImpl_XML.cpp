#include "LibConfig/ConfigImpl_XML.h"

#include "LibConfig/XmlNesting.h"
#include "common/PathHelpers.h"

#include <array>
#include <exception>
#include <fstream>
#include <sstream>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

namespace
{

namespace pt = boost::property_tree;

constexpr const char* kFileName = "config";
constexpr const char* kNameOfTheNameless = "config";
constexpr std::size_t kMostBytes = std::size_t{4} * 1024 * 1024;
constexpr std::size_t kMostLevels = 1000;

/** Makes the directory above the configuration's own, and names the file in it. */
std::string PrepareFile(const std::string& base, const char* family, const std::string& name)
{
    const std::string directory = Norvik::CombinePaths(Norvik::CombinePaths(base, family), name);
    Norvik::CreateDirectories(directory);
    return Norvik::CombinePaths(directory, kFileName);
}

/** @return false if the file can't be read or is longer than any configuration */
bool ReadFile(const std::string& path, std::string& content)
{
    std::ifstream file(path, std::ios::binary);
    std::array<char, 4096> block = {};
    while (file)
    {
        file.read(block.data(), block.size());
        content.append(block.data(), static_cast<std::size_t>(file.gcount()));
        if (content.size() > kMostBytes)
        {
            return false;
        }
    }
    return file.eof();
}

/** The tree of a file; empty if it is missing or broken. */
pt::ptree ReadTree(const std::string& path)
{
    try
    {
        std::string content;
        if (!ReadFile(path, content) || Norvik::NestsDeeperThan(content, kMostLevels))
        {
            return {};
        }
        std::istringstream stream(content);
        pt::ptree tree;
        pt::read_xml(stream, tree, 0);
        return tree;
    }
    catch (const std::exception&)
    {
        return {};
    }
}

bool WriteTree(const std::string& path, const pt::ptree& tree)
{
    try
    {
        std::ofstream file(path);
        if (path.empty() || !file)
        {
            return false;
        }
        pt::write_xml(file, tree, pt::xml_writer_settings<std::string>(' ', 0, "utf-8"));
        file.close();
        return file.good();
    }
    catch (const std::exception&)
    {
        return false;
    }
}

/** An empty last step names the element in front of it. */
std::string WithoutFinalDot(std::string path)
{
    if (path.ends_with('.'))
    {
        path.pop_back();
    }
    return path;
}

/** An element without a name can't be written; the file would be broken from then on. */
bool HasEmptyStep(const std::string& path)
{
    return path.empty() || path.starts_with('.') || path.ends_with('.') ||
           path.find("..") != std::string::npos;
}

/** Removes the element at @p path and those of the same name beside it. @return false if there is none */
bool Erase(pt::ptree& tree, const std::string& path)
{
    const std::size_t dot = path.rfind('.');
    const std::string parentPath = dot == std::string::npos ? std::string() : path.substr(0, dot);
    const boost::optional<pt::ptree&> parent = tree.get_child_optional(parentPath);
    return parent && parent->erase(path.substr(dot + 1)) > 0;
}

/** Attributes and comments stand in the tree as children with a name in angle brackets. */
bool IsElement(const std::string& name)
{
    return !name.starts_with("<xml") || !name.ends_with('>');
}

} // namespace

namespace Norvik
{

struct ConfigImpl_XML::Tree
{
    pt::ptree content;
    std::string file; ///< empty when there is no place for one

    [[nodiscard]] bool Write() const { return WriteTree(file, content); }
};

ConfigImpl_XML::ConfigImpl_XML() : m_User(std::make_unique<Tree>()), m_AllUsers(std::make_unique<Tree>()) {}

ConfigImpl_XML::~ConfigImpl_XML() = default;

bool ConfigImpl_XML::DoInit()
{
    m_AllUsers->file = PrepareFile(GetAllUsersDir(), NORVIK_PATH_SYS, Name());
    m_User->file.clear();
    const std::string home = GetUserDir();
    if (!home.empty())
    {
        m_User->file = PrepareFile(home, NORVIK_PATH_USR, Name());
    }
    m_AllUsers->content = ReadTree(m_AllUsers->file);
    m_User->content = ReadTree(m_User->file);
    return true;
}

bool ConfigImpl_XML::DoDestroy()
{
    const bool bAllUsers = m_AllUsers->Write();
    const bool bUser = m_User->Write();
    return bAllUsers && bUser;
}

ConfigImpl_XML::Tree& ConfigImpl_XML::GetPT(ConfigType type)
{
    return type == ConfigTypeAllUsers ? *m_AllUsers : *m_User;
}

std::string ConfigImpl_XML::getPath(const sConfig* entry) const
{
    const std::array<std::string, 2> parts = {Name().empty() ? kNameOfTheNameless : Name(), entry->path};
    std::string path = BuildRegPath(parts.data(), static_cast<int>(parts.size()));
    // In one pass: a dot of a section's name must not become a step.
    for (char& c : path)
    {
        if (c == '\\' || c == '/')
        {
            c = '.';
        }
        else if (c == '.' || c == ' ')
        {
            c = '_';
        }
    }
    return path;
}

std::string ConfigImpl_XML::getPathKey(const sConfig* entry) const
{
    return getPath(entry) + entry->key;
}

template <typename T>
bool ConfigImpl_XML::Get(const sConfig* entry, T& value)
{
    const boost::optional<T> found = GetPT(entry->type).content.get_optional<T>(getPathKey(entry));
    if (!found)
    {
        return false;
    }
    value = *found;
    return true;
}

template <typename T>
bool ConfigImpl_XML::Set(const sConfig* entry, const T& value)
{
    Tree& tree = GetPT(entry->type);
    const std::string path = WithoutFinalDot(getPathKey(entry));
    if (tree.file.empty() || HasEmptyStep(path))
    {
        return false;
    }
    try
    {
        tree.content.put(path, value);
    }
    catch (const std::exception&)
    {
        return false;
    }
    return tree.Write();
}

bool ConfigImpl_XML::GetInteger(sConfig* entry, long& value)
{
    return Get(entry, value);
}

bool ConfigImpl_XML::GetString(sConfig* entry, std::string& value)
{
    return Get(entry, value);
}

bool ConfigImpl_XML::GetBoolean(sConfig* entry, bool& bValue)
{
    return Get(entry, bValue);
}

bool ConfigImpl_XML::SetInteger(sConfig* entry, long value)
{
    return Set(entry, value);
}

bool ConfigImpl_XML::SetString(sConfig* entry, const std::string& value)
{
    return Set(entry, value);
}

bool ConfigImpl_XML::SetBoolean(sConfig* entry, bool bValue)
{
    return Set(entry, bValue);
}

std::vector<std::string> ConfigImpl_XML::EnumSubDirs(sConfig* entry, const std::string& filter)
{
    std::vector<std::string> names;
    const boost::optional<pt::ptree&> section = GetPT(entry->type).content.get_child_optional(getPath(entry));
    if (!section)
    {
        return names;
    }
    for (const auto& [name, child] : *section)
    {
        if (IsElement(name) && name.starts_with(filter))
        {
            names.push_back(name);
        }
    }
    return names;
}

bool ConfigImpl_XML::RemoveKey(sConfig* entry)
{
    Tree& tree = GetPT(entry->type);
    if (!entry->key.empty())
    {
        return Erase(tree.content, getPathKey(entry)) && tree.Write();
    }
    // The section's own value goes; what is in the section stays.
    const boost::optional<pt::ptree&> section = tree.content.get_child_optional(getPath(entry));
    if (!section)
    {
        return false;
    }
    section->data().clear();
    return tree.Write();
}

bool ConfigImpl_XML::RemovePath(sConfig* entry)
{
    Tree& tree = GetPT(entry->type);
    return Erase(tree.content, WithoutFinalDot(getPath(entry))) && tree.Write();
}

} // namespace Norvik
