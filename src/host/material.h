// Materials and maps as the exporter reads them: the Standard material with its colours, map
// slots and transparency, sub-materials of a Multi/Sub-Object material, bitmap textures and the
// UV generator that places them.
#pragma once

#include "host/animatable.h"
#include "host/matrix3.h"

namespace host
{

class Texmap;

// Material requirement bits of MtlBase::Requirements.
constexpr uint32 MTLREQ_2SIDE = 0x1;
constexpr uint32 MTLREQ_UV = 0x8;
constexpr uint32 MTLREQ_FACEMAP = 0x20;
constexpr uint32 MTLREQ_VIEW_DEP = 0x8000;

// Map slot types of ISubMap::MapSlotType.
constexpr int MAPSLOT_TEXTURE = 0;
constexpr int MAPSLOT_ENVIRONMENT = 1;

// Map ids of the Standard material.
constexpr int ID_AM = 0;  // ambient
constexpr int ID_DI = 1;  // diffuse
constexpr int ID_SP = 2;  // specular colour
constexpr int ID_SH = 3;  // glossiness
constexpr int ID_SS = 4;  // specular level
constexpr int ID_SI = 5;  // self-illumination
constexpr int ID_OP = 6;  // opacity
constexpr int ID_FI = 7;  // filter colour
constexpr int ID_BU = 8;  // bump
constexpr int ID_RL = 9;  // reflection
constexpr int ID_RR = 10; // refraction
constexpr int ID_DP = 11; // displacement
constexpr int STD_NUM_MAPS = 12;

// Transparency types of StdMat::GetTransparencyType.
constexpr int TRANSP_SUBTRACTIVE = 0;
constexpr int TRANSP_ADDITIVE = 1;
constexpr int TRANSP_FILTER = 2;

// Tiling bits of UVGen::GetTextureTiling.
constexpr int U_WRAP = 0x1;
constexpr int V_WRAP = 0x2;
constexpr int U_MIRROR = 0x4;
constexpr int V_MIRROR = 0x8;

// Coordinate mappings of StdUVGen::GetCoordMapping.
constexpr int UVMAP_EXPLICIT = 0;
constexpr int UVMAP_SPHERE_ENV = 1;
constexpr int UVMAP_CYL_ENV = 2;
constexpr int UVMAP_SHRINK_ENV = 3;
constexpr int UVMAP_SCREEN = 4;

// Filter types of BitmapTex::GetFilterType.
constexpr int FILTER_PYR = 0;
constexpr int FILTER_SAT = 1;
constexpr int FILTER_NADA = 2;

// The map slots of a material or map.
class ISubMap
{
public:
    virtual ~ISubMap() = default;
    // The map in slot i, or null.
    virtual Texmap* GetSubTexmap(int i) = 0;
    // MAPSLOT_TEXTURE or MAPSLOT_ENVIRONMENT.
    virtual int MapSlotType(int i) = 0;
};

class MtlBase : public Animatable, public ISubMap
{
public:
    virtual const char* GetName() = 0;
    // MTLREQ_ bits; -1 asks for all sub-materials together.
    virtual uint32 Requirements(int subMtlNum) = 0;
};

class Mtl : public MtlBase
{
public:
    virtual int NumSubMtls() = 0;
    virtual Mtl* GetSubMtl(int i) = 0;
    virtual int GetSelfIllumColorOn(int mtlNum = 0, int backFace = 0) = 0;
};

class StdMat : public Mtl
{
public:
    virtual int GetShading() = 0;
    virtual int MapEnabled(int id) = 0;
    virtual int GetTwoSided() = 0;
    virtual int GetTransparencyType() = 0;
    virtual Color GetDiffuse(TimeValue t) = 0;
    virtual Color GetSpecular(TimeValue t) = 0;
    virtual float GetShininess(TimeValue t) = 0;
    virtual float GetShinStr(TimeValue t) = 0;
    virtual float GetSelfIllum(TimeValue t) = 0;
    virtual Color GetSelfIllumColor(TimeValue t) = 0;
    virtual float GetOpacity(TimeValue t) = 0;
    // The amount of the map in slot id, 0 to 1.
    virtual float GetTexmapAmt(int id, TimeValue t) = 0;
};

class Texmap : public MtlBase
{
};

class UVGen : public MtlBase
{
public:
    // The texture's placement as a matrix on (u, v, w).
    virtual void GetUVTransform(Matrix3& uvtrans) = 0;
    // U_WRAP, V_WRAP, U_MIRROR, V_MIRROR bits.
    virtual int GetTextureTiling() = 0;
    virtual int GetMapChannel() = 0;
};

class StdUVGen : public UVGen
{
public:
    virtual int GetCoordMapping(TimeValue t) = 0;
    virtual float GetUOffs(TimeValue t) = 0;
    virtual float GetVOffs(TimeValue t) = 0;
    virtual float GetUScl(TimeValue t) = 0;
    virtual float GetVScl(TimeValue t) = 0;
};

class BitmapTex : public Texmap
{
public:
    virtual const char* GetMapName() = 0;
    // Null when the map has no generator.
    virtual StdUVGen* GetUVGen() = 0;
    virtual int GetFilterType() = 0;
};
} // namespace host
