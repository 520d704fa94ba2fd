#include "names/name.h"

namespace ra
{
namespace
{
Name Make(Dictionary& dictionary, const char* text)
{
    if (text == nullptr)
        return Name::INVALID;
    return dictionary.Add(text);
}

bool Find(Dictionary& dictionary, const char* text, Name& out)
{
    if (!dbAssert(text))
        return false;
    return dictionary.Find(text, out);
}

const char* Text(Dictionary& dictionary, const Name& name)
{
    if (name.m_value == Name::INVALID.m_value)
        return nullptr;
    return dictionary.GetString(name);
}
} // namespace

Dictionary& GetNameDictionary()
{
    static Dictionary s_names(false);
    return s_names;
}

Name MakeName(const char* text)
{
    return Make(GetNameDictionary(), text);
}

bool FindName(const char* text, Name& out)
{
    return Find(GetNameDictionary(), text, out);
}

const char* GetNameText(const Name& name)
{
    return Text(GetNameDictionary(), name);
}

Dictionary& GetEffectNameDictionary()
{
    static Dictionary s_effectNames(false);
    return s_effectNames;
}

Name MakeEffectName(const char* text)
{
    return Make(GetEffectNameDictionary(), text);
}

bool FindEffectName(const char* text, Name& out)
{
    return Find(GetEffectNameDictionary(), text, out);
}

const char* GetEffectNameText(const Name& name)
{
    return Text(GetEffectNameDictionary(), name);
}
} // namespace ra
