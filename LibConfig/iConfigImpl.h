#pragma once

#include "LibConfig/sConfig.h"

#include <string>
#include <vector>

namespace Norvik
{

/** Storage behind a Config. Entries are borrowed for the call. Every failure is a false or an empty list. */
class iConfigImpl
{
public:
    iConfigImpl() = default;
    virtual ~iConfigImpl() = default;
    iConfigImpl(const iConfigImpl&) = delete;
    iConfigImpl& operator=(const iConfigImpl&) = delete;

    virtual bool SetInteger(sConfig* entry, long value) = 0;
    virtual bool SetString(sConfig* entry, const std::string& value) = 0;
    virtual bool SetBoolean(sConfig* entry, bool bValue) = 0;
    /** These three leave @p value unchanged when they fail. */
    virtual bool GetInteger(sConfig* entry, long& value) = 0;
    virtual bool GetString(sConfig* entry, std::string& value) = 0;
    virtual bool GetBoolean(sConfig* entry, bool& bValue) = 0;
    /** The sections under the entry's section whose names begin with @p filter, in their order. */
    virtual std::vector<std::string> EnumSubDirs(sConfig* entry, const std::string& filter) = 0;
    virtual bool RemoveKey(sConfig* entry) = 0;
    virtual bool RemovePath(sConfig* entry) = 0;
    virtual bool DoInit() = 0;
    virtual bool DoDestroy() = 0;

    /** @param name the configuration's name, the first step of every path */
    bool Init(const std::string& name);
    bool Destroy() { return DoDestroy(); }
    std::vector<std::string> EnumSubDirs(sConfig* entry) { return EnumSubDirs(entry, {}); }

    /**
     * Joins the parts that are not empty with backslashes, one at the end too.
     *
     * Drops one backslash at the start of a part.
     */
    static std::string BuildRegPath(const std::string* parts, int count);

protected:
    [[nodiscard]] const std::string& Name() const { return m_Name; }

private:
    std::string m_Name;
};

} // namespace Norvik
