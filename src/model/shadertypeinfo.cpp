#include "model/shadertypeinfo.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/shaderimp.h"
#include "model/textureloadgeneric.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <exception>

namespace
{
ShaderTypeInfo::ShaderReader s_reader = nullptr;

// "GENERIC:<name>.vds", or "<name>.vds" when the name carries its own alias.
bool SharedShaderFile(const char* name, char (&path)[FilePath::MAXPATH])
{
    const int n =
        FilePathUtil::HasAlias(name)
            ? std::snprintf(path, sizeof(path), "%s%s", name, ShaderTypeInfo::FileExtension)
            : std::snprintf(path, sizeof(path), "GENERIC:%s%s", name, ShaderTypeInfo::FileExtension);
    return n > 0 && n < int(sizeof(path));
}

// The textures of a shared shader file go into the inventory unless a texture of that name is
// there already.
void AddTexture(std::unique_ptr<Texture> pTexture)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (!pTexture || !pWarehouse)
        return;
    Inv::Resource* pFound = nullptr;
    if (pWarehouse->Find(&pFound, pTexture->GetName(), Texture::GetTypeInfo()))
        return;
    if (pWarehouse->Add(pTexture.get()).IsValid())
        pTexture.release();
}
} // namespace

void ShaderTypeInfo::SetShaderReader(ShaderReader reader)
{
    s_reader = reader;
}

ShaderTypeInfo::ShaderReader ShaderTypeInfo::GetShaderReader()
{
    return s_reader;
}

void ShaderTypeInfo::TranslateName(char* outName, const char* name)
{
    // Material names may hold dots and colons of their own: only case and separators change.
    InvTypeNameTranslate(outName, name, false, false);
}

Inv::NamedResource* ShaderTypeInfo::CreateDefault(const char* name)
{
    return new ShaderImp(name);
}

void ShaderTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete data;
}

Inv::NamedResource* ShaderTypeInfo::Load(const char* name)
{
    if (!dbAssert(name))
        return nullptr;
    char path[FilePath::MAXPATH];
    if (!SharedShaderFile(name, path))
    {
        dbWarningf("SHADER -- '%s': name too long for a shared shader file!", name);
        return nullptr;
    }
    if (!s_reader)
    {
        dbWarningf("SHADER -- '%s': no reader of shader files is registered!", path);
        return nullptr;
    }
    std::shared_ptr<ByteStream> pStream = FilePath::Open(path, ByteStream::Mode_Read);
    if (!pStream)
    {
        dbWarningf("SHADER -- '%s': Unable to load!", path);
        return nullptr;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        chunky.ReadFolderChunk(ID_SHRF, SHRFVersion);
        std::unique_ptr<Shader> pShader;
        ChunkInfo info;
        while (!pShader && chunky.NextChunk(info))
        {
            if (info.kind == Chunky::CT_Folder && info.id == TextureLoadGeneric::ID_TXTR)
                AddTexture(TextureLoadGeneric::Load(chunky, adapter));
            else if (info.kind == Chunky::CT_Folder && info.id == ID_SHDR)
                pShader = s_reader(chunky, adapter);
        }
        if (!pShader)
        {
            dbWarningf("SHADER -- '%s': the file holds no shader!", path);
            return nullptr;
        }
        pShader->SetShared(true);
        return pShader.release();
    }
    catch (const std::exception& e)
    {
        dbWarningf("SHADER -- '%s': %s", path, e.what());
        return nullptr;
    }
}
