#pragma once

#include <algorithm>
#include <cstddef>

namespace KMarkP11
{

/** One row of a table that gives names to numbers. */
struct NumberName
{
    unsigned long number;
    const char* name;
};

/** Whether the rows ascend and no number stands twice, as FindName() needs it. */
template <std::size_t N>
constexpr bool IsAscending(const NumberName (&table)[N])
{
    return std::adjacent_find(table, table + N, [](const NumberName& a, const NumberName& b) {
               return a.number >= b.number;
           }) == table + N;
}

/** Null for a number that the table doesn't have. */
template <std::size_t N>
constexpr const char* FindName(const NumberName (&table)[N], unsigned long number)
{
    const NumberName* const row =
        std::lower_bound(table, table + N, number,
                         [](const NumberName& entry, unsigned long wanted) { return entry.number < wanted; });
    return row != table + N && row->number == number ? row->name : nullptr;
}

} // namespace KMarkP11
