#include "exporter/sgmuv.h"

#include "foundation/debug.h"

namespace
{
fr::Matrix44 Widen(const host::Matrix3& m)
{
    fr::Matrix44 out = fr::Matrix44::Identity();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c)
            out.m[r][c] = m.GetRow(r)[c];
    return out;
}

// The matrix of the first bitmap in the enabled texture slots (not the environment ones), and
// whether every later bitmap there has the same one. False for a material without slots.
bool WalkTextureSlots(host::Mtl* pMtl, fr::Matrix44& first, bool& shared)
{
    shared = true;
    host::StdMat* pStdMtl = GetStdMtl(pMtl);
    if (pStdMtl == nullptr)
        return false;
    bool found = false;
    for (int mapId : ShaderSlotMapId)
    {
        if (!pStdMtl->MapEnabled(mapId) || pStdMtl->MapSlotType(mapId) != host::MAPSLOT_TEXTURE)
            continue;
        fr::Matrix44 m;
        if (!GetTextureUVMatrix(pStdMtl->GetSubTexmap(mapId), m))
            continue;
        if (!found)
        {
            first = m;
            found = true;
        }
        else if (!(m == first))
        {
            shared = false;
            return true;
        }
    }
    return found;
}
} // namespace

host::StdMat* GetStdMtl(host::Mtl* pMtl)
{
    if (pMtl == nullptr || !(pMtl->ClassID() == host::DMTL_CLASS_ID))
        return nullptr;
    auto* pStdMtl = dynamic_cast<host::StdMat*>(pMtl);
    dbAssert(pStdMtl != nullptr);
    return pStdMtl;
}

host::BitmapTex* GetBitmapTex(host::Texmap* pTexmap)
{
    if (pTexmap == nullptr || !(pTexmap->ClassID() == host::BMTEX_CLASS_ID))
        return nullptr;
    auto* pBitmap = dynamic_cast<host::BitmapTex*>(pTexmap);
    dbAssert(pBitmap != nullptr);
    return pBitmap;
}

bool GetTextureUVMatrix(host::Texmap* pTexmap, fr::Matrix44& out)
{
    host::BitmapTex* pBitmap = GetBitmapTex(pTexmap);
    if (pBitmap == nullptr)
        return false;
    host::StdUVGen* pUVGen = pBitmap->GetUVGen();
    if (pUVGen == nullptr)
    {
        // A bitmap without a generator has no placement of its own.
        out = fr::Matrix44::Identity();
        return true;
    }
    host::Matrix3 uvTransform;
    pUVGen->GetUVTransform(uvTransform);
    out = Widen(uvTransform);
    // The render layer mirrors every other repeat, so the one mirrored copy inside 0..1 becomes
    // two repeats of the coordinates.
    const int bothMirror = host::U_MIRROR | host::V_MIRROR;
    if ((pUVGen->GetTextureTiling() & bothMirror) == bothMirror)
    {
        for (int r = 0; r < 4; ++r)
        {
            out.m[r][0] *= 2.0f;
            out.m[r][1] *= 2.0f;
        }
    }
    return true;
}

void GetMaterialUVMatrix(fr::Matrix44& out, host::Mtl* pMtl)
{
    fr::Matrix44 first;
    bool shared = true;
    if (WalkTextureSlots(pMtl, first, shared) && shared)
        out = first;
    else
        out = fr::Matrix44::Identity();
}

bool HasSharedUVMatrix(host::Mtl* pMtl)
{
    fr::Matrix44 first;
    bool shared = true;
    WalkTextureSlots(pMtl, first, shared);
    return shared;
}
