#include "host/scene.h"

#include "host/scene_materials.h"

namespace scene
{
using namespace host;

Scene::Scene() : m_pRoot(std::make_unique<SceneNode>())
{
    m_pRoot->m_name = "Scene Root";
    m_pRoot->m_isRoot = true;
    m_pRoot->m_renderable = false;
}

Scene::~Scene() = default;

INode* Scene::GetRootNode()
{
    return m_pRoot.get();
}

Interval Scene::GetAnimRange()
{
    const int ticks = TIME_TICKSPERSEC / m_frameRate;
    return Interval(m_firstFrame * ticks, m_lastFrame * ticks);
}

int Scene::GetNumProperties(int propertySet)
{
    return propertySet == PROPSET_USERDEFINED ? int(m_cProperty.size()) : 0;
}

const PROPSPEC* Scene::GetPropertySpec(int propertySet, int index)
{
    if (propertySet != PROPSET_USERDEFINED || index < 0 || size_t(index) >= m_cProperty.size())
        return nullptr;
    return &m_cProperty[index].first;
}

const PROPVARIANT* Scene::GetPropertyVariant(int propertySet, int index)
{
    if (propertySet != PROPSET_USERDEFINED || index < 0 || size_t(index) >= m_cProperty.size())
        return nullptr;
    return &m_cProperty[index].second;
}

INode* Scene::FindNode(const char* name) const
{
    if (name == nullptr)
        return nullptr;
    for (const auto& pNode : m_cNode)
        if (pNode->m_name == name)
            return pNode.get();
    return nullptr;
}

std::vector<INode*> Scene::GetNodes() const
{
    std::vector<INode*> cNode;
    for (const auto& pNode : m_cNode)
        cNode.push_back(pNode.get());
    return cNode;
}
} // namespace scene
