// The materials and maps of a scene file behind the host interface: the Standard material, the
// Multi/Sub-Object material (and any other class, which only names itself and its sub-materials),
// bitmap textures with their UV generator, and maps of other classes.
#pragma once

#include "host/material.h"
#include "host/scene_animated.h"
#include "host/scene_objects.h"

#include <string>
#include <vector>

namespace scene
{
// Placement of a bitmap. The UV transform, taken at time 0, is
// TransMatrix(-0.5, -0.5, 0) * ScaleMatrix(uTiling, vTiling, 1) * RotateZMatrix(angle)
//     * TransMatrix(0.5 - uOffset, 0.5 - vOffset, 0):
// tiling and rotation about the map's centre, then the offset, which moves the image along +u, +v.
class SceneUVGen final : public host::StdUVGen
{
public:
    host::Class_ID ClassID() override { return host::STDUVGEN_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::UVGEN_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "StandardUVGen"; }
    host::Texmap* GetSubTexmap(int i) override { return nullptr; }
    int MapSlotType(int i) override { return host::MAPSLOT_TEXTURE; }
    const char* GetName() override { return ""; }
    // Explicit mapping needs texture vertices; an environment mapping depends on the view.
    uint32 Requirements(int subMtlNum) override;

    void GetUVTransform(host::Matrix3& uvtrans) override;
    int GetTextureTiling() override { return m_tiling; }
    int GetMapChannel() override { return m_mapChannel; }
    int GetCoordMapping(host::TimeValue t) override { return m_coordMapping; }
    float GetUOffs(host::TimeValue t) override { return m_uOffset.At(t); }
    float GetVOffs(host::TimeValue t) override { return m_vOffset.At(t); }
    float GetUScl(host::TimeValue t) override { return m_uTiling.At(t); }
    float GetVScl(host::TimeValue t) override { return m_vTiling.At(t); }

    int m_coordMapping = host::UVMAP_EXPLICIT;
    int m_mapChannel = 1;
    int m_tiling = host::U_WRAP | host::V_WRAP;
    Animated<float> m_uOffset = 0.0f;
    Animated<float> m_vOffset = 0.0f;
    Animated<float> m_uTiling = 1.0f;
    Animated<float> m_vTiling = 1.0f;
    Animated<float> m_angle = 0.0f;
};

class SceneBitmapTex final : public host::BitmapTex
{
public:
    host::Class_ID ClassID() override { return host::BMTEX_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::TEXMAP_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "Bitmap"; }
    host::Texmap* GetSubTexmap(int i) override { return nullptr; }
    int MapSlotType(int i) override { return host::MAPSLOT_TEXTURE; }
    const char* GetName() override { return m_name.c_str(); }
    uint32 Requirements(int subMtlNum) override { return m_pUVGen ? m_pUVGen->Requirements(0) : 0; }
    const char* GetMapName() override { return m_fileName.c_str(); }
    host::StdUVGen* GetUVGen() override { return m_pUVGen.get(); }
    int GetFilterType() override { return m_filter; }

    std::string m_name;
    std::string m_fileName;
    int m_filter = host::FILTER_PYR;
    std::unique_ptr<SceneUVGen> m_pUVGen;
};

// A map of a class the exporter does not read.
class SceneTexmap final : public host::Texmap
{
public:
    explicit SceneTexmap(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }
    host::Texmap* GetSubTexmap(int i) override { return nullptr; }
    int MapSlotType(int i) override { return host::MAPSLOT_TEXTURE; }
    const char* GetName() override { return m_name.c_str(); }
    uint32 Requirements(int subMtlNum) override { return 0; }

    std::string m_name;

private:
    ClassInfo m_info;
};

// One map slot of a Standard material.
struct SceneMapSlot
{
    bool enabled = false;
    Animated<float> amount = 1.0f;
    int slotType = host::MAPSLOT_TEXTURE;
    host::Texmap* pTexmap = nullptr; // not owned
};

class SceneStdMat final : public host::StdMat
{
public:
    SceneStdMat();
    host::Class_ID ClassID() override { return host::DMTL_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::MATERIAL_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "Standard"; }
    host::Texmap* GetSubTexmap(int i) override;
    int MapSlotType(int i) override;
    const char* GetName() override { return m_name.c_str(); }
    uint32 Requirements(int subMtlNum) override;
    int NumSubMtls() override { return 0; }
    host::Mtl* GetSubMtl(int i) override { return nullptr; }
    int GetSelfIllumColorOn(int mtlNum = 0, int backFace = 0) override { return m_selfIllumColorOn ? 1 : 0; }

    int GetShading() override { return m_shading; }
    int MapEnabled(int id) override;
    int GetTwoSided() override { return m_twoSided ? 1 : 0; }
    int GetTransparencyType() override { return m_transparencyType; }
    host::Color GetDiffuse(host::TimeValue t) override { return m_diffuse.At(t); }
    host::Color GetSpecular(host::TimeValue t) override { return m_specular.At(t); }
    float GetShininess(host::TimeValue t) override { return m_glossiness.At(t); }
    float GetShinStr(host::TimeValue t) override { return m_specularLevel.At(t); }
    float GetSelfIllum(host::TimeValue t) override { return m_selfIllum.At(t); }
    host::Color GetSelfIllumColor(host::TimeValue t) override { return m_selfIllumColor.At(t); }
    float GetOpacity(host::TimeValue t) override { return m_opacity.At(t); }
    float GetTexmapAmt(int id, host::TimeValue t) override;

    std::string m_name;
    int m_shading = 1;
    bool m_twoSided = false;
    bool m_faceMap = false;
    int m_transparencyType = host::TRANSP_FILTER;
    bool m_selfIllumColorOn = false;
    Animated<host::Color> m_diffuse = host::Color{0.5f, 0.5f, 0.5f};
    Animated<host::Color> m_specular = host::Color{0.9f, 0.9f, 0.9f};
    Animated<float> m_glossiness = 0.1f;
    Animated<float> m_specularLevel = 0.0f;
    Animated<float> m_selfIllum = 0.0f;
    Animated<host::Color> m_selfIllumColor = host::Color{0, 0, 0};
    Animated<float> m_opacity = 1.0f;
    SceneMapSlot m_cMap[host::STD_NUM_MAPS];
};

// The Multi/Sub-Object material, or a material of another class with the sub-materials the file
// gives it.
class SceneMtl final : public host::Mtl
{
public:
    explicit SceneMtl(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }
    host::Texmap* GetSubTexmap(int i) override { return nullptr; }
    int MapSlotType(int i) override { return host::MAPSLOT_TEXTURE; }
    const char* GetName() override { return m_name.c_str(); }
    // -1 joins the requirements of all sub-materials; otherwise those of sub-material i.
    uint32 Requirements(int subMtlNum) override;
    int NumSubMtls() override { return int(m_cSub.size()); }
    host::Mtl* GetSubMtl(int i) override;
    int GetSelfIllumColorOn(int mtlNum = 0, int backFace = 0) override { return 0; }

    std::string m_name;
    std::vector<host::Mtl*> m_cSub; // not owned; null entries are empty slots

private:
    ClassInfo m_info;
};
} // namespace scene
