// Materials into shaders: every distinct material that a mesh's faces use becomes one ShaderImp,
// with its colours sampled at the export time and its bitmaps loaded through the inventory.

#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmfilename.h"
#include "exporter/sgmuv.h"
#include "foundation/debug.h"
#include "model/file/generic/textureloadgeneric.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texture.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <strings.h>

namespace
{
// Everything here reports through the export's message list; outside an export there is none.
template <class... Args> void ReportError(const char* format, Args... args)
{
    if (SGMErrors* pErrors = SGMErrors::Get())
        pErrors->Error(format, args...);
}

template <class... Args> void ReportWarning(const char* format, Args... args)
{
    if (SGMErrors* pErrors = SGMErrors::Get())
        pErrors->Warning(format, args...);
}

// A colour component as a byte: scaled by `factor` and truncated. Components outside 0..1
// saturate rather than wrap.
uint8 ColourByte(float value, float factor = 255.0f)
{
    const float scaled = std::clamp(value * factor, 0.0f, 255.0f);
    return uint8(scaled);
}

// One colour word, low byte first: red, green, blue, alpha.
uint32 ColourWord(uint8 r, uint8 g, uint8 b, uint8 a)
{
    return uint32(r) | (uint32(g) << 8) | (uint32(b) << 16) | (uint32(a) << 24);
}

uint32 ColourWord(const host::Color& c, uint8 alpha)
{
    return ColourWord(ColourByte(c.r), ColourByte(c.g), ColourByte(c.b), alpha);
}

// The inventory's text name of a shader (ShaderImp::GetName gives the hashed one).
const char* ShaderName(ShaderImp* pShader)
{
    const char* name = static_cast<Inv::NamedResource*>(pShader)->GetName();
    return name != nullptr ? name : "";
}

const char* NameOf(host::MtlBase* pBase)
{
    const char* name = pBase->GetName();
    return name != nullptr ? name : "";
}

// Names of shared textures say so, in any case.
bool IsSharedTextureName(const char* name)
{
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return lower.find("texture_share") != std::string::npos;
}

// Hands the shader to the inventory. The entry keeps the shader only when the inventory took it.
void RegisterShader(ShaderListEntry& entry, std::unique_ptr<ShaderImp> pShader)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse == nullptr)
        return;
    Inv::Reference<ShaderImp> shaderRef = pWarehouse->Add(pShader.get());
    if (!shaderRef.IsValid())
        return;
    entry.pShader = pShader.release();
    entry.shaderRef = shaderRef;
}
} // namespace

int32 SGMExport::FindShaderEntry(host::Mtl* pMtl) const
{
    for (size_t i = 0; i < m_ShaderList.size(); ++i)
    {
        if (m_ShaderList[i]->pMtl == pMtl)
            return int32(i);
    }
    return InvalidIndex;
}

void SGMExport::CollectShaders(host::INode* pNode, std::vector<ShaderListEntry*>& shaderList,
                               SGMExportOptions& options, const std::vector<bool>* usedShader)
{
    if (!dbAssert(usedShader))
        return;
    if (!dbAssert(pNode != nullptr))
        return;
    const std::vector<bool>& used = *usedShader;

    // The node's wire colour stands in for a missing material; one such shader per call.
    ShaderListEntry* pWireEntry = nullptr;
    auto wireEntry = [&]() -> ShaderListEntry*
    {
        if (pWireEntry != nullptr)
            return pWireEntry;
        if (options.exportMeshes)
            ReportWarning("Object [%s] has no material assigned to it.", pNode->GetName());
        auto pEntry = std::make_unique<ShaderListEntry>();
        auto pShader = std::make_unique<ShaderImp>(pNode->GetName());
        const uint32 wire = pNode->GetWireColor();
        pShader->SetColour(Shader::CN_Diffuse, ColourWord(host::GetRValue(wire), host::GetGValue(wire),
                                                          host::GetBValue(wire), 0xFF));
        RegisterShader(*pEntry, std::move(pShader));
        pWireEntry = pEntry.get();
        m_ShaderList.push_back(std::move(pEntry));
        return pWireEntry;
    };

    // A material already made into a shader is only named again.
    auto materialEntry = [&](host::Mtl* pMtl) -> ShaderListEntry*
    {
        if (pMtl == nullptr)
            return wireEntry();
        const int32 found = FindShaderEntry(pMtl);
        if (found != InvalidIndex)
            return m_ShaderList[size_t(found)].get();
        m_ShaderList.push_back(BuildShader(pMtl, m_ShaderList.size(), options));
        return m_ShaderList.back().get();
    };

    host::Mtl* pMtl = pNode->GetMtl();
    const int subCount = pMtl != nullptr ? pMtl->NumSubMtls() : 0;
    if (subCount == 0)
    {
        if (!used.empty() && used[0])
            shaderList.push_back(materialEntry(pMtl));
        return;
    }
    for (size_t id = 0; id < used.size() && id < size_t(subCount); ++id)
    {
        if (used[id])
            shaderList.push_back(materialEntry(pMtl->GetSubMtl(int(id))));
    }
}

std::unique_ptr<ShaderListEntry> SGMExport::BuildShader(host::Mtl* pMtl, size_t shaderIndex,
                                                        SGMExportOptions& options)
{
    auto pEntry = std::make_unique<ShaderListEntry>();
    if (!dbAssert(pMtl))
        return pEntry;
    pEntry->pMtl = pMtl;
    (void)shaderIndex; // the entry's place in m_ShaderList, where the caller appends it

    const char* mtlName = pMtl->GetName();
    if (!dbAssert(mtlName))
        mtlName = "";
    auto pShader = std::make_unique<ShaderImp>(mtlName);

    host::CStr className;
    pMtl->GetClassName(className);
    const host::Class_ID classId = pMtl->ClassID();
    host::StdMat* pStdMtl = nullptr;
    if (classId == host::DMTL_CLASS_ID)
        pStdMtl = GetStdMtl(pMtl);
    else if (classId == host::MULTI_CLASS_ID)
        ReportError("Nested multi-sub objects not supported.  \"%s\" is nested.", className.data());
    else
        ReportError("Unsupported material type \"%s\" [%s] : Class_ID(%X,%X)", className.data(), mtlName,
                    classId.PartA(), classId.PartB());

    // Anything but a Standard material stays a blank shader.
    if (pStdMtl != nullptr)
    {
        const host::TimeValue time = options.time;
        const bool sharedUV = HasSharedUVMatrix(pMtl);

        pShader->SetByte(pStdMtl->GetTwoSided() != 0 ? 1 : 0);
        pShader->SetInt(pStdMtl->GetShading() != 0 ? 1 : 0);
        pShader->SetFloat(pStdMtl->GetShininess(time));

        pShader->SetColour(Shader::CN_Diffuse, ColourWord(pStdMtl->GetDiffuse(time), 0xFF));
        pShader->SetColour(Shader::CN_Specular, ColourWord(pStdMtl->GetSpecular(time), 0xFF));

        // A faint specular level is taken for none; the game draws no specular level.
        float specularLevel = pStdMtl->GetShinStr(time);
        if (specularLevel <= 0.05f)
            specularLevel = 0.0f;
        else
            ReportWarning("Shader [%s] has a specular level that is not 0.  This may not render properly.",
                          ShaderName(pShader.get()));
        const uint8 grey = ColourByte(specularLevel, 255.99f);
        pShader->SetColour(Shader::CN_Fifth, ColourWord(grey, grey, grey, ColourByte(1.0f, 255.99f)));

        if (!pStdMtl->GetSelfIllumColorOn(0, 0))
        {
            const uint8 level = ColourByte(pStdMtl->GetSelfIllum(time));
            pShader->SetColour(Shader::CN_SelfIllumination, ColourWord(level, level, level, 0xFF));
        }
        else
            pShader->SetColour(Shader::CN_SelfIllumination,
                               ColourWord(pStdMtl->GetSelfIllumColor(time), 0xFF));

        pShader->SetColour(Shader::CN_Opacity,
                           ColourWord(0xFF, 0xFF, 0xFF, ColourByte(pStdMtl->GetOpacity(time))));

        for (uint32 channel = 0; channel < std::size(ShaderSlotMapId); ++channel)
        {
            const int mapId = ShaderSlotMapId[channel];
            pShader->SetMethod(channel, Shader::Method_Colour);
            if (!pStdMtl->MapEnabled(mapId))
                continue;
            if (channel == Shader::CN_Fifth)
                ReportWarning(
                    "Shader [%s] has a specular level map specified.  This may not render properly.",
                    ShaderName(pShader.get()));
            host::Texmap* pTexmap = pStdMtl->GetSubTexmap(mapId);
            if (pTexmap == nullptr)
                continue;
            if (pTexmap->ClassID() == host::BMTEX_CLASS_ID)
                SetTextureChannel(pShader.get(), int(channel), pTexmap, sharedUV, options);
            else
            {
                host::CStr texClassName;
                pTexmap->GetClassName(texClassName);
                ReportError("Unsupported texture type:[%s] name:[%s]", texClassName.data(), NameOf(pTexmap));
            }
        }

        switch (pStdMtl->GetTransparencyType())
        {
        case host::TRANSP_ADDITIVE:
            pShader->SetBlend(Shader::Blend_One, Shader::Blend_One);
            break;
        case host::TRANSP_FILTER:
            pShader->SetBlend(Shader::Blend_SrcAlpha, Shader::Blend_InvSrcAlpha);
            break;
        default:
            break;
        }

        // The shader's control streams come from the animation stage, which runs this shader's
        // part again once there is animation to sample; while meshes are built there is none.
    }

    // Opaque shaders first in a mesh's shader table; names the shader order knows go after both.
    const char* shaderName = ShaderName(pShader.get());
    auto order =
        std::find_if(m_ShaderOrder.begin(), m_ShaderOrder.end(),
                     [&](const std::string& name) { return strcasecmp(name.c_str(), shaderName) == 0; });
    if (order != m_ShaderOrder.end())
        pEntry->sortKey = int32(order - m_ShaderOrder.begin()) + 2;
    else
        pEntry->sortKey = pShader->IsOpaque() ? 0 : 1;

    RegisterShader(*pEntry, std::move(pShader));
    return pEntry;
}

void SGMExport::SetTextureChannel(ShaderImp* pShader, int channel, host::Texmap* pTexmap, bool sharedUV,
                                  SGMExportOptions& options)
{
    if (!dbAssert(pShader) || !dbAssert(channel >= 0 && channel < int(Shader::CN_Count)))
        return;
    host::BitmapTex* pBitmap = GetBitmapTex(pTexmap);
    if (!dbAssert(pBitmap))
        return;
    const uint32 n = uint32(channel);

    const char* mapName = pBitmap->GetMapName();
    Inv::Reference<Texture> textureRef = LoadTexture(mapName != nullptr ? mapName : "", options.exportMeshes);
    if (textureRef.IsValid())
    {
        pShader->SetMethod(n, Shader::Method_Texture);
        pShader->SetTexture(n, textureRef);
        // Every material that uses a shared texture becomes the one shader of that name.
        const char* textureName = textureRef.Get() != nullptr ? textureRef.Get()->GetName() : nullptr;
        if (n == Shader::CN_Diffuse && textureName != nullptr && IsSharedTextureName(textureName))
            pShader->SetName(textureName);
    }

    host::StdUVGen* pUVGen = pBitmap->GetUVGen();
    if (pUVGen == nullptr)
    {
        ReportWarning("Texture [%s] does not have a UVGen.", NameOf(pBitmap));
        return;
    }

    fr::Matrix44 m = fr::Matrix44::Identity();
    const uint32 requirements = pUVGen->Requirements(0);
    if (requirements != 0 && (requirements & host::MTLREQ_VIEW_DEP) == 0)
    {
        // UV mapped. A placement shared by all slots is baked into the mesh's UVs; the channel
        // keeps it as its second transform.
        fr::Matrix44 t = fr::Matrix44::Identity();
        GetTextureUVMatrix(pBitmap, t);
        if (sharedUV)
            pShader->SetTransform2(n, t);
        else
            m = t;
        pShader->SetCoordMode(n, pUVGen->GetMapChannel() - 1);
    }
    else if (pUVGen->GetCoordMapping(options.time) == host::UVMAP_SPHERE_ENV)
    {
        // Sphere map: the render layer's -1..1 reflection coordinates into 0..1.
        pShader->SetCoordMode(n, 6);
        m.m[0][0] = 0.5f;
        m.m[1][1] = 0.5f;
        m.m[3][0] = 0.5f;
        m.m[3][1] = 0.5f;
    }

    const int tiling = pUVGen->GetTextureTiling();
    const int bothWrap = host::U_WRAP | host::V_WRAP;
    const int bothMirror = host::U_MIRROR | host::V_MIRROR;
    if ((tiling & bothWrap) == bothWrap)
        pShader->SetAddressMode(n, 1);
    else if ((tiling & bothMirror) == bothMirror)
    {
        pShader->SetAddressMode(n, 2);
        if (options.exportMeshes)
            ReportError("Mirroring is not properly supported in shader [%s].", ShaderName(pShader));
    }
    else if (tiling == 0)
        pShader->SetAddressMode(n, 0);
    else
    {
        ReportWarning("Texture [%s] must have both U and V tile modes as the same.  Assuming tiling.",
                      NameOf(pBitmap));
        pShader->SetAddressMode(n, 1);
    }

    switch (pBitmap->GetFilterType())
    {
    case host::FILTER_PYR:
        pShader->SetFilterMode(n, 4);
        break;
    case host::FILTER_SAT:
        pShader->SetFilterMode(n, 5);
        break;
    case host::FILTER_NADA:
        pShader->SetFilterMode(n, 0);
        break;
    default:
        break;
    }

    pShader->SetTransform(n, m);
    pShader->SetBaseTransform(n, m);
}

Inv::Reference<Texture> SGMExport::LoadTexture(const char* name, bool warn)
{
    if (!dbAssert(name))
        return Inv::Reference<Texture>();
    const std::string path = std::string("Tool:") + name;

    // Textures are known by file name below the data root; one outside every project has no name
    // the game could find it by, and an empty name would make all such textures one.
    std::string inventoryName;
    if (!GetTextureName(inventoryName, name) || inventoryName.empty())
    {
        if (warn)
            ReportWarning("Unable to load texture '%s' - please ensure it is in the model 'Textures' folder!",
                          name);
        return Inv::Reference<Texture>();
    }

    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse == nullptr)
        return Inv::Reference<Texture>();
    Inv::Resource* pResource = nullptr;
    if (pWarehouse->Find(&pResource, inventoryName.c_str(), Texture::GetTypeInfo()) && pResource != nullptr)
        return Inv::Reference<Texture>(pResource);

    std::unique_ptr<Texture> pTexture = TextureLoadGeneric::LoadFile(path.c_str());
    if (pTexture == nullptr)
    {
        if (warn)
            ReportWarning("Unable to load texture '%s'!", name);
        return Inv::Reference<Texture>();
    }
    pTexture->SetName(inventoryName.c_str());
    Inv::Reference<Texture> textureRef = pWarehouse->Add(pTexture.get());
    if (textureRef.IsValid())
        pTexture.release();
    return textureRef;
}
