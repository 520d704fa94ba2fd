#include "model/rendermodel.h"

#include "foundation/debug.h"
#include "model/rendermodeltypeinfo.h"
#include "model/shader/shader.h"

#include <random>

namespace
{
const Marker s_defaultMarker;
const RenderModelCamera s_defaultCamera;

uint32 DefaultRandom(uint32 count)
{
    static std::mt19937 s_generator{std::random_device{}()};
    return std::uniform_int_distribution<uint32>(0, count - 1)(s_generator);
}

RenderModel::RandomSource s_randomSource = DefaultRandom;

const char* Text(ra::Name name)
{
    const char* pText = ra::GetNameText(name);
    return pText ? pText : "";
}
} // namespace

Inv::ResourceTypeInfo* RenderModel::GetTypeInfo()
{
    static RenderModelTypeInfo s_info;
    return &s_info;
}

void RenderModel::SetRandomSource(RandomSource source)
{
    s_randomSource = source ? source : DefaultRandom;
}

uint32 RenderModel::Random(uint32 count)
{
    return count == 0 ? 0 : s_randomSource(count);
}

RenderModel::RenderModel() : m_pMotionList(std::make_unique<ra::MotionList>()) {}

RenderModel::RenderModel(const char* name)
    : Inv::NamedResource(name), m_pMotionList(std::make_unique<ra::MotionList>())
{
}

RenderModel::~RenderModel()
{
    // Each goes before what it points at: the group at the skeleton, actions at motions and
    // conditions, motions at animation nodes, conditions at clauses.
    m_pMeshGroup.reset();
    m_pSkeleton.reset();
    m_ActionTree.Clear();
    m_pMotionList.reset();
    m_pAnimList.reset();
    m_pRefPose.reset();
    m_ConditionList.Clear();
    m_ClauseList.Clear();
    m_EventList.Clear();
    m_ModifierList.Clear();
}

void RenderModel::SetAnimList(std::unique_ptr<AnimList> pAnimList)
{
    m_pAnimList = std::move(pAnimList);
}

void RenderModel::SetMeshGroup(std::unique_ptr<ra::MeshGroup> pMeshGroup)
{
    if (!dbAssert(pMeshGroup))
        return;
    m_pMeshGroup = std::move(pMeshGroup);
    const ra::OBB& box = m_pMeshGroup->GetBV().GetOBB();
    m_selectionExtents[0] = box.scale.x;
    m_selectionExtents[1] = box.scale.z;
    m_selectionCentre[0] = box.centre.x;
    m_selectionCentre[1] = box.centre.z;
    m_selectionVolume = box;
}

void RenderModel::SetSkeleton(std::unique_ptr<Skeleton> pSkeleton)
{
    // A group that followed the old skeleton follows the new one: its pointer must not outlive
    // what it points at.
    if (m_pMeshGroup && m_pMeshGroup->GetSkeleton() == m_pSkeleton.get())
        m_pMeshGroup->SetSkeleton(pSkeleton.get());
    m_pSkeleton = std::move(pSkeleton);
    if (!m_pSkeleton)
        return;
    for (Marker& marker : m_cMarkers)
        ResolveParent(marker);
}

uint32 RenderModel::Display(const AnimPose& pose, uint32 polyLevel, fr::MatrixStack& worldStack,
                            ra::MatrixPalette& palette, ra::ShadowManager* pShadowManager,
                            bool skipDraw) const
{
    if (!dbAssert(m_pMeshGroup.get()))
        return 0;
    return m_pMeshGroup->Display(pose, polyLevel, worldStack, palette, pShadowManager, skipDraw);
}

int32 RenderModel::GetMarkerCount() const
{
    return int32(m_cMarkers.size()) + (m_pSkeleton ? m_pSkeleton->GetBoneCount() : 0);
}

bool RenderModel::IsMarkerIndex(int32 index) const
{
    const int32 markerCount = GetMarkerCount();
    return dbAssert(index != InvalidIndex) && dbAssert(index < markerCount) && dbAssert(index >= 0);
}

const Bone* RenderModel::GetMarkerBone(int32 index) const
{
    if (!dbAssert(m_pSkeleton.get()))
        return nullptr;
    return m_pSkeleton->GetBone(index - int32(m_cMarkers.size()));
}

ra::Name RenderModel::GetMarkerName(int32 index) const
{
    if (!IsMarkerIndex(index))
        return ra::Name::INVALID;
    if (index < int32(m_cMarkers.size()))
        return m_cMarkers[size_t(index)].name;
    const Bone* pBone = GetMarkerBone(index);
    return pBone ? pBone->GetName() : ra::Name::INVALID;
}

bool RenderModel::GetMarkerWorldTransform(int32 index, ra::Matrix34& out) const
{
    if (!IsMarkerIndex(index))
        return false;
    if (index < int32(m_cMarkers.size()))
    {
        const Marker& marker = m_cMarkers[size_t(index)];
        if (marker.parentIndex == Bone::InvalidIndex || !m_pSkeleton)
        {
            out = marker.transform;
            return true;
        }
        const Bone* pParent = m_pSkeleton->GetBone(marker.parentIndex);
        if (pParent == nullptr)
            return false;
        out = marker.transform * pParent->GetWorldMatrix();
        return true;
    }
    const Bone* pBone = GetMarkerBone(index);
    if (pBone == nullptr)
        return false;
    out = pBone->GetWorldMatrix();
    return true;
}

bool RenderModel::GetMarkerLocalTransform(int32 index, ra::Matrix34& out) const
{
    if (!IsMarkerIndex(index))
        return false;
    if (index < int32(m_cMarkers.size()))
    {
        out = m_cMarkers[size_t(index)].transform;
        return true;
    }
    if (GetMarkerBone(index) == nullptr)
        return false;
    out = ra::Matrix34::Identity();
    return true;
}

int32 RenderModel::FindMarker(ra::Name name) const
{
    static const ra::Name s_root = ra::MakeName("root");
    static const ra::Name s_random = ra::MakeName("random");

    const int32 markerCount = GetMarkerCount();
    if (markerCount == 0)
        return InvalidIndex;
    if (name == s_root)
        return m_pSkeleton && m_pSkeleton->GetBoneCount() > 0 ? int32(m_cMarkers.size()) : 0;
    if (name == s_random)
        return int32(Random(uint32(markerCount)));
    for (size_t i = 0; i < m_cMarkers.size(); ++i)
        if (m_cMarkers[i].name == name)
            return int32(i);
    if (m_pSkeleton)
    {
        const int32 boneIndex = m_pSkeleton->FindBone(name);
        if (boneIndex != Bone::InvalidIndex)
            return int32(m_cMarkers.size()) + boneIndex;
    }
    return InvalidIndex;
}

void RenderModel::GetMarkerNames(std::vector<std::string>& cOut) const
{
    cOut.emplace_back("root");
    cOut.emplace_back("random");
    for (const Marker& marker : m_cMarkers)
        cOut.emplace_back(Text(marker.name));
}

void RenderModel::SetCMarkerCount(int32 n)
{
    if (dbAssert(n >= 0))
        m_cMarkers.resize(size_t(n));
}

void RenderModel::SetCMarker(int32 index, const Marker& marker)
{
    if (!dbAssert(uint32(index) < m_cMarkers.size()))
        return;
    Marker& stored = m_cMarkers[size_t(index)];
    stored = marker;
    if (m_pSkeleton)
        ResolveParent(stored);
}

void RenderModel::ResolveParent(Marker& marker) const
{
    marker.parentIndex = marker.parentName == ra::Name::INVALID ? Bone::InvalidIndex
                                                                : m_pSkeleton->FindBone(marker.parentName);
}

const Marker& RenderModel::GetCMarker(int32 index) const
{
    if (!dbAssert(uint32(index) < m_cMarkers.size()))
        return s_defaultMarker;
    return m_cMarkers[size_t(index)];
}

void RenderModel::SetCCameraCount(int32 n)
{
    if (dbAssert(n >= 0))
        m_cCameras.resize(size_t(n));
}

void RenderModel::SetCCamera(int32 index, const RenderModelCamera& camera)
{
    if (dbAssert(uint32(index) < m_cCameras.size()))
        m_cCameras[size_t(index)] = camera;
}

const RenderModelCamera& RenderModel::GetCCamera(int32 index) const
{
    if (!dbAssert(uint32(index) < m_cCameras.size()))
        return s_defaultCamera;
    return m_cCameras[size_t(index)];
}

int32 RenderModel::FindCamera(ra::Name name) const
{
    for (size_t i = 0; i < m_cCameras.size(); ++i)
        if (m_cCameras[i].name == name)
            return int32(i);
    return InvalidIndex;
}

void RenderModel::BuildRefPose()
{
    if (!dbAssert(m_pMeshGroup.get()))
        return;
    if (m_pRefPose)
        return;
    m_pRefPose = std::make_unique<AnimPose>(*this);

    for (int32 s = 0; s < m_pMeshGroup->GetShaderCount(); ++s)
    {
        const Inv::Reference<Shader>& shaderRef = m_pMeshGroup->GetShader(s);
        if (!dbAssert(shaderRef.IsValid()) || shaderRef.Get() == nullptr)
            continue;
        AnimPose::ShaderValues values{};
        for (uint32 c = 0; c < AnimPose::ChannelCount; ++c)
        {
            const uint32 colour = shaderRef->GetColour(c);
            // The opacity channel is driven by the alpha byte, the others by the second byte.
            const uint32 byte = c == Shader::CN_Opacity ? (colour >> 24) & 0xFF : (colour >> 8) & 0xFF;
            float* pChannel = &values[c * AnimPose::ValuesPerChannel];
            pChannel[0] = float(byte) / 255.0f;
            pChannel[1] = 0.0f;
            pChannel[2] = 0.0f;
            pChannel[3] = 1.0f;
            pChannel[4] = 1.0f;
        }
        m_pRefPose->SetShaderValues(s, values);
    }

    if (m_pSkeleton)
        for (int32 b = 0; b < m_pSkeleton->GetBoneCount(); ++b)
            m_pRefPose->SetBoneMatrix(b, m_pSkeleton->GetBone(b)->GetWorldMatrix());
}

void RenderModel::SetSelectionBox(const float extents[2], const float centre[2])
{
    m_selectionExtents[0] = extents[0];
    m_selectionExtents[1] = extents[1];
    m_selectionCentre[0] = centre[0];
    m_selectionCentre[1] = centre[1];
}

void RenderModel::GetSelectionBox(float extents[2], float centre[2]) const
{
    extents[0] = m_selectionExtents[0];
    extents[1] = m_selectionExtents[1];
    centre[0] = m_selectionCentre[0];
    centre[1] = m_selectionCentre[1];
}
