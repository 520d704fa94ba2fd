#include "names/dictionary.h"

#include "names/faststring.h"
#include "names/memorypool.h"

#include "foundation/output.h"

#include <algorithm>
#include <cstring>

namespace
{
MemoryPool& StringPool()
{
    return MemoryPool::Get("DictionaryStrings");
}

// Longest name a dictionary that ignores case takes, with the terminator.
constexpr size_t LowerBuffer = 0x400;

// The text as the dictionary sees it: a lower-cased copy in `buffer`, or the name itself.
const char* Normalise(const char* name, bool caseSensitive, char (&buffer)[LowerBuffer])
{
    if (caseSensitive)
        return name;
    size_t n = 0;
    for (; name[n] != '\0' && n < LowerBuffer - 1; ++n)
        buffer[n] = FastString::ToLower(name[n]);
    buffer[n] = '\0';
    return buffer;
}

bool EntryLess(const std::pair<uint32, const char*>& entry, uint32 value)
{
    return entry.first < value;
}
} // namespace

Dictionary::Dictionary(bool caseSensitive) : m_bCaseSensitive(caseSensitive) {}

Dictionary::~Dictionary()
{
    MemoryPool& pool = StringPool();
    for (Entry& entry : m_Map)
        pool.Free(const_cast<char*>(entry.second));
}

Dictionary::Key Dictionary::Add(const char* name)
{
    if (!dbAssert(name))
        return Key();
    char buffer[LowerBuffer];
    const char* text = Normalise(name, m_bCaseSensitive, buffer);

    Key key;
    key.m_value = FastString::HashString(text);
    if (!dbAssert(key.m_value != 0))
        return Key();
    for (;;)
    {
        const char* stored = Lookup(key.m_value);
        if (stored == nullptr)
        {
            stored = StringPool().StrDup(text);
            Insert(key.m_value, stored);
            key.m_string = stored;
            return key;
        }
        if (std::strcmp(stored, text) == 0)
        {
            key.m_string = stored;
            return key;
        }
        if (!m_bCollisionSeen)
        {
            m_bCollisionSeen = true;
            dbWarningf("Dictionary hash collision '%s'<->'%s'", stored, text);
        }
        // The next value up; the order of adding decides which text gets which.
        ++key.m_value;
    }
}

bool Dictionary::Find(const char* name, Key& out)
{
    if (!dbAssert(name))
        return false;
    char buffer[LowerBuffer];
    const char* text = Normalise(name, m_bCaseSensitive, buffer);

    out.m_value = FastString::HashString(text);
    for (;;)
    {
        const char* stored = Lookup(out.m_value);
        if (stored == nullptr)
            return false;
        if (std::strcmp(stored, text) == 0)
        {
            out.m_string = stored;
            return true;
        }
        ++out.m_value;
    }
}

const char* Dictionary::GetString(const Key& key)
{
    const char* stored = Lookup(key.m_value);
    if (!dbAssert(stored != nullptr))
        return "";
    return stored;
}

void Dictionary::SetDeferSort(bool defer)
{
    m_bDeferSort = defer;
    if (!defer)
        SortIfNeeded();
}

const char* Dictionary::Lookup(uint32 value)
{
    if (m_bUnsorted)
    {
        if (!m_bDeferSort)
            SortIfNeeded();
        else
        {
            for (const Entry& entry : m_Map)
                if (entry.first == value)
                    return entry.second;
            return nullptr;
        }
    }
    auto it = std::lower_bound(m_Map.begin(), m_Map.end(), value, EntryLess);
    return (it != m_Map.end() && it->first == value) ? it->second : nullptr;
}

void Dictionary::Insert(uint32 value, const char* text)
{
    if (m_bDeferSort)
    {
        m_Map.emplace_back(value, text);
        m_bUnsorted = true;
        return;
    }
    auto it = std::lower_bound(m_Map.begin(), m_Map.end(), value, EntryLess);
    m_Map.emplace(it, value, text);
}

void Dictionary::SortIfNeeded()
{
    if (!m_bUnsorted)
        return;
    // Values are unique, so the order is total.
    std::sort(m_Map.begin(), m_Map.end(), [](const Entry& a, const Entry& b) { return a.first < b.first; });
    m_bUnsorted = false;
}
