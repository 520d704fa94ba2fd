#include "model/shader/texturetypeinfo.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/shader/texture.h"

namespace
{
TextureTypeInfo::TextureReader s_reader = nullptr;
} // namespace

void TextureTypeInfo::SetTextureReader(TextureReader reader)
{
    s_reader = reader;
}

TextureTypeInfo::TextureReader TextureTypeInfo::GetTextureReader()
{
    return s_reader;
}

void TextureTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete data;
}

Inv::NamedResource* TextureTypeInfo::Load(const char* name)
{
    if (!s_reader)
    {
        dbWarningf("TEXTURES -- '%s': no reader of texture files is registered!", name ? name : "");
        return nullptr;
    }
    return s_reader(name).release();
}
