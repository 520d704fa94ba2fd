#include "model/shader/shadertypeinfo.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/shader/shaderimp.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <string>

namespace
{
ShaderTypeInfo::ShaderReader s_reader = nullptr;
std::string s_alias = "GENERIC";

// "<alias>:<name>.vds", or "<name>.vds" when the name carries its own alias.
bool SharedShaderFile(const char* name, char (&path)[FilePath::MAXPATH])
{
    const int n =
        FilePathUtil::HasAlias(name)
            ? std::snprintf(path, sizeof(path), "%s%s", name, ShaderTypeInfo::FileExtension)
            : std::snprintf(path, sizeof(path), "%s:%s%s", s_alias.c_str(), name,
                            ShaderTypeInfo::FileExtension);
    return n > 0 && n < int(sizeof(path));
}

} // namespace

void ShaderTypeInfo::SetShaderReader(ShaderReader reader, const char* alias)
{
    s_reader = reader;
    s_alias = alias ? alias : "GENERIC";
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
    std::unique_ptr<Shader> pShader = s_reader(path);
    if (!pShader)
        return nullptr;
    pShader->SetShared(true);
    return pShader.release();
}
