#include "model/mesh/meshtypeinfo.h"

#include "foundation/debug.h"
#include "model/mesh/mesh.h"

#include <cctype>

void MeshTypeInfo::TranslateName(char* outName, const char* name)
{
    if (!dbAssert(outName) || !dbAssert(name))
        return;
    uint32 i = 0;
    for (; i + 1 < Inv::MaxResourceName && name[i] != '\0'; ++i)
        outName[i] = char(std::tolower(static_cast<unsigned char>(name[i])));
    outName[i] = '\0';
}

void MeshTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete static_cast<ra::Mesh*>(data);
}
