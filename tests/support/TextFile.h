#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/** The whole content; empty for a file that isn't there. */
inline std::string ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/** The lines without their line feeds. */
inline std::vector<std::string> ReadLines(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

inline void WriteText(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}
