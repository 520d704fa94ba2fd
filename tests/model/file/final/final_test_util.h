// What the final model file tests share: the loaders of both forms registered for one test, disk
// folders under "DATA" and "GENERIC", the texture settings that keep every level as it is, and
// the generic bytes of a model, which tell its whole content.
#pragma once

#include "model/file/final/meshloadfinal.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodeltypeinfo.h"

#include <algorithm>
#include <string>
#include <vector>

namespace final_test
{
using namespace generic_test;

// The generic and the final readers registered, the final path chosen, and textures written and
// read without loss; everything put back at the end.
class FinalLoaders
{
public:
    FinalLoaders()
        : m_shaderReader(ShaderTypeInfo::GetShaderReader()), m_path(RenderModelTypeInfo::GetLoadPath()),
          m_useDXTC(TextureLoadFinal::GetUseDXTC()), m_mipsToSkip(TextureLoadFinal::GetMipsToSkip()),
          m_writeAllMips(TextureLoadFinal::GetWriteAllMips()), m_detail(TextureLoadFinal::GetDetail())
    {
        RenderModelLoadFinal::Register();
        RenderModelTypeInfo::SetLoadPath(RenderModelTypeInfo::Path_Final);
        TextureLoadFinal::SetUseDXTC(0);
        TextureLoadFinal::SetMipsToSkip(0);
        TextureLoadFinal::SetWriteAllMips(true);
        TextureLoadFinal::SetDetail(3);
    }
    ~FinalLoaders()
    {
        TextureLoadFinal::SetUseDXTC(m_useDXTC);
        TextureLoadFinal::SetMipsToSkip(m_mipsToSkip);
        TextureLoadFinal::SetWriteAllMips(m_writeAllMips);
        TextureLoadFinal::SetDetail(m_detail);
        RenderModelTypeInfo::SetLoadPath(m_path);
        RenderModelTypeInfo::SetFinalLoader(nullptr);
        ShaderTypeInfo::SetShaderReader(m_shaderReader);
    }
    FinalLoaders(const FinalLoaders&) = delete;
    FinalLoaders& operator=(const FinalLoaders&) = delete;

private:
    RegisteredLoaders m_generic;
    ShaderTypeInfo::ShaderReader m_shaderReader;
    RenderModelTypeInfo::LoadPath m_path;
    int m_useDXTC;
    int m_mipsToSkip;
    bool m_writeAllMips;
    int m_detail;
};

struct FinalEnv
{
    FinalLoaders loaders;
    model_test::Env env;
    MountedFolder data{"DATA"};
    MountedFolder generic{"GENERIC"};
};

// A shadow manager for the reader to find; it is never asked to draw.
class ScopedShadowManager : public ra::ShadowManager
{
public:
    ScopedShadowManager() { MeshLoadFinal::SetShadowManager(this); }
    ~ScopedShadowManager() override { MeshLoadFinal::SetShadowManager(nullptr); }
    void AddMesh(const ra::Mesh&, const fr::Matrix44&, const ra::MatrixPalette*) override {}
};

// The model as the generic writer writes it, ".sgm" and ".ebp" one after the other: what two
// models hold alike gives the same bytes.
inline std::string GenericBytes(const RenderModel& model)
{
    return WriteChunks([&](Chunky& c, ByteStreamAdapter& a) { RenderModelLoadGeneric::Save(c, a, model); }) +
           WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                       { RenderModelLoadGeneric::SaveEbp(c, a, model); });
}

// Byte strings compared by their first difference, so that a failure says where, not everything.
inline ::testing::AssertionResult SameBytes(const std::string& a, const std::string& b)
{
    const size_t i = size_t(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
    if (a == b)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "sizes " << a.size() << " and " << b.size() << ", first difference at " << i;
}

// Every level of a texture of the inventory, so that a read gives back the same levels.
inline void GiveFullMipChain(const char* name, uint32 side)
{
    Inv::Resource* pResource = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Find(&pResource, name, Texture::GetTypeInfo()));
    Inv::Reference<Texture> ref(pResource);
    uint32 levels = 1;
    while ((side >> levels) != 0)
        ++levels;
    ref.Get()->SetTexture(model_test::PatternedTexture(side, side, levels, fr::PF_A8R8G8B8));
}

// The walker of the generic tests with textures of every level.
inline std::unique_ptr<RenderModel> BuildFinalWalker(const WalkerOptions& options = WalkerOptions())
{
    std::unique_ptr<RenderModel> pModel = BuildWalker(options);
    GiveFullMipChain("art/textures/walker_skin", 8);
    GiveFullMipChain("art/textures/walker_glow", 4);
    return pModel;
}

} // namespace final_test
