// Skin weights of a mesh node: read from the Skin modifier of its stack, or forced rigidly onto its
// bone by "ForceSkinning", then gathered into the mesh's table of skinned bones.
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/sgmutil.h"
#include "foundation/debug.h"
#include "model/mesh/vertexweight.h"
#include "names/name.h"

#include <algorithm>

namespace
{
// Answers of ReadSkinWeights.
constexpr int SkinBad = 0;
constexpr int SkinNone = 1;
constexpr int SkinRead = 2;

WeightRecord StoreWeight(const VertexWeight& vw)
{
    WeightRecord record;
    vw.Store(record.weight, record.boneIndex);
    return record;
}

// The Skin modifier of the node's pipeline, or null. Each derived object is searched top first
// and the first Skin found in it is taken; a Skin further down the pipeline replaces it.
host::Modifier* FindSkinModifier(host::INode* pNode)
{
    host::Modifier* pSkin = nullptr;
    host::Object* pObject = pNode->GetObjectRef();
    while (pObject != nullptr && pObject->SuperClassID() == host::GEN_DERIVOB_CLASS_ID)
    {
        auto* pDerived = dynamic_cast<host::IDerivedObject*>(pObject);
        if (pDerived == nullptr)
            break;
        for (int i = 0; i < pDerived->NumModifiers(); ++i)
        {
            host::Modifier* pModifier = pDerived->GetModifier(i);
            if (pModifier != nullptr && pModifier->ClassID() == host::SKIN_CLASSID)
            {
                pSkin = pModifier;
                break;
            }
        }
        pObject = pDerived->GetObjRef();
    }
    return pSkin;
}
} // namespace

bool SGMExport::BuildSkinData(size_t meshIndex, SGMExportOptions& options)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;

    bool skinned = false;
    if (m_MeshNodes[meshIndex].pNode->UserPropExists("ForceSkinning"))
    {
        // Without a bone the mesh goes on unweighted; the message is all the artist gets.
        ForceSkinWeights(meshIndex, options);
        skinned = true;
    }
    else
    {
        const int answer = ReadSkinWeights(meshIndex);
        if (answer == SkinBad)
            return false;
        skinned = answer == SkinRead;
    }
    if (!skinned)
        return true;

    // Bones in the order the weights first use them.
    std::vector<int32> cBone;
    for (const WeightRecord& record : m_MeshNodes[meshIndex].cWeight)
    {
        for (uint8 bone : record.boneIndex)
        {
            if (bone != VertexWeight::NoBone && std::find(cBone.begin(), cBone.end(), bone) == cBone.end())
                cBone.push_back(bone);
        }
    }
    if (cBone.empty())
        return true;

    ra::Mesh* pMesh = m_MeshNodes[meshIndex].meshRef.Get();
    if (!dbAssert(pMesh != nullptr))
        return false;
    pMesh->SetSkinnedTransformCount(int32(cBone.size()));
    for (size_t i = 0; i < cBone.size(); ++i)
    {
        const int32 index = cBone[i];
        if (!dbAssert(index != -1) || !dbAssert(size_t(index) < m_BoneNodes.size()))
            continue;
        pMesh->SetSkinnedTransformName(int32(i), ra::MakeName(m_BoneNodes[index].name.c_str()));
        pMesh->SetSkinnedTransformIndex(int32(i), index);
    }
    return true;
}

int SGMExport::ReadSkinWeights(size_t meshIndex)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return SkinBad;
    MeshNode& meshNode = m_MeshNodes[meshIndex];
    host::INode* pNode = meshNode.pNode;

    host::Modifier* pModifier = FindSkinModifier(pNode);
    if (pModifier == nullptr)
        return SkinNone;

    auto* pSkin = static_cast<host::ISkin*>(pModifier->GetInterface(host::I_SKIN));
    if (pSkin == nullptr)
    {
        SGMErrors::Get()->Error("ISkin modifier not installed. Cannot export weighted mesh!");
        return SkinBad;
    }

    // Asking for every bone's set-up transform makes the modifier get its bone data ready.
    for (int i = 0; i < pSkin->GetNumBones(); ++i)
    {
        host::Matrix3 initTM;
        pSkin->GetBoneInitTM(pSkin->GetBone(i), initTM);
    }

    host::ISkinContextData* pContext = pSkin->GetContextInterface(pNode);
    if (pContext == nullptr)
        return SkinNone; // the interface stays held on this path

    int answer = SkinRead;
    const int numPoints = std::max(pContext->GetNumPoints(), 0);
    meshNode.cWeight.assign(size_t(numPoints), WeightRecord());

    const char* name = pNode->GetName();
    // Every point is looked at, so that one export shows the artist every bad vertex.
    for (int v = 0; v < numPoints; ++v)
    {
        VertexWeight vw;
        vw.Clear();
        const int numAssigned = pContext->GetNumAssignedBones(v);
        if (numAssigned < 1)
        {
            SGMErrors::Get()->Error("Mesh '%s', vertex %d is not weighted to any bones!", name, v);
            answer = SkinBad;
            continue;
        }

        // Assignments are counted in eight bits: those past the 256th are never reached.
        const int numReadable = std::min(numAssigned, 256);
        int c = 0;
        for (int k = 0; k < numReadable; ++k)
        {
            const int b = pContext->GetAssignedBone(v, k);
            if (b < 0)
                continue;
            const float w = pContext->GetBoneWeight(v, k);
            if (w == 0)
                continue;
            if (!(w >= 0 && w <= 1))
            {
                SGMErrors::Get()->Error(
                    "Mesh '%s', vertex %d has an invalid weight!  Make sure it is normalized / weighted!",
                    name, v);
                answer = SkinBad;
                continue;
            }
            int32 bone = FindBoneIndex(pSkin->GetBone(b));
            if (bone == -1)
            {
                // A bone left out of the skeleton ("Remove"): still counted, on bone 0.
                bone = 0;
                SGMErrors::Get()->Error(
                    "Mesh '%s', vertex %d is weighted by an invalid bone! (Removed from Skeleton?)", name, v);
                answer = SkinBad;
            }
            vw.Add(uint8(bone), w);
            ++c;
        }

        if (c >= 5)
        {
            SGMErrors::Get()->Error(
                "Mesh '%s', vertex %d is weighted by too many bones!  A maximum of 4 bones is "
                "supported!",
                name, v);
            answer = SkinBad;
        }
        else if (c < 1)
        {
            SGMErrors::Get()->Error("Mesh '%s', vertex %d is not weighted to any bones!", name, v);
            answer = SkinBad;
        }
        else
        {
            // No margin: a float sum of 1.0000001 is an error.
            const float sum = vw.weight[0] + vw.weight[1] + vw.weight[2] + vw.weight[3];
            if (sum > 1.0f)
            {
                SGMErrors::Get()->Error(
                    "Mesh '%s', vertex %d has an invalid bone weight!  Make sure it is normalized!", name, v);
                answer = SkinBad;
            }
            else
            {
                meshNode.cWeight[size_t(v)] = StoreWeight(vw);
            }
        }
    }

    pModifier->ReleaseInterface(host::I_SKIN, pSkin);
    return answer;
}

bool SGMExport::ForceSkinWeights(size_t meshIndex, SGMExportOptions& options)
{
    if (!dbAssert(meshIndex < m_MeshNodes.size()))
        return false;
    MeshNode& meshNode = m_MeshNodes[meshIndex];
    host::INode* pNode = meshNode.pNode;

    int32 bone = -1;
    if (IsBone(pNode, options.time))
    {
        bone = FindBoneIndex(pNode);
    }
    else if (dbAssert(m_MeshNodes[meshIndex].pNode->GetParentNode()))
    {
        host::INode* pParent = pNode->GetParentNode();
        if (IsBone(pParent, options.time))
            bone = FindBoneIndex(pParent);
    }
    if (bone == -1)
    {
        SGMErrors::Get()->Error("Force Skinned Mesh '%s' is not a bone!", pNode->GetName());
        return false;
    }

    VertexWeight vw;
    vw.Clear();
    vw.Add(uint8(bone), 1.0f);
    meshNode.cWeight.assign(meshNode.cVertex.size(), StoreWeight(vw));
    return true;
}
