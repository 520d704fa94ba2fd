#include "render/shader.h"

#include "foundation/debug.h"

namespace fr
{
NullShader::Node* NullShader::GetNode(NodeId node)
{
    if (node < 0 || std::size_t(node) >= m_cNode.size() || !m_cNode[node].live)
        return nullptr;
    return &m_cNode[node];
}

const NullShader::Node* NullShader::GetNode(NodeId node) const
{
    return const_cast<NullShader*>(this)->GetNode(node);
}

Shader::NodeId NullShader::CreateNode(NodeType type)
{
    // Released slots are used again, so ids stay small over many rebuilds.
    std::size_t slot = 0;
    while (slot < m_cNode.size() && m_cNode[slot].live)
        ++slot;
    if (slot == m_cNode.size())
        m_cNode.emplace_back();
    m_cNode[slot] = Node{};
    m_cNode[slot].live = true;
    m_cNode[slot].nodeType = type;
    return NodeId(slot);
}

void NullShader::ReleaseNode(NodeId node)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode))
        return;
    *pNode = Node{};
    // Nothing may keep pointing at a released node.
    for (Node& n : m_cNode)
        for (NodeId& in : n.input)
            if (in == node)
                in = InvalidNode;
    if (m_root == node)
        m_root = InvalidNode;
}

void NullShader::SetOperator(NodeId node, OpKind op)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Op))
        return;
    pNode->op = op;
}

void NullShader::SetInput(NodeId node, uint32 param, NodeId input)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Op) || !dbAssert(param < 2))
        return;
    if (!dbAssert(input == InvalidNode || GetNode(input)))
        return;
    pNode->input[param] = input;
}

void NullShader::SetColour(NodeId node, uint32 colour)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Colour))
        return;
    pNode->colour = colour;
}

void NullShader::SetTexture(NodeId node, const TextureStage& stage)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Texture))
        return;
    pNode->stage = stage;
}

void NullShader::SetMaterial(NodeId node, const Material& material)
{
    Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Light))
        return;
    pNode->material = material;
}

void NullShader::SetBlend(int32 source, int32 destination)
{
    m_blendSource = source;
    m_blendDestination = destination;
}

bool NullShader::Compile()
{
    ++m_compileCount;
    return m_root == InvalidNode || GetNode(m_root) != nullptr;
}

bool NullShader::IsNode(NodeId node) const
{
    return GetNode(node) != nullptr;
}

NodeType NullShader::GetNodeType(NodeId node) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode))
        return NT_Op;
    return pNode->nodeType;
}

OpKind NullShader::GetOperator(NodeId node) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Op))
        return OP_SelectArg0;
    return pNode->op;
}

Shader::NodeId NullShader::GetInput(NodeId node, uint32 param) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Op) || !dbAssert(param < 2))
        return InvalidNode;
    return pNode->input[param];
}

uint32 NullShader::GetColour(NodeId node) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Colour))
        return 0;
    return pNode->colour;
}

const TextureStage* NullShader::GetTexture(NodeId node) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Texture))
        return nullptr;
    return &pNode->stage;
}

const Material* NullShader::GetMaterial(NodeId node) const
{
    const Node* pNode = GetNode(node);
    if (!dbAssert(pNode) || !dbAssert(pNode->nodeType == NT_Light))
        return nullptr;
    return &pNode->material;
}

uint32 NullShader::GetNodeCount() const
{
    uint32 count = 0;
    for (const Node& n : m_cNode)
        count += n.live ? 1 : 0;
    return count;
}
} // namespace fr
