#include "model/texturetypeinfo.h"

#include "model/textureloadgeneric.h"

void TextureTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete data;
}

Inv::NamedResource* TextureTypeInfo::Load(const char* name)
{
    return TextureLoadGeneric::LoadFile(name).release();
}
