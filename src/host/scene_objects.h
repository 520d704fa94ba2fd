// The objects of a scene file behind the host interface: nodes, the objects they carry (geometry,
// cameras, helpers, lights, XRef objects, derived objects with their modifiers) and the Skin
// modifier with the weights of its node. The reader fills the public fields; the scene owns all.
#pragma once

#include "host/inode.h"
#include "host/material.h"
#include "host/scene_animated.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace scene
{
// The name, class and family of an object, modifier or controller.
struct ClassInfo
{
    host::Class_ID classId;
    host::SClass_ID superClassId = 0;
    std::string className;
};

class SceneControl final : public host::Control
{
public:
    explicit SceneControl(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }

private:
    ClassInfo m_info;
};

// Helpers, lights, targets and objects of any class the exporter does not look into.
class SceneObject final : public host::Object
{
public:
    explicit SceneObject(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }

private:
    ClassInfo m_info;
};

// Geometry; it gives a render mesh when the file states one.
class SceneGeomObject final : public host::GeomObject
{
public:
    explicit SceneGeomObject(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }
    // The object's own mesh, which the caller does not free; null without a mesh.
    host::Mesh* GetRenderMesh(host::TimeValue t, host::INode* inode, host::View& view,
                              int& needDelete) override;

    std::optional<host::Mesh> m_mesh;

private:
    ClassInfo m_info;
};

class SceneCamera final : public host::CameraObject
{
public:
    explicit SceneCamera(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }

    // For a node with a target: the distance between the node and its target at t, which
    // GetTDist answers from then on.
    void UpdateTargDistance(host::TimeValue t, host::INode* inode) override;
    float GetTDist(host::TimeValue t, host::Interval* valid = nullptr) override;
    float GetFOV(host::TimeValue t, host::Interval* valid = nullptr) override { return m_fov.At(t); }
    int GetManualClip() override { return m_manualClip ? 1 : 0; }
    float GetClipDist(host::TimeValue t, int which, host::Interval* valid = nullptr) override;

    Animated<float> m_fov = 0.7853982f;
    Animated<float> m_targetDistance = 100.0f;
    Animated<float> m_nearClip = 1.0f;
    Animated<float> m_farClip = 1000.0f;
    bool m_manualClip = false;

private:
    ClassInfo m_info;
    std::optional<float> m_updatedDistance;
};

class SceneXRef final : public host::IXRefObject
{
public:
    explicit SceneXRef(std::string fileName) : m_fileName(std::move(fileName)) {}
    host::Class_ID ClassID() override { return host::XREFOBJ_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::SYSTEM_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "XRef Object"; }
    host::CStr GetFileName(bool proxy = false) override { return m_fileName; }

private:
    std::string m_fileName;
};

// A modifier the exporter only classifies.
class SceneModifier final : public host::Modifier
{
public:
    explicit SceneModifier(ClassInfo info) : m_info(std::move(info)) {}
    host::Class_ID ClassID() override { return m_info.classId; }
    host::SClass_ID SuperClassID() override { return m_info.superClassId; }
    void GetClassName(host::CStr& s) override { s = m_info.className; }
    void* GetInterface(uint32 id) override { return nullptr; }
    void ReleaseInterface(uint32 id, void* pInterface) override {}

private:
    ClassInfo m_info;
};

// One point's assignments: skin bone index and weight, in the order the file gives them.
struct SkinAssignment
{
    int bone = 0;
    float weight = 0;
};

class SceneSkinContext final : public host::ISkinContextData
{
public:
    int GetNumPoints() override { return int(m_cPoint.size()); }
    int GetNumAssignedBones(int vertex) override;
    int GetAssignedBone(int vertex, int k) override;
    float GetBoneWeight(int vertex, int k) override;

    std::vector<std::vector<SkinAssignment>> m_cPoint;
};

// The Skin modifier of one node. Without "installed" it gives no ISkin, as on a machine that
// lacks the plug-in.
class SceneSkin final : public host::Modifier, public host::ISkin
{
public:
    host::Class_ID ClassID() override { return host::SKIN_CLASSID; }
    host::SClass_ID SuperClassID() override { return host::OSM_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "Skin"; }
    void* GetInterface(uint32 id) override;
    void ReleaseInterface(uint32 id, void* pInterface) override {}

    int GetNumBones() override { return int(m_cBone.size()); }
    host::INode* GetBone(int i) override;
    int GetBoneInitTM(host::INode* pBone, host::Matrix3& tm, bool isObjectTM = false) override;
    host::ISkinContextData* GetContextInterface(host::INode* pNode) override;

    bool m_installed = true;
    std::vector<host::INode*> m_cBone;
    std::vector<host::Matrix3> m_cBoneInitTM;
    // The node the weights belong to, and whether the skin has them.
    host::INode* m_pOwner = nullptr;
    std::unique_ptr<SceneSkinContext> m_pContext;
};

class SceneDerivedObject final : public host::IDerivedObject
{
public:
    host::Class_ID ClassID() override { return host::DERIVOB_CLASS_ID; }
    host::SClass_ID SuperClassID() override { return host::GEN_DERIVOB_CLASS_ID; }
    void GetClassName(host::CStr& s) override { s = "Derived Object"; }
    int NumModifiers() override { return int(m_cModifier.size()); }
    host::Modifier* GetModifier(int i) override;
    host::Object* GetObjRef() override { return m_pObjRef; }

    // Top first. Not owned: the scene owns every modifier.
    std::vector<host::Modifier*> m_cModifier;
    host::Object* m_pObjRef = nullptr;
};

class SceneNode final : public host::INode
{
public:
    const char* GetName() override { return m_name.c_str(); }
    host::INode* GetParentNode() override { return m_pParent; }
    int NumberOfChildren() override { return int(m_cChild.size()); }
    host::INode* GetChildNode(int i) override;
    int IsRootNode() override { return m_isRoot ? 1 : 0; }
    int Renderable() override { return m_renderable ? 1 : 0; }
    int GetBoneNodeOnOff() override { return m_bone ? 1 : 0; }
    host::ObjectState EvalWorldState(host::TimeValue time, int evalHidden = 1) override
    {
        return {m_pObject};
    }
    host::Object* GetObjectRef() override { return m_pObjectRef; }
    host::Control* GetTMController() override { return m_pController; }
    host::Matrix3 GetNodeTM(host::TimeValue time, host::Interval* valid = nullptr) override;
    host::Matrix3 GetObjectTM(host::TimeValue time, host::Interval* valid = nullptr) override;
    host::Matrix3 GetObjTMAfterWSM(host::TimeValue time, host::Interval* valid = nullptr) override;
    int UserPropExists(const char* key) override;
    int GetUserPropString(const char* key, host::CStr& value) override;
    host::Mtl* GetMtl() override { return m_pMtl; }
    uint32 GetWireColor() override { return m_wireColor; }
    host::INode* GetTarget() override { return m_pTarget; }
    int GetTargetTM(host::TimeValue time, host::Matrix3& m) override;
    float GetVisibility(host::TimeValue time, host::Interval* valid = nullptr) override
    {
        return m_visibility.At(time);
    }

    // Nothing here is owned: the scene owns nodes, objects and materials.
    std::string m_name;
    SceneNode* m_pParent = nullptr;
    std::vector<SceneNode*> m_cChild;
    bool m_isRoot = false;
    bool m_renderable = true;
    bool m_bone = false;
    std::string m_userProperties;
    Animated<host::Matrix3> m_transform;
    host::Matrix3 m_objectOffset;
    Animated<float> m_visibility = 1.0f;
    host::Object* m_pObject = nullptr;
    host::Object* m_pObjectRef = nullptr;
    host::Control* m_pController = nullptr;
    host::Mtl* m_pMtl = nullptr;
    uint32 m_wireColor = 0;
    SceneNode* m_pTarget = nullptr;
};
} // namespace scene
