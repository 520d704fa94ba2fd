// The objects a node carries: the object at the bottom of its pipeline (GetObjectRef), the derived
// objects that hold its modifier stacks, and what the pipeline evaluates to (ObjectState::obj):
// geometry that gives a render mesh, cameras, helpers, lights, XRef objects.
#pragma once

#include "host/animatable.h"
#include "host/mesh.h"

namespace host
{

class INode;

class Object : public Animatable
{
};

// What a node evaluates to at a time; obj is null when the pipeline gives nothing.
struct ObjectState
{
    Object* obj = nullptr;
};

class GeomObject : public Object
{
public:
    // A triangle mesh of the object at t for the view, or null. When needDelete comes back set,
    // the caller frees the mesh with Mesh::DeleteThis.
    virtual Mesh* GetRenderMesh(TimeValue t, INode* inode, View& view, int& needDelete) = 0;
};

// Clip distance selectors of CameraObject::GetClipDist.
constexpr int CAM_HITHER_CLIP = 1;
constexpr int CAM_YON_CLIP = 2;

class CameraObject : public Object
{
public:
    // Brings the target distance up to date with the node's target, when it has one.
    virtual void UpdateTargDistance(TimeValue t, INode* inode) = 0;
    virtual float GetTDist(TimeValue t, Interval* valid = nullptr) = 0;
    // Field of view in radians.
    virtual float GetFOV(TimeValue t, Interval* valid = nullptr) = 0;
    virtual int GetManualClip() = 0;
    virtual float GetClipDist(TimeValue t, int which, Interval* valid = nullptr) = 0;
};

// An object referenced from another scene file.
class IXRefObject : public Object
{
public:
    virtual CStr GetFileName(bool proxy = false) = 0;
};

// Interface id of ISkin on the Skin modifier.
constexpr uint32 I_SKIN = 0x10000;

class Modifier : public Animatable
{
public:
    // The interface of that id, or null when the modifier has none.
    virtual void* GetInterface(uint32 id) = 0;
    virtual void ReleaseInterface(uint32 id, void* pInterface) = 0;
};

// One step of a node's pipeline: modifiers, top first, over the object GetObjRef gives.
class IDerivedObject : public Object
{
public:
    virtual int NumModifiers() = 0;
    virtual Modifier* GetModifier(int i) = 0;
    virtual Object* GetObjRef() = 0;
};

// What the Skin modifier knows for one node: per point, the bones and weights assigned to it.
class ISkinContextData
{
public:
    virtual ~ISkinContextData() = default;
    virtual int GetNumPoints() = 0;
    virtual int GetNumAssignedBones(int vertex) = 0;
    // An index into the skin's bone list (ISkin::GetBone).
    virtual int GetAssignedBone(int vertex, int k) = 0;
    virtual float GetBoneWeight(int vertex, int k) = 0;
};

class ISkin
{
public:
    virtual ~ISkin() = default;
    virtual int GetNumBones() = 0;
    virtual INode* GetBone(int i) = 0;
    // The bone's transform when the skin was set up; nonzero when the bone belongs to the skin.
    virtual int GetBoneInitTM(INode* pBone, Matrix3& tm, bool isObjectTM = false) = 0;
    // The weights of this node, or null when the skin has none for it.
    virtual ISkinContextData* GetContextInterface(INode* pNode) = 0;
};
} // namespace host
