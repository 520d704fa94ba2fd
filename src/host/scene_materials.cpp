#include "host/scene_materials.h"

namespace scene
{
using namespace host;

uint32 SceneUVGen::Requirements(int subMtlNum)
{
    return m_coordMapping == UVMAP_EXPLICIT ? MTLREQ_UV : MTLREQ_VIEW_DEP;
}

void SceneUVGen::GetUVTransform(Matrix3& uvtrans)
{
    uvtrans = TransMatrix(Point3(-0.5f, -0.5f, 0.0f)) *
              ScaleMatrix(Point3(m_uTiling.At(0), m_vTiling.At(0), 1.0f)) * RotateZMatrix(m_angle.At(0)) *
              TransMatrix(Point3(0.5f - m_uOffset.At(0), 0.5f - m_vOffset.At(0), 0.0f));
}

SceneStdMat::SceneStdMat()
{
    // Reflection and refraction are environment slots; all others take texture coordinates.
    m_cMap[ID_RL].slotType = MAPSLOT_ENVIRONMENT;
    m_cMap[ID_RR].slotType = MAPSLOT_ENVIRONMENT;
}

Texmap* SceneStdMat::GetSubTexmap(int i)
{
    if (i < 0 || i >= STD_NUM_MAPS)
        return nullptr;
    return m_cMap[i].pTexmap;
}

int SceneStdMat::MapSlotType(int i)
{
    if (i < 0 || i >= STD_NUM_MAPS)
        return MAPSLOT_TEXTURE;
    return m_cMap[i].slotType;
}

uint32 SceneStdMat::Requirements(int subMtlNum)
{
    return (m_twoSided ? MTLREQ_2SIDE : 0) | (m_faceMap ? MTLREQ_FACEMAP : 0);
}

int SceneStdMat::MapEnabled(int id)
{
    if (id < 0 || id >= STD_NUM_MAPS)
        return 0;
    return m_cMap[id].enabled ? 1 : 0;
}

float SceneStdMat::GetTexmapAmt(int id, TimeValue t)
{
    if (id < 0 || id >= STD_NUM_MAPS)
        return 0.0f;
    return m_cMap[id].amount.At(t);
}

uint32 SceneMtl::Requirements(int subMtlNum)
{
    // The reader refuses materials that contain themselves, so this ends.
    if (subMtlNum >= 0)
    {
        Mtl* pSub = GetSubMtl(subMtlNum);
        return pSub ? pSub->Requirements(-1) : 0;
    }
    uint32 all = 0;
    for (Mtl* pSub : m_cSub)
        if (pSub)
            all |= pSub->Requirements(-1);
    return all;
}

Mtl* SceneMtl::GetSubMtl(int i)
{
    if (i < 0 || size_t(i) >= m_cSub.size())
        return nullptr;
    return m_cSub[i];
}
} // namespace scene
