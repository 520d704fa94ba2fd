#include "model/texture.h"

#include "model/texturetypeinfo.h"

namespace
{
TextureTypeInfo s_textureTypeInfo;
}

Inv::ResourceTypeInfo* Texture::GetTypeInfo()
{
    return &s_textureTypeInfo;
}
