#include "simulator/card/FileSystem.h"

#include <algorithm>

namespace
{

template <typename T, typename Predicate>
T* FindOwned(const std::vector<std::unique_ptr<T>>& owners, Predicate matches)
{
    const auto found =
        std::find_if(owners.begin(), owners.end(), [&](const auto& owner) { return matches(*owner); });
    return found == owners.end() ? nullptr : found->get();
}

} // namespace

namespace Simulator
{

DedicatedFile::DedicatedFile(std::string name, std::uint16_t fileId, Bytes dfName, DedicatedFile* parent)
    : m_Name(std::move(name)), m_FileId(fileId), m_DfName(std::move(dfName)), m_Parent(parent)
{}

DedicatedFile& DedicatedFile::AddDirectory(std::string name, std::uint16_t fileId, Bytes dfName)
{
    m_Directories.push_back(
        std::make_unique<DedicatedFile>(std::move(name), fileId, std::move(dfName), this));
    return *m_Directories.back();
}

ElementaryFile& DedicatedFile::AddFile(ElementaryFile file)
{
    m_Files.push_back(std::make_unique<ElementaryFile>(std::move(file)));
    return *m_Files.back();
}

Pin& DedicatedFile::AddPin(PinSettings settings)
{
    m_Pins.push_back(std::make_unique<Pin>(std::move(settings)));
    return *m_Pins.back();
}

ElementaryFile* DedicatedFile::FileById(std::uint16_t fileId) const
{
    return FindOwned(m_Files, [&](const ElementaryFile& file) { return file.fileId == fileId; });
}

ElementaryFile* DedicatedFile::FileByShortId(std::uint8_t shortFileId) const
{
    return FindOwned(m_Files, [&](const ElementaryFile& file) { return file.shortFileId == shortFileId; });
}

DedicatedFile* DedicatedFile::DirectoryById(std::uint16_t fileId) const
{
    return FindOwned(m_Directories,
                     [&](const DedicatedFile& directory) { return directory.m_FileId == fileId; });
}

DedicatedFile* DedicatedFile::DirectoryByDfName(ByteView dfName)
{
    if (!m_DfName.empty() && std::ranges::equal(m_DfName, dfName))
    {
        return this;
    }
    for (const auto& directory : m_Directories)
    {
        if (DedicatedFile* found = directory->DirectoryByDfName(dfName))
        {
            return found;
        }
    }
    return nullptr;
}

ElementaryFile* DedicatedFile::FileByName(const std::string& name) const
{
    if (auto* file = FindOwned(m_Files, [&](const ElementaryFile& each) { return each.name == name; }))
    {
        return file;
    }
    for (const auto& directory : m_Directories)
    {
        if (auto* file = directory->FileByName(name))
        {
            return file;
        }
    }
    return nullptr;
}

Pin* DedicatedFile::PinByName(const std::string& name) const
{
    if (auto* pin = FindOwned(m_Pins, [&](const Pin& each) { return each.Name() == name; }))
    {
        return pin;
    }
    for (const auto& directory : m_Directories)
    {
        if (auto* pin = directory->PinByName(name))
        {
            return pin;
        }
    }
    return nullptr;
}

Pin* DedicatedFile::PinToVerify(std::uint8_t reference) const
{
    for (const DedicatedFile* directory = this; directory != nullptr; directory = directory->m_Parent)
    {
        if (auto* pin = FindOwned(directory->m_Pins,
                                  [&](const Pin& each) { return each.VerifyReference() == reference; }))
        {
            return pin;
        }
    }
    return nullptr;
}

Pin* DedicatedFile::PinToChange(std::uint8_t reference) const
{
    for (const DedicatedFile* directory = this; directory != nullptr; directory = directory->m_Parent)
    {
        if (auto* pin = FindOwned(directory->m_Pins,
                                  [&](const Pin& each) { return each.ChangeReference() == reference; }))
        {
            return pin;
        }
    }
    return nullptr;
}

bool DedicatedFile::IsBelow(const DedicatedFile& ancestor) const
{
    for (const DedicatedFile* directory = m_Parent; directory != nullptr; directory = directory->m_Parent)
    {
        if (directory == &ancestor)
        {
            return true;
        }
    }
    return false;
}

void DedicatedFile::DropPinStatus()
{
    for (const auto& pin : m_Pins)
    {
        pin->DropStatus();
    }
    for (const auto& directory : m_Directories)
    {
        directory->DropPinStatus();
    }
}

} // namespace Simulator
