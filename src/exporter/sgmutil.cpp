#include "exporter/sgmutil.h"

#include "foundation/debug.h"

namespace
{
// The class of what the node evaluates to at `time`, or false when it gives nothing.
bool EvalClass(host::INode* pNode, host::TimeValue time, host::Class_ID& classId,
               host::SClass_ID* pSuper = nullptr)
{
    host::ObjectState os = pNode->EvalWorldState(time, 1);
    if (os.obj == nullptr)
        return false;
    classId = os.obj->ClassID();
    if (pSuper != nullptr)
        *pSuper = os.obj->SuperClassID();
    return true;
}

// Null nodes and the scene root are never bones, meshes, markers, cameras or lights.
bool IsOrdinaryNode(host::INode* pNode)
{
    return pNode != nullptr && !pNode->IsRootNode();
}

ra::Vec3 ToVec(const host::Point3& p)
{
    return {p.x, p.y, p.z};
}
} // namespace

bool IsBone(host::INode* pNode, host::TimeValue time)
{
    if (!IsOrdinaryNode(pNode))
        return false;
    if (pNode->GetBoneNodeOnOff())
        return true;

    host::Class_ID classId;
    if (EvalClass(pNode, time, classId))
    {
        // Rigs are drawn from plain boxes too; only a box collapsed to a mesh stops being a bone.
        if (classId == host::BONE_OBJ_CLASSID || classId == host::BOXOBJ_CLASS_ID)
            return true;
        // Asked before the controller, so a dummy driven by a Biped stays a helper.
        if (classId == host::DUMMY_CLASS_ID)
            return false;
    }

    host::Control* pControl = pNode->GetTMController();
    if (pControl != nullptr)
    {
        const host::Class_ID controlId = pControl->ClassID();
        if (controlId == host::BIPSLAVE_CONTROL_CLASS_ID || controlId == host::BIPBODY_CONTROL_CLASS_ID)
            return true;
    }
    return false;
}

bool IsMesh(host::INode* pNode, host::TimeValue time)
{
    if (!IsOrdinaryNode(pNode) || !pNode->Renderable())
        return false;
    host::Class_ID classId;
    host::SClass_ID superId = 0;
    if (!EvalClass(pNode, time, classId, &superId))
        return false;
    if (superId == host::GEOMOBJECT_CLASS_ID && classId == host::TRIOBJ_CLASS_ID)
        return true;
    return classId == host::EDITTRIOBJ_CLASS_ID || classId == host::PATCHOBJ_CLASS_ID;
}

bool IsMarker(host::INode* pNode, host::TimeValue time)
{
    host::Class_ID classId;
    return IsOrdinaryNode(pNode) && EvalClass(pNode, time, classId) && classId == host::POINTHELP_CLASS_ID;
}

bool IsCamera(host::INode* pNode, host::TimeValue time)
{
    host::Class_ID classId;
    return IsOrdinaryNode(pNode) && EvalClass(pNode, time, classId) &&
           (classId == host::SIMPLE_CAM_CLASS_ID || classId == host::LOOKAT_CAM_CLASS_ID);
}

bool IsLight(host::INode* pNode, host::TimeValue time)
{
    host::Class_ID classId;
    if (!IsOrdinaryNode(pNode) || !EvalClass(pNode, time, classId))
        return false;
    return classId == host::DIR_LIGHT_CLASS_ID || classId == host::TDIR_LIGHT_CLASS_ID ||
           classId == host::OMNI_LIGHT_CLASS_ID || classId == host::SPOT_LIGHT_CLASS_ID ||
           classId == host::FSPOT_LIGHT_CLASS_ID;
}

bool IsXRef(host::INode* pNode)
{
    if (pNode == nullptr || pNode->UserPropExists("ForceLocal"))
        return false;
    host::Object* pObject = pNode->GetObjectRef();
    return pObject != nullptr && pObject->SuperClassID() == host::SYSTEM_CLASS_ID &&
           pObject->ClassID() == host::XREFOBJ_CLASS_ID;
}

void ConvertMatrix(ra::Matrix34& out, const host::Matrix3& tm)
{
    host::Matrix3 copy = tm;
    copy.NoScale();
    ConvertMatrixKeepScale(out, copy);
}

void ConvertMatrixKeepScale(ra::Matrix34& out, const host::Matrix3& tm)
{
    // Host (x, y, z) is game (-x, z, -y), on every row at once.
    ra::Vec3 row[4];
    for (int i = 0; i < 4; ++i)
    {
        const host::Point3& r = tm.GetRow(i);
        row[i] = ToVec(host::Point3(-r.x, r.z, -r.y));
    }

    float length[3];
    for (int i = 0; i < 3; ++i)
    {
        length[i] = row[i].Length();
        row[i] = ra::Normalize(row[i]);
    }

    // Row 0 is rebuilt from rows 1 and 2, so a mirrored transform comes out right-handed.
    row[0] = ra::Cross(row[1], row[2]);
    row[1] = ra::Cross(row[2], row[0]);
    row[2] = ra::Cross(row[0], row[1]);

    for (int i = 0; i < 3; ++i)
        row[i] *= length[i];
    for (int i = 0; i < 4; ++i)
        out.r[i] = row[i];
}
