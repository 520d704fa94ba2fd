#include "model/event/eventfiledatabase.h"

#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "names/memorypool.h"

#include <functional>
#include <map>
#include <string>

namespace
{
// Map nodes come from the database's own pool, so its memory shows in the pool report.
template <class T> struct DatabaseAllocator
{
    using value_type = T;
    DatabaseAllocator() = default;
    template <class U> DatabaseAllocator(const DatabaseAllocator<U>&) {}
    T* allocate(size_t n)
    {
        return static_cast<T*>(MemoryPool::Get("EventFileDatabase").Alloc(n * sizeof(T)));
    }
    void deallocate(T* p, size_t) { MemoryPool::Get("EventFileDatabase").Free(p); }
    template <class U> bool operator==(const DatabaseAllocator<U>&) const { return true; }
};
} // namespace

EventFileDatabase* EventFileDatabase::s_pDB = nullptr;

struct EventFileDatabase::Imp
{
    using Entry = std::pair<const std::string, Inv::Reference<ra::EventData>>;
    std::map<std::string, Inv::Reference<ra::EventData>, std::less<>, DatabaseAllocator<Entry>> m_Events;
};

EventFileDatabase::EventFileDatabase() : m_pImp(std::make_unique<Imp>()) {}

EventFileDatabase::~EventFileDatabase() = default;

void EventFileDatabase::Create()
{
    if (!dbAssert(s_pDB == NULL))
        return;
    s_pDB = new EventFileDatabase;
}

void EventFileDatabase::Destroy()
{
    if (!dbAssert(s_pDB != NULL))
        return;
    delete s_pDB;
    s_pDB = nullptr;
}

EventFileDatabase* EventFileDatabase::i()
{
    dbAssert(s_pDB);
    return s_pDB;
}

Inv::Reference<ra::EventData> EventFileDatabase::GetEvent(const char* name)
{
    if (!dbAssert(name))
        return {};
    const std::string key = ra::EventData::NormalizeName(name);
    if (key.empty())
        return {};
    auto it = m_pImp->m_Events.find(key);
    if (it != m_pImp->m_Events.end())
        return it->second;
    Inv::Reference<ra::EventData> ref = Inv::Load<ra::EventData>(key.c_str());
    m_pImp->m_Events.emplace(key, ref);
    return ref;
}

size_t EventFileDatabase::GetCount() const
{
    return m_pImp->m_Events.size();
}

void EventFileDatabase::Clear()
{
    m_pImp->m_Events.clear();
}
