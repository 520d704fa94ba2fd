#include "model/shader/texture.h"

#include "model/shader/texturetypeinfo.h"

namespace
{
TextureTypeInfo s_textureTypeInfo;
}

Inv::ResourceTypeInfo* Texture::GetTypeInfo()
{
    return &s_textureTypeInfo;
}
