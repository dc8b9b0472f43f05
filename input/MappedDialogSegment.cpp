#include "input/MappedDialogSegment.h"

#include "input/DialogSegment.h"

#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>

namespace bip = boost::interprocess;

struct MappedDialogSegment::Mapping
{
    Mapping() : object(bip::open_or_create, DialogSegment::Name, bip::read_write, bip::permissions(0644))
    {
        object.truncate(DialogSegment::Size);
        region = bip::mapped_region(object, bip::read_write);
    }

    bip::shared_memory_object object;
    bip::mapped_region region;
};

MappedDialogSegment::MappedDialogSegment() : m_Mapping(std::make_unique<Mapping>()) {}

MappedDialogSegment::~MappedDialogSegment() = default;

char* MappedDialogSegment::Memory() const
{
    return static_cast<char*>(m_Mapping->region.get_address());
}

void MappedDialogSegment::RemoveName() noexcept
{
    static_cast<void>(bip::shared_memory_object::remove(DialogSegment::Name));
}
