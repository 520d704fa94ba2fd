#include "host/scene_objects.h"

#include <cctype>
#include <string_view>

namespace scene
{
using namespace host;

Mesh* SceneGeomObject::GetRenderMesh(TimeValue t, INode* inode, View& view, int& needDelete)
{
    needDelete = 0;
    return m_mesh ? &*m_mesh : nullptr;
}

void SceneCamera::UpdateTargDistance(TimeValue t, INode* inode)
{
    if (inode == nullptr || inode->GetTarget() == nullptr)
        return;
    Matrix3 target;
    inode->GetTargetTM(t, target);
    m_updatedDistance = Length(target.GetTrans() - inode->GetNodeTM(t).GetTrans());
}

float SceneCamera::GetTDist(TimeValue t, Interval* valid)
{
    return m_updatedDistance ? *m_updatedDistance : m_targetDistance.At(t);
}

float SceneCamera::GetClipDist(TimeValue t, int which, Interval* valid)
{
    if (which == CAM_HITHER_CLIP)
        return m_nearClip.At(t);
    if (which == CAM_YON_CLIP)
        return m_farClip.At(t);
    return 0.0f;
}

int SceneSkinContext::GetNumAssignedBones(int vertex)
{
    if (vertex < 0 || size_t(vertex) >= m_cPoint.size())
        return 0;
    return int(m_cPoint[vertex].size());
}

int SceneSkinContext::GetAssignedBone(int vertex, int k)
{
    if (k < 0 || k >= GetNumAssignedBones(vertex))
        return -1;
    return m_cPoint[vertex][k].bone;
}

float SceneSkinContext::GetBoneWeight(int vertex, int k)
{
    if (k < 0 || k >= GetNumAssignedBones(vertex))
        return 0.0f;
    return m_cPoint[vertex][k].weight;
}

void* SceneSkin::GetInterface(uint32 id)
{
    if (id == I_SKIN && m_installed)
        return static_cast<ISkin*>(this);
    return nullptr;
}

INode* SceneSkin::GetBone(int i)
{
    if (i < 0 || size_t(i) >= m_cBone.size())
        return nullptr;
    return m_cBone[i];
}

int SceneSkin::GetBoneInitTM(INode* pBone, Matrix3& tm, bool isObjectTM)
{
    for (size_t i = 0; i < m_cBone.size(); ++i)
    {
        if (m_cBone[i] == pBone)
        {
            tm = m_cBoneInitTM[i];
            return 1;
        }
    }
    return 0;
}

ISkinContextData* SceneSkin::GetContextInterface(INode* pNode)
{
    return pNode != nullptr && pNode == m_pOwner ? m_pContext.get() : nullptr;
}

Modifier* SceneDerivedObject::GetModifier(int i)
{
    if (i < 0 || size_t(i) >= m_cModifier.size())
        return nullptr;
    return m_cModifier[i];
}

INode* SceneNode::GetChildNode(int i)
{
    if (i < 0 || size_t(i) >= m_cChild.size())
        return nullptr;
    return m_cChild[i];
}

Matrix3 SceneNode::GetNodeTM(TimeValue time, Interval* valid)
{
    return m_transform.At(time);
}

Matrix3 SceneNode::GetObjectTM(TimeValue time, Interval* valid)
{
    return m_objectOffset * GetNodeTM(time);
}

// No space warps in a scene file: the object's world transform is all there is.
Matrix3 SceneNode::GetObjTMAfterWSM(TimeValue time, Interval* valid)
{
    return GetObjectTM(time);
}

namespace
{
std::string_view Trim(std::string_view s)
{
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front())))
        s.remove_prefix(1);
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back())))
        s.remove_suffix(1);
    return s;
}

bool EqualNoCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// The user property text is lines of "key = value" or a lone "key"; the first line with the key
// wins.
bool FindUserProp(const std::string& text, const char* key, std::string_view& value)
{
    if (key == nullptr)
        return false;
    std::string_view rest = text;
    while (!rest.empty())
    {
        const size_t end = rest.find_first_of("\r\n");
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        const size_t eq = line.find('=');
        if (EqualNoCase(Trim(line.substr(0, eq)), Trim(key)))
        {
            value = eq == std::string_view::npos ? std::string_view() : Trim(line.substr(eq + 1));
            return true;
        }
    }
    return false;
}
} // namespace

int SceneNode::UserPropExists(const char* key)
{
    std::string_view value;
    return FindUserProp(m_userProperties, key, value) ? 1 : 0;
}

int SceneNode::GetUserPropString(const char* key, CStr& value)
{
    std::string_view found;
    if (!FindUserProp(m_userProperties, key, found))
    {
        value = CStr();
        return 0;
    }
    value = CStr(std::string(found));
    return 1;
}

int SceneNode::GetTargetTM(TimeValue time, Matrix3& m)
{
    if (m_pTarget == nullptr)
        return 0;
    m = m_pTarget->GetNodeTM(time);
    return 1;
}
} // namespace scene
