// ShaderImp: the one implementation of Shader. Channels are copied on write from static defaults
// into records of the pool "ShaderChannelPool", so a shader that keeps its defaults holds none.
// The render-layer tree is made at the first Update; later Updates rebuild only the channels
// that changed.
#pragma once

#include "model/shader/shader.h"

#include <bitset>
#include <vector>

// The data of one channel.
struct ShaderChannel
{
    int32 method = Shader::Method_Colour;
    uint32 colour = 0xFFFFFFFF;
    Inv::Reference<Texture> texture;
    int32 mode[3] = {0, 0, 0};
    fr::Matrix44 transform = fr::Matrix44::Identity();
    uint32 baseColour = 0xFFFFFFFF;
    fr::Matrix44 baseTransform = fr::Matrix44::Identity();
    fr::Matrix44 transform2 = fr::Matrix44::Identity();
};

class ShaderImp final : public Shader
{
public:
    using NodeId = fr::Shader::NodeId;

    // The nodes of one channel, and where its top node plugs into the tree.
    struct ChannelOp
    {
        NodeId combine = fr::Shader::InvalidNode;
        NodeId colour = fr::Shader::InvalidNode;
        NodeId texture = fr::Shader::InvalidNode;
        NodeId parent = fr::Shader::InvalidNode;
        uint32 parentInput = 0;
    };
    static constexpr uint32 OpNodeCount = 6;
    // The material node's seventeen floats: white diffuse and ambient, black specular and
    // emissive, power 0.
    static const fr::Material s_defaultMaterial;

    ShaderImp();
    explicit ShaderImp(const char* name);
    ~ShaderImp() override;
    ShaderImp(const ShaderImp&) = delete;
    ShaderImp& operator=(const ShaderImp&) = delete;

    void SetName(const char* name) override;
    ra::Name GetName() const override { return m_name; }
    void SetShared(bool shared) override { m_shared = shared; }
    bool IsShared() const override { return m_shared; }
    bool Update() override;
    bool IsOpaque() const override;
    bool IsHidden() const override;
    const fr::Shader* GetRenderShader() const override { return m_pRenderShader.get(); }
    fr::Shader* GetRenderShader() override { return m_pRenderShader.get(); }
    void SetBlend(int32 source, int32 destination) override;
    void GetBlend(int32& source, int32& destination) const override;
    void SetFloat(float value) override { m_float = value; }
    float GetFloat() const override { return m_float; }
    void SetInt(int32 value) override { m_int = value; }
    int32 GetInt() const override { return m_int; }
    void SetByte(uint8 value) override { m_byte = value; }
    uint8 GetByte() const override { return m_byte; }
    void SetAlphaRef(uint8 ref) override;
    uint8 GetAlphaRef() const override { return m_alphaRef; }

    int32 GetMethod(uint32 n) const override { return Read(n).method; }
    void SetMethod(uint32 n, int32 method) override;
    void SetColour(uint32 n, uint32 colour) override;
    uint32 GetColour(uint32 n) const override { return Read(n).colour; }
    void SetBaseColour(uint32 n, uint32 colour) override;
    uint32 GetBaseColour(uint32 n) const override { return Read(n).baseColour; }
    void SetTexture(uint32 n, const Inv::Reference<Texture>& texture) override;
    const Inv::Reference<Texture>& GetTexture(uint32 n) const override { return Read(n).texture; }
    void SetAddressMode(uint32 n, int32 mode) override { SetMode(n, 0, mode); }
    int32 GetAddressMode(uint32 n) const override { return Read(n).mode[0]; }
    void SetFilterMode(uint32 n, int32 mode) override { SetMode(n, 1, mode); }
    int32 GetFilterMode(uint32 n) const override { return Read(n).mode[1]; }
    void SetCoordMode(uint32 n, int32 mode) override { SetMode(n, 2, mode); }
    int32 GetCoordMode(uint32 n) const override { return Read(n).mode[2]; }
    void SetTransform(uint32 n, const fr::Matrix44& m) override;
    const fr::Matrix44& GetTransform(uint32 n) const override { return Read(n).transform; }
    void SetBaseTransform(uint32 n, const fr::Matrix44& m) override;
    const fr::Matrix44& GetBaseTransform(uint32 n) const override { return Read(n).baseTransform; }
    void SetTransform2(uint32 n, const fr::Matrix44& m) override;
    const fr::Matrix44& GetTransform2(uint32 n) const override { return Read(n).transform2; }

    // Team textures: one per team, on the team channel (-1 for none).
    void SetTeamTextureCount(uint32 n);
    uint32 GetTeamTextureCount() const { return uint32(m_TeamTextureRefs.size()); }
    void SetTeamTexture(uint32 team, const Inv::Reference<Texture>& texture);
    const Inv::Reference<Texture>& GetTeamTexture(uint32 team) const;
    void SetTeamChannel(int32 n);
    int32 GetTeamChannel() const { return m_teamChannel; }

    // The team whose textures every shader shows, noticed by each shader at its next Update.
    static void SetActiveTeam(int32 team);
    static void ClearActiveTeam() { SetActiveTeam(-1); }
    static int32 GetActiveTeam();

    // The global channel overrides with which the game paints selected or hidden units: a shader
    // whose override bit of a channel is on builds that channel from the override instead.
    static void SetOverrideMethod(uint32 n, int32 method);
    static void SetOverrideColour(uint32 n, uint32 colour);
    static void SetOverrideTexture(uint32 n, const Inv::Reference<Texture>& texture);
    // Back to method 0, colour 0, no texture, on every channel. Textures held by the overrides are
    // let go here, which must happen before the inventory goes.
    static void ClearOverrides();
    void SetOverride(uint32 n, bool on);
    bool GetOverride(uint32 n) const;

    // Builds the nodes of one channel (see Update); the top node goes to the channel's parent.
    void UpdateChannel(uint32 n);

    // Whether channel n holds a record of its own (false while it reads the defaults).
    bool HasChannelData(uint32 n) const;
    const ChannelOp& GetChannelOp(uint32 n) const;
    NodeId GetOpNode(uint32 i) const { return i < OpNodeCount ? m_opNode[i] : fr::Shader::InvalidNode; }
    NodeId GetMaterialNode() const { return m_materialNode; }
    // Channels that changed since the last Update.
    std::bitset<CN_Count> GetChangedChannels() const { return m_changed; }

private:
    struct ChannelDeleter
    {
        void operator()(ShaderChannel* p) const;
    };
    using ChannelPtr = std::unique_ptr<ShaderChannel, ChannelDeleter>;

    const ShaderChannel& Read(uint32 n) const;
    // The channel's own record, made from the defaults on first write.
    ShaderChannel* Write(uint32 n);
    void SetMode(uint32 n, uint32 which, int32 mode);
    void MarkChanged(uint32 n);
    bool CreateTree();
    void RunAlphaTest();
    void ReleaseNode(NodeId& node);

    ra::Name m_name;
    bool m_shared = false;
    ChannelPtr m_pChannel[CN_Count];
    ChannelOp m_channelOp[CN_Count];
    fr::ObjectPtr<fr::Shader> m_pRenderShader;
    NodeId m_root = fr::Shader::InvalidNode;
    NodeId m_opNode[OpNodeCount] = {fr::Shader::InvalidNode, fr::Shader::InvalidNode,
                                    fr::Shader::InvalidNode, fr::Shader::InvalidNode,
                                    fr::Shader::InvalidNode, fr::Shader::InvalidNode};
    NodeId m_materialNode = fr::Shader::InvalidNode;
    int32 m_blendSource = Blend_One;
    int32 m_blendDestination = Blend_Zero;
    float m_float = 0;
    int32 m_int = 0;
    uint8 m_byte = 0;
    std::bitset<CN_Count> m_changed;
    bool m_blendDirty = true;
    uint8 m_depthWrite = 1;
    uint8 m_alphaRef = 1;
    bool m_alphaDirty = true;
    bool m_autoAlphaRef = true;
    std::vector<Inv::Reference<Texture>> m_TeamTextureRefs;
    int32 m_teamChannel = -1;
    int32 m_activeTeam = -1;
    std::bitset<CN_Count> m_overrideChannels;
    uint32 m_overrideGeneration = 0;
};
