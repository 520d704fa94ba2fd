// Render shaders: a small tree of nodes (operators, colours, textures, a light) that the model
// library builds for each material, plus the blend state. The null shader keeps the tree so that
// tools and tests can walk it; no drawing happens.
#pragma once

#include "render/core.h"
#include "render/matrix.h"
#include "render/texture.h"

#include <vector>

namespace fr
{
enum NodeType : uint32
{
    NT_Op = 0,
    NT_Colour,
    NT_Texture,
    NT_Light
};

// Operator kinds of an NT_Op node.
enum OpKind : uint32
{
    OP_SelectArg0 = 0,    // input 0 as it stands
    OP_Modulate = 1,      // input 0 times input 1
    OP_Add = 2,           // input 0 plus input 1
    OP_AlphaFromArg1 = 3, // colour of input 0, its alpha times that of input 1
    OP_Light = 4,         // the light material of input 0 lit, plus input 1
    OP_Blend = 5,         // input 0 over input 1 by the alpha of input 0
    OP_Count
};

// The content of an NT_Light node: diffuse, ambient, specular and emissive colours, and the power.
struct Material
{
    float diffuse[4];
    float ambient[4];
    float specular[4];
    float emissive[4];
    float power;
};
static_assert(sizeof(Material) == 17 * sizeof(float));

// What an NT_Texture node samples, with how.
struct TextureStage
{
    ObjectPtr<Texture> texture;
    int32 mode[3] = {0, 0, 0}; // address mode, filter, coordinate source: passed through as given
    Matrix44 transform = Matrix44::Identity();
};

class Shader : public Object
{
public:
    using NodeId = int32;
    static constexpr NodeId InvalidNode = -1;

    virtual NodeId CreateNode(NodeType type) = 0;
    virtual void ReleaseNode(NodeId node) = 0;
    virtual void SetOperator(NodeId node, OpKind op) = 0;
    // Input `param` (0 or 1) of an operator node.
    virtual void SetInput(NodeId node, uint32 param, NodeId input) = 0;
    virtual void SetColour(NodeId node, uint32 colour) = 0;
    virtual void SetTexture(NodeId node, const TextureStage& stage) = 0;
    virtual void SetMaterial(NodeId node, const Material& material) = 0;
    virtual void SetRoot(NodeId node) = 0;
    virtual NodeId GetRoot() const = 0;

    virtual void SetBlend(int32 source, int32 destination) = 0;
    virtual void SetAlphaRef(uint8 ref) = 0;
    virtual void SetDepthWrite(bool on) = 0;
    // Turns the tree into what the device draws with.
    virtual bool Compile() = 0;
};

class NullShader final : public Shader
{
public:
    NodeId CreateNode(NodeType type) override;
    void ReleaseNode(NodeId node) override;
    void SetOperator(NodeId node, OpKind op) override;
    void SetInput(NodeId node, uint32 param, NodeId input) override;
    void SetColour(NodeId node, uint32 colour) override;
    void SetTexture(NodeId node, const TextureStage& stage) override;
    void SetMaterial(NodeId node, const Material& material) override;
    void SetRoot(NodeId node) override { m_root = node; }
    NodeId GetRoot() const override { return m_root; }
    void SetBlend(int32 source, int32 destination) override;
    void SetAlphaRef(uint8 ref) override { m_alphaRef = ref; }
    void SetDepthWrite(bool on) override { m_depthWrite = on; }
    bool Compile() override;

    // What the tree holds, for tools and tests. An id that names no live node is an assertion.
    bool IsNode(NodeId node) const;
    NodeType GetNodeType(NodeId node) const;
    OpKind GetOperator(NodeId node) const;
    NodeId GetInput(NodeId node, uint32 param) const;
    uint32 GetColour(NodeId node) const;
    const TextureStage* GetTexture(NodeId node) const;
    const Material* GetMaterial(NodeId node) const;
    // Nodes alive now.
    uint32 GetNodeCount() const;
    int32 GetBlendSource() const { return m_blendSource; }
    int32 GetBlendDestination() const { return m_blendDestination; }
    uint8 GetAlphaRef() const { return m_alphaRef; }
    bool GetDepthWrite() const { return m_depthWrite; }
    uint32 GetCompileCount() const { return m_compileCount; }

private:
    struct Node
    {
        bool live = false;
        NodeType nodeType = NT_Op;
        OpKind op = OP_SelectArg0;
        NodeId input[2] = {InvalidNode, InvalidNode};
        uint32 colour = 0;
        TextureStage stage;
        Material material{};
    };

    Node* GetNode(NodeId node);
    const Node* GetNode(NodeId node) const;

    std::vector<Node> m_cNode;
    NodeId m_root = InvalidNode;
    int32 m_blendSource = 1;
    int32 m_blendDestination = 0;
    uint8 m_alphaRef = 0;
    bool m_depthWrite = true;
    uint32 m_compileCount = 0;
};
} // namespace fr
