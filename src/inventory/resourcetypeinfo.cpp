#include "inventory/resourcetypeinfo.h"

#include "names/faststring.h"

#include "foundation/debug.h"

#include <cstring>

void InvTypeNameTranslate(char* outName, const char* filename, bool stripAlias, bool stripExtension)
{
    if (!dbAssert(outName))
        return;
    outName[0] = '\0';
    if (!dbAssert(filename))
        return;
    const char* text = filename;
    if (stripAlias)
    {
        if (const char* colon = std::strrchr(filename, ':'))
            text = colon + 1;
    }
    uint32 n = 0;
    for (; text[n] != '\0' && n < Inv::MaxResourceName - 1; ++n)
        outName[n] = text[n] == '\\' ? '/' : text[n];
    outName[n] = '\0';
    if (stripExtension)
    {
        if (char* dot = std::strrchr(outName, '.'))
            *dot = '\0';
    }
    for (char* p = outName; *p != '\0'; ++p)
        *p = FastString::ToLower(*p);
}

namespace Inv
{
void ResourceTypeInfo::TranslateName(char* outName, const char* name)
{
    InvTypeNameTranslate(outName, name, true, true);
}
} // namespace Inv
