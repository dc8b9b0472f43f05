#include "LibConfig/iConfigImpl.h"

namespace Norvik
{

bool iConfigImpl::Init(const std::string& name)
{
    m_Name = name;
    return DoInit();
}

std::string iConfigImpl::BuildRegPath(const std::string* parts, int count)
{
    std::string path;
    for (int i = 0; i < count; ++i)
    {
        const std::string& part = parts[i];
        if (part.empty())
        {
            continue;
        }
        path.append(part, part.starts_with('\\') ? 1 : 0, std::string::npos);
        if (!path.ends_with('\\'))
        {
            path += '\\';
        }
    }
    return path;
}

} // namespace Norvik
