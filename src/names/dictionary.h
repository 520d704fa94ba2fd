// A dictionary turns each text once into a 32-bit key, unique within the dictionary, so that
// names are compared as numbers. Keys come from the lookup2 hash of the text; a collision moves
// the later text to the next free value.
#pragma once

#include "foundation/debug.h"
#include "foundation/types.h"

#include <utility>
#include <vector>

class Dictionary
{
public:
    // A text's identity in one dictionary. Keys compare by value alone; the text is for display.
    class Key
    {
    public:
        constexpr Key() = default;

        bool operator==(const Key& rhs) const { return CheckSameDictionary(rhs) && m_value == rhs.m_value; }
        bool operator!=(const Key& rhs) const { return !(*this == rhs); }
        bool operator<(const Key& rhs) const
        {
            CheckSameDictionary(rhs);
            return m_value < rhs.m_value;
        }
        bool operator>(const Key& rhs) const { return rhs < *this; }
        bool operator<=(const Key& rhs) const { return !(rhs < *this); }
        bool operator>=(const Key& rhs) const { return !(*this < rhs); }

        // The stored text of the dictionary; valid as long as the dictionary lives.
        const char* m_string = "<uninitialized>";
        // Left null by Add: keys of different dictionaries are kept apart by their users.
        Dictionary* m_pDictionary = nullptr;
        uint32 m_value = 1;

    private:
        bool CheckSameDictionary(const Key& rhs) const
        {
            // A failed check still compares by value.
            dbAssert((m_pDictionary == NULL) || (rhs.m_pDictionary == NULL) ||
                     (m_pDictionary == rhs.m_pDictionary));
            return true;
        }
    };

    explicit Dictionary(bool caseSensitive);
    ~Dictionary();
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    // The key of the text, adding it when it is new. A dictionary that is not case sensitive
    // keeps the lower-cased text, cut to 0x3FF characters. A null name is an assertion failure
    // and gives a default key.
    Key Add(const char* name);
    // Looks the text up without adding it. On success out.m_string is the stored text; out.m_value
    // is set in any case (after a failure, to the last value probed).
    bool Find(const char* name, Key& out);
    // The stored text of a key; a key that is not in the dictionary is an assertion failure and
    // gives "".
    const char* GetString(const Key& key);

    // While deferred, Add appends and look-ups scan; ending the deferral sorts once. For filling a
    // dictionary with many texts in one go.
    void SetDeferSort(bool defer);

    uint32 GetCount() const { return uint32(m_Map.size()); }
    bool IsCaseSensitive() const { return m_bCaseSensitive; }
    // Whether a hash collision has happened in the life of this dictionary.
    bool HasSeenCollision() const { return m_bCollisionSeen; }

private:
    using Entry = std::pair<uint32, const char*>;

    // The text of a value, or null when the value is free.
    const char* Lookup(uint32 value);
    void Insert(uint32 value, const char* text);
    void SortIfNeeded();

    std::vector<Entry> m_Map;
    bool m_bDeferSort = false;
    bool m_bUnsorted = false;
    bool m_bCaseSensitive;
    bool m_bCollisionSeen = false;
};
