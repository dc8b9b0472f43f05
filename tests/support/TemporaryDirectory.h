#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/** An empty directory of its own, removed with all it holds when the object goes. */
class TemporaryDirectory final
{
public:
    TemporaryDirectory()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kmark-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a temporary directory");
        }
        m_Path = name;
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    /** Without a slash at its end. */
    [[nodiscard]] const std::string& Path() const { return m_Path; }
    [[nodiscard]] std::string File(const std::string& name) const { return m_Path + "/" + name; }

private:
    std::string m_Path;
};
