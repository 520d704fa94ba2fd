// Texture coordinate matrices of materials: a bitmap's own placement, and the one matrix that a
// mesh bakes into its UVs when every texture slot of its material places its map the same way.
// The matrices are fr::Matrix44 as ShaderImp::SetTransform takes them: row vectors, row 3 the
// translation, so a UV (u, v, w) becomes (u, v, w, 1) * M.
#pragma once

#include "host/material.h"
#include "host/point3.h"
#include "render/matrix.h"

// The material map ids that feed the shader's channels, in channel order: diffuse, specular colour,
// reflection, self-illumination, opacity, specular level.
inline constexpr int ShaderSlotMapId[6] = {host::ID_DI, host::ID_SP, host::ID_RL,
                                           host::ID_SI, host::ID_OP, host::ID_SS};

// The material as a Standard material; null for a null material and for every other class.
host::StdMat* GetStdMtl(host::Mtl* pMtl);
// The map as a bitmap texture; null for a null map and for every other class.
host::BitmapTex* GetBitmapTex(host::Texmap* pTexmap);

// The bitmap's UV transform widened to 4 by 4, scaled by (2, 2, 1) when both mirror bits are set.
// False, with `out` untouched, for anything but a bitmap texture.
bool GetTextureUVMatrix(host::Texmap* pTexmap, fr::Matrix44& out);

// The matrix that the mesh bakes into its UVs: that of the first bitmap in the material's
// texture slots, or the identity when a later one differs, when there is none, or for a material
// that is not a Standard material (or null).
void GetMaterialUVMatrix(fr::Matrix44& out, host::Mtl* pMtl);

// True when every bitmap in the material's enabled texture slots has the same matrix (and when
// there is at most one).
bool HasSharedUVMatrix(host::Mtl* pMtl);

// p as a 3-vector plus translation through m: (p.x, p.y, p.z, 1) * m, the fourth column ignored.
inline host::Point3 TransformUV(const fr::Matrix44& m, const host::Point3& p)
{
    return {p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0],
            p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1],
            p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2]};
}
