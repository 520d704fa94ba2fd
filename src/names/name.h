// Names of the model library (bones, meshes, motions, variables) and of effects: keys of two
// dictionaries with static lifetime, made on first use, that ignore case.
#pragma once

#include "names/dictionary.h"

#include <cstddef>
#include <functional>

namespace ra
{
class Name : public Dictionary::Key
{
public:
    constexpr Name() = default;
    constexpr Name(const Dictionary::Key& key) : Dictionary::Key(key) {}

    // No name: a key with the default contents.
    static const Name INVALID;
};

inline constexpr Name Name::INVALID{};

// The dictionary behind ra::Name. Names held in static objects must not be used after exit has
// destroyed it.
Dictionary& GetNameDictionary();
// The name of a text, added when new; a null text gives Name::INVALID.
Name MakeName(const char* text);
// The name of a text already made, without adding it. A null text is an assertion failure.
bool FindName(const char* text, Name& out);
// The text of a name ("Bone_01" is kept as "bone_01"); null for Name::INVALID.
const char* GetNameText(const Name& name);

// The same for effect names, in a dictionary of their own.
Dictionary& GetEffectNameDictionary();
Name MakeEffectName(const char* text);
bool FindEffectName(const char* text, Name& out);
const char* GetEffectNameText(const Name& name);
} // namespace ra

template <> struct std::hash<ra::Name>
{
    size_t operator()(const ra::Name& name) const noexcept { return name.m_value; }
};
