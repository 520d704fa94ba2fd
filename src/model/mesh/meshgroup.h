// ra::MeshGroup: the ordered meshes of a model with their rigid bone links or skin transforms,
// the shaders they use, and the bound volume of them all. Display places each mesh by the pose.
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "model/mesh/mesh.h"
#include "model/mesh/meshref.h"
#include "render/matrix.h"

#include <array>
#include <vector>

class AnimPose;
class Skeleton;

namespace ra
{
// A shader of the group. Only local shaders (reached through a mesh held in this model) are
// written to a model file; a cross-referenced mesh's shaders stay with the model that supplies it.
struct ShaderEntry
{
    Inv::Reference<Shader> shader;
    bool local = false;
};

// The skinning matrices of one draw. Positions 0 and 1 are the render layer's; a skinned mesh's
// slot n goes to position n + 2.
class MatrixPalette
{
public:
    static constexpr uint32 Reserved = 2;
    static constexpr uint32 Size = 256 + Reserved;

    MatrixPalette();
    // An assertion and no change for a position out of range.
    void Load(uint32 position, const fr::Matrix44& matrix);
    const fr::Matrix44& Get(uint32 position) const;

private:
    std::array<fr::Matrix44, Size> m_cEntry;
};

// Told about each mesh just before it is drawn, so that it can cast a shadow: the world matrix
// in force, and the palette for a skinned mesh (null for a rigid one).
class ShadowManager
{
public:
    virtual ~ShadowManager() = default;
    virtual void AddMesh(const Mesh& mesh, const fr::Matrix44& world, const MatrixPalette* pPalette) = 0;
};

// A 3x4 matrix as the render layer's 4x4, with the column 0, 0, 0, 1.
fr::Matrix44 Expand(const Matrix34& m);
// a applied first, then b.
fr::Matrix44 Multiply(const fr::Matrix44& a, const fr::Matrix44& b);

class MeshGroup
{
public:
    static constexpr int32 InvalidIndex = -1;

    MeshGroup() = default;
    MeshGroup(const MeshGroup&) = delete;
    MeshGroup& operator=(const MeshGroup&) = delete;

    // Not owned: the model's skeleton, set by the loader before skin transforms are resolved.
    void SetSkeleton(const Skeleton* pSkeleton) { m_pSkeleton = pSkeleton; }
    const Skeleton* GetSkeleton() const { return m_pSkeleton; }

    void SetMeshCount(int32 n);
    int32 GetMeshCount() const { return int32(m_cMeshes.size()); }
    // Stores the reference and takes in the mesh: its polygon counts, its shaders (local when
    // the reference has no cross-reference name) and whether it is skinned. Each slot is meant
    // to be set once.
    void SetMesh(int32 index, const MeshRef& meshRef);
    // The whole reference; bad indices are assertions and give an empty one.
    const MeshRef& GetMeshRef(int32 index) const;
    // The mesh, or null.
    Mesh* GetMesh(int32 index) const;
    void SetMeshName(int32 index, Name name);
    Name GetMeshName(int32 index) const;
    // By instance name; InvalidIndex when absent.
    int32 FindMesh(Name name) const;
    void SetMeshXRefName(int32 index, Name xrefName);
    Name GetMeshXRefName(int32 index) const;
    void SetMeshBone(int32 meshIndex, int32 boneIndex);
    int32 GetMeshBone(int32 meshIndex) const;

    // The (slot, bone index) pairs of a skinned mesh.
    void SetSkinnedTransformCount(int32 meshIndex, int32 n);
    int32 GetSkinnedTransformCount(int32 meshIndex) const;
    void SetSkinnedTransform(int32 meshIndex, int32 index, int32 slot, int32 boneIndex);
    // False, with out values untouched, for bad indices.
    bool GetSkinnedTransform(int32 meshIndex, int32 index, int32& slot, int32& boneIndex) const;
    // Looks every skinned transform of every mesh up in the skeleton by name and stores (slot,
    // bone index). A missing bone logs "Mesh '%s' requires bone '%s' for skinning, but it is
    // missing!" and takes bone 0; the result is then false. Without a skeleton every bone is
    // missing.
    bool ResolveSkinnedTransforms();
    bool HasSkinnedMeshes() const { return m_hasSkinned; }

    // Sums over the meshes added.
    int32 GetPolyCount(uint32 level) const;

    // Adds a shader once; a shader already present becomes local if `local` is set.
    void AddShader(const Inv::Reference<Shader>& shaderRef, bool local);
    int32 GetShaderCount() const { return int32(m_cShaders.size()); }
    // By the shader's name; InvalidIndex when absent.
    int32 FindShader(Name name) const;
    // A null reference for a bad index.
    const Inv::Reference<Shader>& GetShader(int32 shaderIndex) const;
    bool IsShaderLocal(int32 shaderIndex) const;

    void SetBV(const BoundVolume& bv) { m_bv = bv; }
    const BoundVolume& GetBV() const { return m_bv; }

    // Draws the meshes that the pose shows, at `polyLevel`. A rigid mesh without a bone draws
    // under the world matrix on top of `worldStack`; one that follows a bone draws under its
    // bone's inverse reference matrix times the posed bone matrix, pushed onto the stack for the
    // draw; a skinned mesh has that product of each of its bones loaded into `palette` at its
    // slot plus 2. The shadow manager, when given, sees each mesh first; `skipDraw` leaves the
    // draws out. Returns the number of primitive sets drawn.
    uint32 Display(const AnimPose& pose, uint32 polyLevel, fr::MatrixStack& worldStack,
                   MatrixPalette& palette, ShadowManager* pShadowManager, bool skipDraw) const;

private:
    // The matrix that moves a mesh stored in the reference pose's model space along with the
    // posed bone: the bone's inverse world matrix times the pose's matrix of the bone.
    bool GetSkinMatrix(const AnimPose& pose, int32 boneIndex, fr::Matrix44& out) const;

    const Skeleton* m_pSkeleton = nullptr;
    bool m_hasSkinned = false;
    int32 m_polyCount[Mesh::Poly_Count] = {0, 0};
    std::vector<MeshRef> m_cMeshes;
    std::vector<ShaderEntry> m_cShaders;
    BoundVolume m_bv;
};
} // namespace ra
