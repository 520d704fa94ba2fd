// Model assembly: the built meshes, markers, cameras and bones joined into one RenderModel, and
// the control streams renamed after the shaders and meshes they drive.
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmfilename.h"
#include "exporter/sgmutil.h"
#include "foundation/debug.h"
#include "model/anim/animlist.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "names/name.h"

namespace
{
constexpr float DefaultFov = 1.5707964f;
constexpr float NearLimit = 0.1f;
constexpr float FarLimit = 1000.0f;

ra::Vec3 ToVec(const host::Point3& p)
{
    return {p.x, p.y, p.z};
}
} // namespace

std::unique_ptr<RenderModel> SGMExport::BuildRenderModel(SGMExportOptions& options)
{
    auto pModel = std::make_unique<RenderModel>();
    pModel->SetName(options.modelName.c_str());
    pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));

    if (!BuildMeshes(*pModel, options))
        return nullptr;

    for (host::INode* pNode : m_MarkerNodes)
        AddMarker(*pModel, pNode, options.time);
    for (host::INode* pNode : m_CameraNodes)
        AddCamera(*pModel, pNode, options.time);

    BuildSkeleton(*pModel);
    if (!BuildMeshGroup(*pModel, options))
        return nullptr;

    if (options.exportAnimation && pModel->GetSkeleton() != nullptr)
    {
        SampleAnimation(options, *pModel);
        FixControlStreams(*pModel);
    }
    return pModel;
}

void SGMExport::BuildSkeleton(RenderModel& /*renderModel*/)
{
    m_pSkeleton.reset();
    if (m_BoneNodes.empty())
        return;

    auto pSkeleton = std::make_unique<Skeleton>(uint32(m_BoneNodes.size()));
    for (size_t i = 0; i < m_BoneNodes.size(); ++i)
    {
        const BoneNode& boneNode = m_BoneNodes[i];
        Bone* pBone = pSkeleton->GetBone(int32(i));
        if (!dbAssert(pBone != nullptr))
            return;
        pBone->SetName(ra::MakeName(boneNode.name.c_str()));
        pBone->SetWorldMatrix(boneNode.transform);
        pSkeleton->SetBoneParent(int32(i), boneNode.parent);
    }
    // The file keeps each bone relative to its parent; the walk read world matrices.
    pSkeleton->BuildLocalFromWorld();
    m_pSkeleton = std::move(pSkeleton);
}

bool SGMExport::BuildMeshGroup(RenderModel& renderModel, SGMExportOptions& options)
{
    if (m_MeshNodes.empty())
    {
        // Silent for an export of animation alone: there is simply nothing to write.
        if (options.exportMeshes)
            SGMErrors::Get()->Error("No meshes to export!");
        return false;
    }

    auto pMeshGroup = std::make_unique<ra::MeshGroup>();
    if (!dbAssert(pMeshGroup))
        return false;
    pMeshGroup->SetSkeleton(m_pSkeleton.get());
    pMeshGroup->SetMeshCount(int32(m_MeshNodes.size()));
    ra::BoundVolume bv;

    for (size_t i = 0; i < m_MeshNodes.size(); ++i)
    {
        const MeshNode& meshNode = m_MeshNodes[i];
        const int32 index = int32(i);
        if (!dbAssert(m_MeshNodes[i].meshRef.IsValid()))
            continue;
        ra::MeshRef ref;
        ref.mesh = meshNode.meshRef;
        pMeshGroup->SetMesh(index, ref);
        pMeshGroup->SetMeshName(index, meshNode.meshRef->GetName());

        if (!options.xrefLocal && IsXRef(meshNode.pNode))
        {
            // An XRef outside every project has no data name; its mesh then stays local.
            std::string xrefName;
            if (GetXRefName(meshNode.pNode, xrefName) && !xrefName.empty())
                pMeshGroup->SetMeshXRefName(index, ra::MakeName(xrefName.c_str()));
        }

        // A rigid mesh follows its own bone, or its parent's; one under neither stays in world space.
        if (meshNode.meshRef->GetSkinnedTransformCount() == 0)
        {
            bool hasBone = false;
            int32 bone = -1;
            if (IsBone(meshNode.pNode, options.time))
            {
                hasBone = true;
                bone = FindBoneIndex(meshNode.pNode);
            }
            else if (IsBone(meshNode.pNode->GetParentNode(), options.time))
            {
                hasBone = true;
                if (dbAssert(m_MeshNodes[i].pNode->GetParentNode()))
                    bone = FindBoneIndex(meshNode.pNode->GetParentNode());
            }
            if (hasBone)
            {
                if (bone == -1)
                {
                    SGMErrors::Get()->Error("Mesh '%s' assigned to invalid bone! (Removed from Skeleton?)",
                                            meshNode.pNode->GetName());
                    bone = 0;
                }
                pMeshGroup->SetMeshBone(index, bone);
            }
        }

        bv.Add(meshNode.meshRef->GetBV());
    }

    pMeshGroup->SetBV(bv);
    renderModel.SetMeshGroup(std::move(pMeshGroup));
    renderModel.SetSkeleton(std::move(m_pSkeleton));
    return true;
}

bool SGMExport::FixControlStreams(RenderModel& renderModel)
{
    AnimList* pAnimList = renderModel.GetAnimList();
    const ra::MeshGroup* pMeshGroup = renderModel.GetMeshGroup();
    if (pAnimList == nullptr || pAnimList->GetAnimCount() == 0 || !dbAssert(pMeshGroup != nullptr))
        return true;
    Anim* pAnim = pAnimList->GetAnim(0);
    if (!dbAssert(pAnim != nullptr))
        return true;

    // Mesh i of the walk is mesh i of the group when their names agree.
    std::vector<int32> meshIndexRemap(m_MeshNodes.size(), -1);
    for (size_t i = 0; i < m_MeshNodes.size(); ++i)
    {
        const ra::Name nodeName = ra::MakeName(m_MeshNodes[i].pNode->GetName());
        for (int32 j = 0; j < pMeshGroup->GetMeshCount(); ++j)
        {
            if (int32(i) < pMeshGroup->GetMeshCount() && nodeName == pMeshGroup->GetMeshName(int32(i)))
                meshIndexRemap[i] = int32(i);
        }
    }

    const ra::Name uninitialized = ra::MakeName("<uninitialized>");
    for (int c = 0; c < pAnim->GetControlStreamCount(); ++c)
    {
        ControlInfo ref = pAnim->GetControlInfo(c);
        ra::Name name = uninitialized;
        if (ref.targetType == ControlInfo::Target_Shader)
        {
            if (dbAssert(ref.m_index >= 0 && size_t(ref.m_index) < m_ShaderList.size()))
            {
                const ShaderListEntry& entry = *m_ShaderList[size_t(ref.m_index)];
                const ra::Name shaderName =
                    entry.shaderRef.IsValid() ? entry.shaderRef->GetName() : ra::Name::INVALID;
                ref.m_index = pMeshGroup->FindShader(shaderName);
                if (dbAssert(ref.m_index != ra::MeshGroup::InvalidIndex))
                    name = pMeshGroup->GetShader(ref.m_index)->GetName();
            }
        }
        else if (ref.targetType == ControlInfo::Target_Mesh)
        {
            if (dbAssert(ref.m_index >= 0 && size_t(ref.m_index) < meshIndexRemap.size()) &&
                dbAssert(ref.m_index == meshIndexRemap[ref.m_index]))
            {
                ref.m_index = meshIndexRemap[size_t(ref.m_index)];
                name = pMeshGroup->GetMeshName(ref.m_index);
            }
        }
        pAnim->SetControlInfo(c, ref);
        pAnim->SetControlName(c, name);
    }
    return true;
}

void SGMExport::AddMarker(RenderModel& renderModel, host::INode* pNode, host::TimeValue time)
{
    if (!IsMarker(pNode, time))
        return;
    host::INode* pParent = pNode->GetParentNode();
    if (pParent != nullptr && (pParent->IsRootNode() || !IsBone(pParent, time)))
        pParent = nullptr;

    Marker marker;
    marker.name = ra::MakeName(pNode->GetName());
    if (pParent != nullptr)
        marker.parentName = ra::MakeName(pParent->GetName());

    ConvertMatrix(marker.transform, pNode->GetNodeTM(time));
    if (pParent != nullptr)
    {
        // Local to the bone: the marker's world matrix undone by the bone's.
        ra::Matrix34 parentTransform;
        ConvertMatrix(parentTransform, pParent->GetNodeTM(time));
        marker.transform = marker.transform * ra::Inverse(parentTransform);
    }

    const int32 count = renderModel.GetCMarkerCount();
    renderModel.SetCMarkerCount(count + 1);
    renderModel.SetCMarker(count, marker);
}

void SGMExport::AddCamera(RenderModel& renderModel, host::INode* pNode, host::TimeValue time)
{
    if (!IsCamera(pNode, time))
        return;
    const host::Matrix3 tm = pNode->GetObjTMAfterWSM(time);
    ra::Matrix34 m;
    ConvertMatrix(m, tm);

    RenderModelCamera camera;
    camera.name = ra::MakeName(pNode->GetName());
    camera.position = m.Translation();
    camera.target = camera.position + ra::Vec3(0, 0, 1);
    camera.fov = DefaultFov;
    camera.nearClip = NearLimit;
    camera.farClip = FarLimit;

    host::ObjectState os = pNode->EvalWorldState(time, 1);
    if (auto* pCamera = dynamic_cast<host::CameraObject*>(os.obj))
    {
        pCamera->UpdateTargDistance(time, pNode);
        float targetDistance = pCamera->GetTDist(time);
        if (targetDistance <= 0.0f)
            targetDistance = 1.0f;
        // The target lies along the camera's -z in host space.
        const host::Point3 p = host::Point3(0, 0, -targetDistance) * tm;
        camera.target = ToVec(host::Point3(-p.x, p.z, -p.y));
        camera.fov = pCamera->GetFOV(time);
        if (pCamera->GetManualClip())
        {
            camera.nearClip = pCamera->GetClipDist(time, host::CAM_HITHER_CLIP);
            if (camera.nearClip < NearLimit)
                camera.nearClip = NearLimit;
            camera.farClip = pCamera->GetClipDist(time, host::CAM_YON_CLIP);
            if (camera.farClip > FarLimit)
                camera.farClip = FarLimit;
        }
    }

    const ra::Matrix34 look = ra::LookAt(camera.position, camera.target, ra::Vec3(0, 1, 0));
    camera.orientation = ra::QuatFromMatrix(look);

    const int32 count = renderModel.GetCCameraCount();
    renderModel.SetCCameraCount(count + 1);
    renderModel.SetCCamera(count, camera);
}
