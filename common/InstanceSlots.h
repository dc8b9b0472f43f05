#pragma once

#include <memory>
#include <type_traits>
#include <vector>

namespace Norvik
{

/**
 * The numbered instances of one class, made on demand. Not synchronised.
 *
 * The table lies behind a plain pointer and not in a static object: a process may still call the library
 * while its static objects go, and finds an empty table then. What is left when the library is unloaded is
 * released.
 */
template <typename T>
class InstanceSlots final
{
public:
    InstanceSlots() = delete;

    static std::vector<T*>& Vector()
    {
        static const AtUnload release;
        if (sTable == nullptr)
        {
            sTable = std::make_unique<std::vector<T*>>().release();
        }
        return *sTable;
    }

    /** The instance in slot @p id, made if the slot is empty; null if @p id is above the table's size. */
    static T* Get(unsigned int id)
    {
        if (sTable != nullptr && id < sTable->size() && (*sTable)[id] != nullptr)
        {
            return (*sTable)[id];
        }
        return Create(id);
    }

    /** Appends an instance, behind an empty slot 0 if there is no slot yet. @return its number */
    static unsigned int Register()
    {
        std::vector<T*>& table = Vector();
        if (table.empty())
        {
            table.push_back(nullptr);
        }
        const auto id = static_cast<unsigned int>(table.size());
        Create(id);
        return id;
    }

    /** Empties slot @p id and hands its instance over; null, and no change, if it doesn't hold @p instance.
     */
    static std::unique_ptr<T> Take(unsigned int id, const T* instance)
    {
        std::vector<T*>& table = Vector();
        if (id >= table.size() || table[id] != instance)
        {
            return nullptr;
        }
        std::unique_ptr<T> taken(table[id]);
        table[id] = nullptr;
        return taken;
    }

private:
    struct AtUnload
    {
        AtUnload() = default;
        ~AtUnload()
        {
            const std::unique_ptr<std::vector<T*>> table(sTable);
            sTable = nullptr;
            if (table == nullptr)
            {
                return;
            }
            for (T* instance : *table)
            {
                const std::unique_ptr<T> released(instance);
            }
        }
        AtUnload(const AtUnload&) = delete;
        AtUnload& operator=(const AtUnload&) = delete;
    };

    static T* Create(unsigned int id)
    {
        std::vector<T*>& table = Vector();
        if (id > table.size())
        {
            return nullptr;
        }
        if (id == table.size())
        {
            table.push_back(nullptr);
        }
        if constexpr (std::is_constructible_v<T, unsigned int>)
        {
            table[id] = std::make_unique<T>(id).release();
        }
        else
        {
            table[id] = std::make_unique<T>().release();
        }
        return table[id];
    }

    static inline std::vector<T*>* sTable = nullptr;
};

} // namespace Norvik
