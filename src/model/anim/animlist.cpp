#include "model/anim/animlist.h"

#include "model/anim/animlistnode_bv.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "names/memorypool.h"

#include <algorithm>

namespace
{
MemoryPool& NodePool()
{
    static MemoryPool& s_pool = MemoryPool::Get("AnimListNode");
    return s_pool;
}

const char* NameText(const char* text)
{
    return text ? text : "";
}
} // namespace

// AnimListNode

AnimListNode::AnimListNode(int boneCount, int cameraCount, int controlCount)
{
    SetBoneMappingCount(size_t(boneCount > 0 ? boneCount : 0));
    SetCameraMappingCount(cameraCount);
    SetNumControlMappings(controlCount);
}

void* AnimListNode::operator new(size_t size)
{
    return NodePool().Alloc(size);
}

void AnimListNode::operator delete(void* p)
{
    NodePool().Free(p);
}

int32 AnimListNode::GetBoneMapping(int boneIndex) const
{
    if (!raAssertIndex(boneIndex, m_BoneMappings))
        return -1;
    return m_BoneMappings[size_t(boneIndex)];
}

void AnimListNode::SetBoneMapping(int boneIndex, int32 streamIndex)
{
    if (!raAssertIndex(boneIndex, m_BoneMappings))
        return;
    m_BoneMappings[size_t(boneIndex)] = streamIndex;
}

void AnimListNode::SetCameraMappingCount(int count)
{
    if (!dbAssert(count >= 0))
        return;
    m_CameraMappings.assign(size_t(count), -1);
}

int32 AnimListNode::GetCameraMapping(int cameraIndex) const
{
    if (!raAssertIndex(cameraIndex, m_CameraMappings))
        return -1;
    return m_CameraMappings[size_t(cameraIndex)];
}

void AnimListNode::SetCameraMapping(int cameraIndex, int32 streamIndex)
{
    if (!raAssertIndex(cameraIndex, m_CameraMappings))
        return;
    m_CameraMappings[size_t(cameraIndex)] = streamIndex;
}

void AnimListNode::SetNumControlMappings(int count)
{
    if (!dbAssert(count >= 0))
        return;
    m_ControlMappings.assign(size_t(count), -1);
}

int32 AnimListNode::GetControlMapping(int controlIndex) const
{
    if (!raAssertIndex(controlIndex, m_ControlMappings))
        return -1;
    return m_ControlMappings[size_t(controlIndex)];
}

void AnimListNode::SetControlMapping(int controlIndex, int32 resourceIndex)
{
    if (!raAssertIndex(controlIndex, m_ControlMappings))
        return;
    m_ControlMappings[size_t(controlIndex)] = resourceIndex;
}

void AnimListNode::SetBV(const ra::Vec3& minimum, const ra::Vec3& maximum)
{
    m_BVMin = minimum;
    m_BVMax = maximum;
    m_bHasBV = true;
}

bool AnimListNode::GetBV(ra::Vec3& minimum, ra::Vec3& maximum) const
{
    if (!m_bHasBV)
        return false;
    minimum = m_BVMin;
    maximum = m_BVMax;
    return true;
}

// AnimList

AnimList::~AnimList() = default;

void AnimList::BuildMappings(AnimListNode& node) const
{
    if (!dbAssert(node.GetAnim().IsValid()))
        return;
    const Anim& anim = *node.GetAnim().Get();

    // Bones. A local animation's streams are in skeleton order; one from another model's file is
    // matched by bone name.
    const Skeleton* pSkeleton = m_RenderModel.GetSkeleton();
    const int boneCount = pSkeleton ? pSkeleton->GetBoneCount() : 0;
    if (boneCount != static_cast<int>(node.GetBoneMappingCount()))
    {
        dbBreakMsg(
            "m_RenderModel.GetSkeleton()->GetBoneCount() == static_cast<int>( node.GetBoneMappingCount() )");
        node.SetBoneMappingCount(size_t(boneCount));
    }
    for (int i = 0; i < boneCount; ++i)
    {
        int32 streamIndex;
        if (node.HasXRefName())
            streamIndex = anim.FindBone(pSkeleton->GetBone(i)->GetName());
        else
            streamIndex = i < anim.GetBoneCount() ? i : -1;
        node.SetBoneMapping(i, streamIndex);
    }

    // Cameras, by name.
    const int cameraCount = m_RenderModel.GetCameraCount();
    if (!dbAssert(m_RenderModel.GetCameraCount() == node.GetCameraMappingCount()))
        node.SetCameraMappingCount(cameraCount);
    for (int i = 0; i < cameraCount; ++i)
        node.SetCameraMapping(i, anim.FindCamera(m_RenderModel.GetCCamera(i).name));

    // Control streams, by the name of the shader or mesh they drive.
    const int nodeControlCount = node.GetNumControlMappings();
    const int animControlCount = anim.GetControlStreamCount();
    if (!dbAssert(node.GetNumControlMappings() == node.GetAnim()->GetControlStreamCount()))
    {
        dbTagf(FourCC("ANIM"), "%s: Animation %s has mismatching control counts (node = %d, anim = %d)!",
               NameText(m_RenderModel.Inv::NamedResource::GetName()),
               NameText(ra::GetNameText(anim.GetName())), nodeControlCount, animControlCount);
        node.SetNumControlMappings(animControlCount);
    }
    const ra::MeshGroup* pMeshGroup = m_RenderModel.GetMeshGroup();
    for (int i = 0; i < animControlCount; ++i)
    {
        int32 resourceIndex = -1;
        if (pMeshGroup != nullptr)
        {
            const ControlInfo& info = anim.GetControlInfo(i);
            if (info.targetType == ControlInfo::Target_Shader)
                resourceIndex = pMeshGroup->FindShader(anim.GetControlName(i));
            else if (info.targetType == ControlInfo::Target_Mesh)
                resourceIndex = pMeshGroup->FindMesh(anim.GetControlName(i));
        }
        node.SetControlMapping(i, resourceIndex);
    }
}

int AnimList::AddAnim(std::unique_ptr<AnimListNode> pAnimNode, bool buildBV)
{
    if (!dbAssert(pAnimNode))
        return InvalidIndex;
    BuildMappings(*pAnimNode);
    if (buildBV && !pAnimNode->HasBV())
        AnimListNodeBV::Build(m_RenderModel, *pAnimNode);
    m_pAnimNodes.push_back(std::move(pAnimNode));
    return int(m_pAnimNodes.size()) - 1;
}

int AnimList::AddAnim(ra::Name name, ra::Name xrefName)
{
    const Skeleton* pSkeleton = m_RenderModel.GetSkeleton();
    const int boneCount = pSkeleton ? pSkeleton->GetBoneCount() : 0;

    auto pAnim = std::make_unique<Anim>(ra::GetNameText(name));
    pAnim->SetBoneCount(boneCount);
    for (int i = 0; i < boneCount; ++i)
        pAnim->SetBoneName(i, pSkeleton->GetBone(i)->GetName());
    Inv::Reference<Anim> animRef = Anim::AddToInventory(std::move(pAnim));
    if (!animRef.IsValid())
        return InvalidIndex;

    auto pNode = std::make_unique<AnimListNode>(boneCount, m_RenderModel.GetCameraCount());
    pNode->SetAnim(animRef);
    pNode->SetXRefName(xrefName);
    return AddAnim(std::move(pNode), false);
}

Anim* AnimList::GetAnim(int index) const
{
    AnimListNode* pNode = GetAnimNode(index);
    return pNode ? pNode->GetAnim().Get() : nullptr;
}

AnimListNode* AnimList::GetAnimNode(int index) const
{
    if (!dbAssert(index != InvalidIndex))
        return nullptr;
    if (!dbAssert(index < GetAnimCount()))
        return nullptr;
    return m_pAnimNodes[size_t(index)].get();
}

int AnimList::FindAnim(ra::Name name) const
{
    for (size_t i = 0; i < m_pAnimNodes.size(); ++i)
    {
        const Anim* pAnim = m_pAnimNodes[i]->GetAnim().Get();
        if (pAnim != nullptr && pAnim->GetName() == name)
            return int(i);
    }
    return InvalidIndex;
}

int AnimList::GetXRefCount() const
{
    int count = 0;
    for (const auto& pNode : m_pAnimNodes)
        if (pNode->HasXRefName())
            ++count;
    return count;
}

void AnimList::RemoveAnim(int index)
{
    if (!dbAssert(index != InvalidIndex))
        return;
    if (!dbAssert(index < GetAnimCount()))
        return;
    m_pAnimNodes.erase(m_pAnimNodes.begin() + index);
    BuildShaderAnimated();
}

void AnimList::Clear()
{
    m_pAnimNodes.clear();
    m_bShaderAnimated.clear();
}

bool AnimList::IsShaderAnimated(int index) const
{
    if (!raAssertIndex(index, m_bShaderAnimated))
        return false;
    return m_bShaderAnimated[size_t(index)];
}

void AnimList::BuildShaderAnimated()
{
    const ra::MeshGroup* pMeshGroup = m_RenderModel.GetMeshGroup();
    m_bShaderAnimated.assign(size_t(pMeshGroup ? pMeshGroup->GetShaderCount() : 0), false);
    for (size_t animIndex = 0; animIndex < m_pAnimNodes.size(); ++animIndex)
    {
        if (!dbAssert(m_pAnimNodes[animIndex]))
            continue;
        const AnimListNode& node = *m_pAnimNodes[animIndex];
        const Anim* pAnim = node.GetAnim().Get();
        if (pAnim == nullptr)
            continue;
        const int controlCount = std::min(pAnim->GetControlStreamCount(), node.GetNumControlMappings());
        for (int i = 0; i < controlCount; ++i)
        {
            if (pAnim->GetControlInfo(i).targetType != ControlInfo::Target_Shader)
                continue;
            const int32 resourceIndex = node.GetControlMapping(i);
            if (resourceIndex == -1)
                continue;
            if (!raAssertIndex(resourceIndex, m_bShaderAnimated))
                continue;
            m_bShaderAnimated[size_t(resourceIndex)] = true;
        }
    }
}
