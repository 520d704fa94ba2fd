#include "scripts/primitive.h"

#include "pipeline/fullpath.h"

#include <cstdio>

namespace Script
{
namespace
{
std::vector<const Primitive*>& Registry()
{
    static std::vector<const Primitive*> s_cPrimitive;
    return s_cPrimitive;
}

Listener& CurrentListener()
{
    static Listener s_listener;
    return s_listener;
}
} // namespace

Primitive::Primitive(const char* name, PrimitiveFunction function, int flags)
    : m_name(name), m_function(function), m_flags(flags)
{
    Registry().push_back(this);
}

const std::vector<const Primitive*>& Primitive::All()
{
    return Registry();
}

const Primitive* Primitive::Find(const std::string& name)
{
    for (const Primitive* pPrimitive : Registry())
        if (name == pPrimitive->GetName())
            return pPrimitive;
    return nullptr;
}

void ListenerPrint(const std::string& text)
{
    if (CurrentListener())
    {
        CurrentListener()(text);
        return;
    }
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

Listener SetListener(Listener listener)
{
    Listener previous = std::move(CurrentListener());
    CurrentListener() = std::move(listener);
    return previous;
}

std::string FullName(const Value& value)
{
    return FullPath::Expand(value.to_string().c_str());
}
} // namespace Script
