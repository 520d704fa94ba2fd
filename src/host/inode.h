// A node of the host scene: its place in the tree, names and flags, user properties, transforms
// and visibility over time, the object it carries, its material, and its target.
#pragma once

#include "host/object.h"

namespace host
{

class Mtl;

class INode
{
public:
    virtual ~INode() = default;

    virtual const char* GetName() = 0;
    virtual INode* GetParentNode() = 0;
    virtual int NumberOfChildren() = 0;
    virtual INode* GetChildNode(int i) = 0;
    virtual int IsRootNode() = 0;
    virtual int Renderable() = 0;
    virtual int GetBoneNodeOnOff() = 0;

    // The object at the top of the pipeline at `time`.
    virtual ObjectState EvalWorldState(TimeValue time, int evalHidden = 1) = 0;
    // The object at the bottom of the pipeline: a derived object when modifiers are applied.
    virtual Object* GetObjectRef() = 0;
    virtual Control* GetTMController() = 0;

    // World transform of the node.
    virtual Matrix3 GetNodeTM(TimeValue time, Interval* valid = nullptr) = 0;
    // World transform of the object: the object offset, then the node's transform.
    virtual Matrix3 GetObjectTM(TimeValue time, Interval* valid = nullptr) = 0;
    virtual Matrix3 GetObjTMAfterWSM(TimeValue time, Interval* valid = nullptr) = 0;

    // User properties: "key = value" lines; keys compare without regard to case.
    virtual int UserPropExists(const char* key) = 0;
    // False and an empty value when the key is not there.
    virtual int GetUserPropString(const char* key, CStr& value) = 0;

    virtual Mtl* GetMtl() = 0;
    // 0x00BBGGRR.
    virtual uint32 GetWireColor() = 0;

    // The look-at target, or null.
    virtual INode* GetTarget() = 0;
    // The target's world transform into m; 0 when there is no target.
    virtual int GetTargetTM(TimeValue time, Matrix3& m) = 0;
    virtual float GetVisibility(TimeValue time, Interval* valid = nullptr) = 0;
};
} // namespace host
