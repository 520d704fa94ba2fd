// Building blocks of the model core tests: shaders and meshes put into the inventory, skeletons
// from a table, and matrix comparisons with a float tolerance.
#pragma once

#include "math/matrix.h"
#include "model/mesh/mesh.h"
#include "model/shader/shader_test_env.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "render/device.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace model_test
{
inline ::testing::AssertionResult MatrixNear(const ra::Matrix34& actual, const ra::Matrix34& expected,
                                             float tolerance = 1e-5f)
{
    for (int i = 0; i < 12; ++i)
        if (std::fabs(actual.Data()[i] - expected.Data()[i]) > tolerance)
            return ::testing::AssertionFailure() << "element " << i << " (row " << i / 3 << ") is "
                                                 << actual.Data()[i] << ", expected " << expected.Data()[i];
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult MatrixNear(const fr::Matrix44& actual, const fr::Matrix44& expected,
                                             float tolerance = 1e-5f)
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (std::fabs(actual.m[r][c] - expected.m[r][c]) > tolerance)
                return ::testing::AssertionFailure() << "element [" << r << "][" << c << "] is "
                                                     << actual.m[r][c] << ", expected " << expected.m[r][c];
    return ::testing::AssertionSuccess();
}

// Rows as given: three axes and the translation.
inline ra::Matrix34 Rows(ra::Vec3 r0, ra::Vec3 r1, ra::Vec3 r2, ra::Vec3 t)
{
    ra::Matrix34 m;
    m.r[0] = r0;
    m.r[1] = r1;
    m.r[2] = r2;
    m.r[3] = t;
    return m;
}

inline ra::Matrix34 Translation(float x, float y, float z)
{
    return Rows({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {x, y, z});
}

// A quarter turn about an axis.
inline ra::Quat QuarterTurn(const ra::Vec3& axis)
{
    return ra::QuatFromAxisAngle(axis, 1.5707963267948966f);
}

struct BoneDesc
{
    const char* name;
    int32 parent;
    ra::Vec3 position;
    ra::Quat rotation;
};

// A skeleton of named bones with parents and local transforms, reference pose built.
inline std::unique_ptr<Skeleton> MakeSkeleton(const std::vector<BoneDesc>& cDesc)
{
    auto pSkeleton = std::make_unique<Skeleton>(uint32(cDesc.size()));
    for (size_t i = 0; i < cDesc.size(); ++i)
    {
        Bone* pBone = pSkeleton->GetBone(int32(i));
        pBone->SetName(ra::MakeName(cDesc[i].name));
        pBone->SetPosition(cDesc[i].position);
        pBone->SetRotation(cDesc[i].rotation);
        pSkeleton->SetBoneParent(int32(i), cDesc[i].parent);
    }
    pSkeleton->BuildRefPose();
    return pSkeleton;
}

// A shader in the inventory, its diffuse colour set.
inline Inv::Reference<Shader> AddShader(const char* name, uint32 colour = 0xFFFFFFFF)
{
    auto* pShader = new ShaderImp(name);
    pShader->SetColour(Shader::CN_Diffuse, colour);
    return Inv::Warehouse::Get()->Add(pShader);
}

// A mesh of `vertexCount` positions at Poly_High with one triangle list per shader.
inline std::unique_ptr<ra::Mesh> MakeMesh(const char* name,
                                          const std::vector<Inv::Reference<Shader>>& cShader,
                                          uint32 vertexCount = 3, int32 polyCount = 1)
{
    auto pMesh = std::make_unique<ra::Mesh>(name);
    fr::VertexType type;
    type.set(fr::VC_Position);
    pMesh->SetVertexSet(ra::Mesh::Poly_High, ra::CreateVertexSet(type, vertexCount));
    pMesh->SetPolyCount(ra::Mesh::Poly_High, polyCount);
    pMesh->SetPrimSetCount(int32(cShader.size()));
    for (size_t i = 0; i < cShader.size(); ++i)
    {
        pMesh->SetPrimSetShader(int32(i), cShader[i]);
        std::unique_ptr<fr::PrimSet> pSet = fr::Interface::GetDevice()->CreatePrimSet();
        pSet->Initialise(nullptr, cShader[i]->GetRenderShader(), 0);
        pSet->SetKind(fr::PK_TriangleList);
        pSet->SetIndexCount(3);
        const uint16 indices[3] = {0, 1, 2};
        pSet->WriteIndices(0, 3, indices);
        pMesh->SetPrimSet(int32(i), ra::Mesh::Poly_High, std::move(pSet));
    }
    return pMesh;
}

inline Inv::Reference<ra::Mesh> AddMesh(std::unique_ptr<ra::Mesh> pMesh)
{
    return Inv::Warehouse::Get()->Add(pMesh.release());
}
} // namespace model_test
