// Materials of the import host: each material of the file becomes a Standard material with its
// diffuse, specular, opacity and self-illumination, and its bitmap maps in the matching slots.
#include "importhost/importer.h"

#include <assimp/material.h>

#include <filesystem>

namespace importhost
{
namespace
{
struct Slot
{
    aiTextureType type;
    aiTextureType orType;
    const char* name;
};

// The glTF base colour is the diffuse map to the host.
const Slot s_slots[] = {
    {aiTextureType_DIFFUSE, aiTextureType_BASE_COLOR, "diffuse"},
    {aiTextureType_SPECULAR, aiTextureType_SPECULAR, "specular"},
    {aiTextureType_OPACITY, aiTextureType_OPACITY, "opacity"},
    {aiTextureType_EMISSIVE, aiTextureType_EMISSION_COLOR, "selfIllumination"},
};

const char* TilingMode(aiTextureMapMode mode)
{
    switch (mode)
    {
    case aiTextureMapMode_Mirror:
        return "mirror";
    case aiTextureMapMode_Clamp:
    case aiTextureMapMode_Decal:
        return "none";
    default:
        return "wrap";
    }
}
} // namespace

// The bitmap's name as the document holds it: relative to the document's folder where it can be.
std::string Importer::BitmapName(const std::string& fileText) const
{
    std::string text = fileText;
    std::replace(text.begin(), text.end(), '\\', '/');
    std::filesystem::path path(text);
    if (path.is_relative())
        path = std::filesystem::path(m_fileFolder) / path;
    path = path.lexically_normal();
    const std::filesystem::path relative = path.lexically_relative(m_documentFolder);
    return relative.empty() ? path.string() : relative.string();
}

void Importer::EmitMaterials()
{
    for (unsigned m = 0; m < m_scene.mNumMaterials; ++m)
    {
        const aiMaterial& material = *m_scene.mMaterials[m];
        aiString name;
        material.Get(AI_MATKEY_NAME, name);
        // The exporter names a shader after its material: an unnamed one (glTF allows it, and the
        // import library's default material is one) takes its place in the file.
        const std::string materialName = name.length > 0 ? name.C_Str() : "Material " + std::to_string(m);
        const std::string where = "material '" + materialName + "'";
        json jMaterial = {{"name", materialName}, {"class", "standard"}};
        auto color = [&](const char* key, unsigned type, unsigned index, const char* to)
        {
            aiColor3D c;
            if (material.Get(key, type, index, c) == AI_SUCCESS)
                jMaterial[to] = json::array(
                    {CheckedNumber(c.r, where), CheckedNumber(c.g, where), CheckedNumber(c.b, where)});
        };
        color(AI_MATKEY_COLOR_DIFFUSE, "diffuse");
        color(AI_MATKEY_COLOR_SPECULAR, "specular");
        aiColor3D emissive;
        if (material.Get(AI_MATKEY_COLOR_EMISSIVE, emissive) == AI_SUCCESS && !emissive.IsBlack())
        {
            jMaterial["selfIllumColorOn"] = true;
            color(AI_MATKEY_COLOR_EMISSIVE, "selfIllumColor");
        }
        float opacity = 1.0f;
        if (material.Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS && opacity != 1.0f)
            jMaterial["opacity"] = CheckedNumber(opacity, where);
        int twoSided = 0;
        if (material.Get(AI_MATKEY_TWOSIDED, twoSided) == AI_SUCCESS && twoSided != 0)
            jMaterial["twoSided"] = true;

        json maps = json::object();
        for (const Slot& slot : s_slots)
        {
            aiTextureType type = slot.type;
            if (material.GetTextureCount(type) == 0)
                type = slot.orType;
            if (material.GetTextureCount(type) == 0)
                continue;
            aiString file;
            unsigned uvIndex = 0;
            aiTextureMapMode mode[2] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
            if (material.GetTexture(type, 0, &file, nullptr, &uvIndex, nullptr, nullptr, mode) != AI_SUCCESS)
                continue;
            const std::string text = file.C_Str();
            if (text.empty())
                continue;
            if (text[0] == '*' || m_scene.GetEmbeddedTexture(file.C_Str()) != nullptr)
            {
                Warn(where + ": the " + slot.name +
                     " map is an image inside the file; the exporter takes "
                     "bitmaps from files only, so the map is left out");
                continue;
            }
            if (uvIndex != 0)
                Warn(where + ": the " + slot.name + " map uses texture coordinate set " +
                     std::to_string(uvIndex) + "; the first set is taken");
            const std::string bitmap = BitmapName(text);
            const std::string key = bitmap + "|" + TilingMode(mode[0]) + "|" + TilingMode(mode[1]);
            auto [found, added] = m_cTextureIndex.emplace(key, m_cTexture.size());
            if (added)
                m_cTexture.push_back(
                    {{"name", std::filesystem::path(bitmap).stem().string()},
                     {"class", "bitmap"},
                     {"file", bitmap},
                     {"uvGen", {{"uMode", TilingMode(mode[0])}, {"vMode", TilingMode(mode[1])}}}});
            maps[slot.name] = {{"texmap", found->second}};
        }
        if (!maps.empty())
            jMaterial["maps"] = std::move(maps);
        m_cMaterial.push_back(std::move(jMaterial));
    }
}
} // namespace importhost
