#pragma once

#include "LibConfig/iConfigImpl.h"

#include <memory>
#include <string>
#include <vector>

namespace Norvik
{

/**
 * Values in two XML files, one of the user and one of all users; an element for each step of a path.
 *
 * A file that is missing, broken, above 4 MiB or nested deeper than 1000 elements counts as empty. Without a
 * HOME there is no user's file. Writing replaces the whole file of the entry.
 */
class ConfigImpl_XML final : public iConfigImpl
{
public:
    ConfigImpl_XML();
    ~ConfigImpl_XML() override;

    bool SetInteger(sConfig* entry, long value) override;
    bool SetString(sConfig* entry, const std::string& value) override;
    bool SetBoolean(sConfig* entry, bool bValue) override;
    bool GetInteger(sConfig* entry, long& value) override;
    bool GetString(sConfig* entry, std::string& value) override;
    bool GetBoolean(sConfig* entry, bool& bValue) override;
    using iConfigImpl::EnumSubDirs;
    std::vector<std::string> EnumSubDirs(sConfig* entry, const std::string& filter) override;
    bool RemoveKey(sConfig* entry) override;
    bool RemovePath(sConfig* entry) override;
    /** Reads both files. Always true. */
    bool DoInit() override;
    /** Writes both files. */
    bool DoDestroy() override;

private:
    /** The property trees; their headers stay out of this one. */
    struct Tree;

    Tree& GetPT(ConfigType type);
    /** The path of the entry's section in the tree, with a dot at its end. */
    std::string getPath(const sConfig* entry) const;
    std::string getPathKey(const sConfig* entry) const;

    template <typename T>
    bool Get(const sConfig* entry, T& value);
    template <typename T>
    bool Set(const sConfig* entry, const T& value);

    std::unique_ptr<Tree> m_User;
    std::unique_ptr<Tree> m_AllUsers;
};

} // namespace Norvik
