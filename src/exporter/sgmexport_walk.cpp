// Scene gathering: one walk over the host's node tree sorts every node into the exporter's lists.
#include "exporter/sgmexport.h"
#include "exporter/sgmutil.h"
#include "foundation/debug.h"

#include <cstdio>
#include <strings.h>

void SGMExport::WalkScene(SGMExportOptions& options, host::INode* pNode)
{
    if (pNode == nullptr)
        return;
    const host::TimeValue time = options.time;

    // Bone, camera and light exclude one another; the first that matches wins.
    if (IsBone(pNode, time))
        AddBoneNode(pNode, time);
    else if (IsCamera(pNode, time))
        AddCameraNode(pNode, time);
    else if (IsLight(pNode, time))
        AddLightNode(pNode, time);

    if (IsMarker(pNode, time))
        AddMarkerNode(pNode, time);

    // Independent of the bone test: an editable mesh with the bone flag is both.
    if (IsMesh(pNode, time))
    {
        if (IsXRef(pNode))
            ++options.xrefCount;
        AddMeshNode(pNode, time);
    }

    const int children = pNode->NumberOfChildren();
    for (int i = 0; i < children; ++i)
        WalkScene(options, pNode->GetChildNode(i));
}

void SGMExport::AddBoneNode(host::INode* pNode, host::TimeValue time)
{
    if (!dbAssert(pNode) || !IsBone(pNode, time))
        return;
    // A removed bone leaves its children to the bone above it.
    if (pNode->UserPropExists("Remove"))
        return;

    BoneNode bone;
    bone.pNode = pNode;

    // "Arm", "arm", "ARM" become "Arm", "arm(2)", "ARM(3)": each clash restarts the search.
    const char* baseName = pNode->GetName();
    std::string name = baseName;
    int counter = 1;
    for (size_t i = 0; i < m_BoneNodes.size();)
    {
        if (strcasecmp(m_BoneNodes[i].name.c_str(), name.c_str()) == 0)
        {
            ++counter;
            char unique[300];
            std::snprintf(unique, sizeof(unique), "%s(%d)", baseName, counter);
            name = unique;
            i = 0;
            continue;
        }
        ++i;
    }
    bone.name = name;

    bone.parent = FindParentBone(pNode->GetParentNode());
    ConvertMatrix(bone.transform, pNode->GetNodeTM(time));
    const bool stale = pNode->UserPropExists("Stale") != 0;
    const bool inactive = pNode->UserPropExists("Inactive") != 0;
    bone.active = !stale && !inactive;

    m_BoneNodes.push_back(std::move(bone));
}

void SGMExport::AddMeshNode(host::INode* pNode, host::TimeValue time)
{
    if (!dbAssert(pNode) || !IsMesh(pNode, time))
        return;
    MeshNode mesh;
    mesh.pNode = pNode;
    m_MeshNodes.push_back(std::move(mesh));
}

void SGMExport::AddMarkerNode(host::INode* pNode, host::TimeValue time)
{
    if (!dbAssert(pNode) || !IsMarker(pNode, time))
        return;
    m_MarkerNodes.push_back(pNode);
}

void SGMExport::AddCameraNode(host::INode* pNode, host::TimeValue time)
{
    if (!dbAssert(pNode) || !IsCamera(pNode, time))
        return;
    m_CameraNodes.push_back(pNode);
}

void SGMExport::AddLightNode(host::INode* pNode, host::TimeValue time)
{
    if (!dbAssert(pNode) || !IsLight(pNode, time))
        return;
    m_LightNodes.push_back(pNode);
}

int32 SGMExport::FindBoneIndex(host::INode* pNode) const
{
    for (size_t i = 0; i < m_BoneNodes.size(); ++i)
    {
        if (m_BoneNodes[i].pNode == pNode)
            return int32(i);
    }
    return -1;
}

int32 SGMExport::FindParentBone(host::INode* pNode) const
{
    // Removed bones and non-bones in the chain are stepped over.
    for (; pNode != nullptr; pNode = pNode->GetParentNode())
    {
        const int32 index = FindBoneIndex(pNode);
        if (index != -1)
            return index;
    }
    return -1;
}
