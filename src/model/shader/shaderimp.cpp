#include "model/shader/shaderimp.h"

#include "foundation/debug.h"
#include "names/memorypool.h"
#include "render/device.h"

#include <new>

namespace
{
MemoryPool& ChannelPool()
{
    return MemoryPool::Get("ShaderChannelPool");
}

ShaderChannel MakeDefault(uint32 colour)
{
    ShaderChannel c;
    c.colour = colour;
    c.baseColour = colour;
    return c;
}

// What a channel reads while it has no record of its own: white diffuse, opacity and lighting,
// black for the rest, all opaque.
const ShaderChannel s_default[Shader::CN_Count] = {
    MakeDefault(0xFFFFFFFF), MakeDefault(0xFF000000), MakeDefault(0xFF000000), MakeDefault(0xFF000000),
    MakeDefault(0xFFFFFFFF), MakeDefault(0xFF000000), MakeDefault(0xFFFFFFFF),
};

// Operators of N0 to N5: N0 sums the lit surface and the shine, N1 lights the surface colour,
// N2 adds self illumination to the light, N3 lights the material, N4 gives the surface colour
// (and takes the opacity once the alpha test asks for it), N5 sums reflection and specular.
const fr::OpKind s_opKind[ShaderImp::OpNodeCount] = {fr::OP_Add,   fr::OP_Modulate,   fr::OP_Add,
                                                     fr::OP_Light, fr::OP_SelectArg0, fr::OP_Add};
// The combine operator of a channel by its method; only methods 2 and 3 combine.
const fr::OpKind s_combineKind[4] = {fr::OP_SelectArg0, fr::OP_SelectArg0, fr::OP_Modulate, fr::OP_Blend};

// The colour of the fifth input is always opaque black in the tree.
constexpr uint32 s_fifthColour = 0xFF000000;

struct ChannelOverride
{
    int32 method = Shader::Method_Colour;
    uint32 colour = 0;
    Inv::Reference<Texture> texture;
};
ChannelOverride s_override[Shader::CN_Count];
uint32 s_overrideGeneration = 0;
int32 s_activeTeam = -1;

bool IsOneBitAlpha(fr::PixelFormat f)
{
    return f == fr::PF_A1R5G5B5 || f == fr::PF_DXT1;
}
bool IsSmoothAlpha(fr::PixelFormat f)
{
    return f == fr::PF_A8R8G8B8 || f == fr::PF_DXT3 || f == fr::PF_DXT5;
}
} // namespace

const fr::Material ShaderImp::s_defaultMaterial = {{1, 1, 1, 1}, {1, 1, 1, 1}, {0, 0, 0, 1}, {0, 0, 0, 1}, 0};

void ShaderImp::ChannelDeleter::operator()(ShaderChannel* p) const
{
    p->~ShaderChannel();
    ChannelPool().Free(p);
}

ShaderImp::ShaderImp() = default;

ShaderImp::ShaderImp(const char* name)
{
    ShaderImp::SetName(name);
}

ShaderImp::~ShaderImp() = default;

void ShaderImp::SetName(const char* name)
{
    if (IsInInventory())
    {
        // The inventory's assertion; the shader keeps its name.
        Inv::NamedResource::SetName(name);
        return;
    }
    Inv::NamedResource::SetName(name);
    m_name = ra::MakeName(name);
}

const ShaderChannel& ShaderImp::Read(uint32 n) const
{
    if (!dbAssert(n < CN_Count))
        return s_default[0];
    return m_pChannel[n] ? *m_pChannel[n] : s_default[n];
}

ShaderChannel* ShaderImp::Write(uint32 n)
{
    if (!m_pChannel[n])
    {
        void* p = ChannelPool().Alloc(sizeof(ShaderChannel));
        m_pChannel[n].reset(new (p) ShaderChannel(s_default[n]));
    }
    return m_pChannel[n].get();
}

bool ShaderImp::HasChannelData(uint32 n) const
{
    return n < CN_Count && m_pChannel[n] != nullptr;
}

void ShaderImp::MarkChanged(uint32 n)
{
    if (n < CN_Count)
        m_changed.set(n);
}

void ShaderImp::SetMethod(uint32 n, int32 method)
{
    if (!dbAssert(n < CN_Count) || Read(n).method == method)
        return;
    Write(n)->method = method;
    MarkChanged(n);
}

void ShaderImp::SetColour(uint32 n, uint32 colour)
{
    if (!dbAssert(n < CN_Count) || Read(n).colour == colour)
        return;
    Write(n)->colour = colour;
    MarkChanged(n);
    // Diffuse and opacity feed one node, colour and alpha.
    if (n == CN_Diffuse || n == CN_Opacity)
    {
        MarkChanged(CN_Diffuse);
        MarkChanged(CN_Opacity);
    }
}

void ShaderImp::SetBaseColour(uint32 n, uint32 colour)
{
    if (!dbAssert(n < CN_Count) || Read(n).baseColour == colour)
        return;
    Write(n)->baseColour = colour;
}

void ShaderImp::SetTexture(uint32 n, const Inv::Reference<Texture>& texture)
{
    if (!dbAssert(n < CN_Count) || Read(n).texture == texture)
        return;
    Write(n)->texture = texture;
    MarkChanged(n);
}

void ShaderImp::SetMode(uint32 n, uint32 which, int32 mode)
{
    if (!dbAssert(n < CN_Count) || Read(n).mode[which] == mode)
        return;
    Write(n)->mode[which] = mode;
    MarkChanged(n);
}

void ShaderImp::SetTransform(uint32 n, const fr::Matrix44& m)
{
    if (!dbAssert(n < CN_Count) || Read(n).transform == m)
        return;
    Write(n)->transform = m;
    MarkChanged(n);
}

void ShaderImp::SetBaseTransform(uint32 n, const fr::Matrix44& m)
{
    if (!dbAssert(n < CN_Count) || Read(n).baseTransform == m)
        return;
    Write(n)->baseTransform = m;
}

void ShaderImp::SetTransform2(uint32 n, const fr::Matrix44& m)
{
    if (!dbAssert(n < CN_Count) || Read(n).transform2 == m)
        return;
    Write(n)->transform2 = m;
}

void ShaderImp::SetBlend(int32 source, int32 destination)
{
    if (m_blendSource == source && m_blendDestination == destination)
        return;
    m_blendSource = source;
    m_blendDestination = destination;
    m_blendDirty = true;
}

void ShaderImp::GetBlend(int32& source, int32& destination) const
{
    source = m_blendSource;
    destination = m_blendDestination;
}

void ShaderImp::SetAlphaRef(uint8 ref)
{
    m_alphaRef = ref;
    m_autoAlphaRef = false;
    m_alphaDirty = true;
}

bool ShaderImp::IsHidden() const
{
    const ShaderChannel& diffuse = Read(CN_Diffuse);
    return m_blendSource == Blend_SrcAlpha && m_blendDestination == Blend_InvSrcAlpha &&
           (diffuse.method == Method_Colour || diffuse.method == Method_Blend) && Alpha(diffuse.colour) == 0;
}

bool ShaderImp::IsOpaque() const
{
    if (m_blendSource == Blend_One && m_blendDestination == Blend_Zero)
        return true;
    const ShaderChannel& diffuse = Read(CN_Diffuse);
    const bool usesColour = diffuse.method == Method_Colour || diffuse.method == Method_Modulate ||
                            diffuse.method == Method_Blend;
    if (usesColour && Alpha(diffuse.colour) != 0xFF)
        return false;
    for (uint32 n : {uint32(CN_Opacity), uint32(CN_Diffuse)})
    {
        const Inv::Reference<Texture>& texture = Read(n).texture;
        if (!texture.IsValid())
            continue;
        const Texture* pData = texture.Get();
        const fr::Texture* pTexture = pData ? pData->GetTexture() : nullptr;
        if (!dbAssert(pTexture))
            continue;
        const fr::PixelFormat f = pTexture->GetFormat();
        if (IsOneBitAlpha(f) || IsSmoothAlpha(f))
            return false;
    }
    return true;
}

void ShaderImp::SetTeamTextureCount(uint32 n)
{
    m_TeamTextureRefs.resize(n);
    if (m_teamChannel >= 0)
        MarkChanged(uint32(m_teamChannel));
}

void ShaderImp::SetTeamTexture(uint32 team, const Inv::Reference<Texture>& texture)
{
    if (!dbAssert(team < m_TeamTextureRefs.size()))
        return;
    m_TeamTextureRefs[team] = texture;
    if (m_teamChannel >= 0 && int32(team) == m_activeTeam)
        MarkChanged(uint32(m_teamChannel));
}

const Inv::Reference<Texture>& ShaderImp::GetTeamTexture(uint32 team) const
{
    static const Inv::Reference<Texture> s_none;
    if (!dbAssert(team < m_TeamTextureRefs.size()))
        return s_none;
    return m_TeamTextureRefs[team];
}

void ShaderImp::SetTeamChannel(int32 n)
{
    if (!dbAssert(n >= -1 && n < int32(CN_Count)) || n == m_teamChannel)
        return;
    if (m_teamChannel >= 0)
        MarkChanged(uint32(m_teamChannel));
    m_teamChannel = n;
    // The team seen is taken again at the next Update.
    m_activeTeam = -1;
    if (n >= 0)
        MarkChanged(uint32(n));
}

void ShaderImp::SetActiveTeam(int32 team)
{
    s_activeTeam = team < 0 ? -1 : team;
}

int32 ShaderImp::GetActiveTeam()
{
    return s_activeTeam;
}

void ShaderImp::SetOverrideMethod(uint32 n, int32 method)
{
    if (!dbAssert(n < CN_Count))
        return;
    s_override[n].method = method;
    ++s_overrideGeneration;
}

void ShaderImp::SetOverrideColour(uint32 n, uint32 colour)
{
    if (!dbAssert(n < CN_Count))
        return;
    s_override[n].colour = colour;
    ++s_overrideGeneration;
}

void ShaderImp::SetOverrideTexture(uint32 n, const Inv::Reference<Texture>& texture)
{
    if (!dbAssert(n < CN_Count))
        return;
    s_override[n].texture = texture;
    ++s_overrideGeneration;
}

void ShaderImp::ClearOverrides()
{
    for (ChannelOverride& o : s_override)
        o = ChannelOverride{};
    ++s_overrideGeneration;
}

void ShaderImp::SetOverride(uint32 n, bool on)
{
    if (!dbAssert(n < CN_Count) || m_overrideChannels.test(n) == on)
        return;
    m_overrideChannels.set(n, on);
    MarkChanged(n);
}

bool ShaderImp::GetOverride(uint32 n) const
{
    return n < CN_Count && m_overrideChannels.test(n);
}

const ShaderImp::ChannelOp& ShaderImp::GetChannelOp(uint32 n) const
{
    if (!dbAssert(n < CN_Count))
        return m_channelOp[0];
    return m_channelOp[n];
}

void ShaderImp::ReleaseNode(NodeId& node)
{
    if (node != fr::Shader::InvalidNode)
        m_pRenderShader->ReleaseNode(node);
    node = fr::Shader::InvalidNode;
}

bool ShaderImp::CreateTree()
{
    fr::Device* pDevice = fr::Interface::GetDevice();
    if (!dbAssert(pDevice))
        return false;
    m_pRenderShader = pDevice->CreateShader();
    if (!dbAssert(m_pRenderShader))
        return false;
    fr::Shader& rs = *m_pRenderShader;

    for (uint32 i = 0; i < OpNodeCount; ++i)
    {
        m_opNode[i] = rs.CreateNode(fr::NT_Op);
        rs.SetOperator(m_opNode[i], s_opKind[i]);
    }
    m_materialNode = rs.CreateNode(fr::NT_Light);
    rs.SetMaterial(m_materialNode, s_defaultMaterial);

    rs.SetInput(m_opNode[0], 0, m_opNode[1]);
    rs.SetInput(m_opNode[0], 1, m_opNode[5]);
    rs.SetInput(m_opNode[1], 0, m_opNode[2]);
    rs.SetInput(m_opNode[1], 1, m_opNode[4]);
    rs.SetInput(m_opNode[2], 0, m_opNode[3]);
    rs.SetInput(m_opNode[3], 0, m_materialNode);

    struct Attachment
    {
        uint32 channel;
        uint32 node;
        uint32 input;
    };
    const Attachment attach[] = {{CN_SelfIllumination, 2, 1}, {CN_Lighting, 3, 1},   {CN_Diffuse, 4, 0},
                                 {CN_Opacity, 4, 1},          {CN_Reflection, 5, 0}, {CN_Specular, 5, 1}};
    for (const Attachment& a : attach)
    {
        const uint32 n = a.channel;
        if (!dbAssert(m_channelOp[n].parent == fr::Shader::InvalidNode))
            continue;
        m_channelOp[n].parent = m_opNode[a.node];
        m_channelOp[n].parentInput = a.input;
    }

    m_root = m_opNode[0];
    rs.SetRoot(m_root);
    m_changed.set();
    m_blendDirty = true;
    m_alphaDirty = true;
    return true;
}

void ShaderImp::UpdateChannel(uint32 n)
{
    if (!dbAssert(n < CN_Count) || !m_pRenderShader)
        return;
    fr::Shader& rs = *m_pRenderShader;
    ChannelOp& op = m_channelOp[n];
    const ShaderChannel& channel = Read(n);

    int32 method = channel.method;
    uint32 colour = channel.colour;
    const Inv::Reference<Texture>* pTexture = &channel.texture;
    if (m_overrideChannels.test(n))
    {
        method = s_override[n].method;
        colour = s_override[n].colour;
        pTexture = &s_override[n].texture;
    }
    else if (int32(n) == m_teamChannel && m_activeTeam != -1)
    {
        if (dbAssert(static_cast<std::size_t>(m_activeTeam) < m_TeamTextureRefs.size()) &&
            m_TeamTextureRefs[m_activeTeam].IsValid())
            pTexture = &m_TeamTextureRefs[m_activeTeam];
    }

    if (method != Method_Colour)
    {
        if (op.texture == fr::Shader::InvalidNode)
            op.texture = rs.CreateNode(fr::NT_Texture);
        fr::TextureStage stage;
        const Texture* pData = pTexture->Get();
        stage.texture = fr::ObjectPtr<fr::Texture>::Share(pData ? pData->GetTexture() : nullptr);
        for (int i = 0; i < 3; ++i)
            stage.mode[i] = channel.mode[i];
        stage.transform = channel.transform;
        rs.SetTexture(op.texture, stage);
    }
    else
        ReleaseNode(op.texture);

    if (method != Method_Texture)
    {
        if (op.colour == fr::Shader::InvalidNode)
            op.colour = rs.CreateNode(fr::NT_Colour);
        if (n == CN_Opacity)
            colour = Read(CN_Diffuse).colour;
        else if (n == CN_Fifth)
            colour = s_fifthColour;
        rs.SetColour(op.colour, colour);
    }
    else
        ReleaseNode(op.colour);

    if (method == Method_Modulate || method == Method_Blend)
    {
        if (op.combine == fr::Shader::InvalidNode)
            op.combine = rs.CreateNode(fr::NT_Op);
        rs.SetOperator(op.combine, s_combineKind[method]);
        rs.SetInput(op.combine, 0, op.texture);
        rs.SetInput(op.combine, 1, op.colour);
    }
    else
        ReleaseNode(op.combine);

    const NodeId top = op.combine != fr::Shader::InvalidNode  ? op.combine
                       : op.colour != fr::Shader::InvalidNode ? op.colour
                                                              : op.texture;
    if (op.parent != fr::Shader::InvalidNode)
        rs.SetInput(op.parent, op.parentInput, top);
}

// Decides from the diffuse and then the opacity channel whether blending is needed at all, or
// whether an alpha test can stand for it. The tests end at the first channel that is not opaque.
void ShaderImp::RunAlphaTest()
{
    bool opaque = true;
    bool hardEdge = false;
    uint8 ref = m_alphaRef;
    for (uint32 n : {uint32(CN_Diffuse), uint32(CN_Opacity)})
    {
        const ShaderChannel& channel = Read(n);
        const bool colourOpaque = Alpha(channel.colour) == 0xFF;
        bool textureOpaque = true;
        const Texture* pData = channel.texture.Get();
        if (const fr::Texture* pTexture = pData ? pData->GetTexture() : nullptr)
        {
            const fr::PixelFormat f = pTexture->GetFormat();
            if (IsSmoothAlpha(f))
            {
                ref = 1;
                textureOpaque = false;
            }
            else if (IsOneBitAlpha(f))
            {
                ref = 128;
                textureOpaque = false;
                hardEdge = true;
            }
        }
        switch (channel.method)
        {
        case Method_Colour:
            opaque = colourOpaque;
            ref = 1;
            hardEdge = false;
            break;
        case Method_Texture:
            opaque = textureOpaque;
            break;
        case Method_Modulate:
            opaque = colourOpaque || textureOpaque;
            hardEdge = false;
            break;
        case Method_Blend:
            opaque = colourOpaque && textureOpaque;
            ref = 1;
            hardEdge = false;
            break;
        default:
            break;
        }
        if (!opaque)
            break;
    }

    if (opaque)
    {
        SetBlend(Blend_One, Blend_Zero);
        ref = 0;
    }
    else if (hardEdge)
        SetBlend(Blend_One, Blend_Zero);
    if (m_autoAlphaRef && ref != m_alphaRef)
    {
        m_alphaRef = ref;
        m_alphaDirty = true;
    }

    const ShaderChannel& opacity = Read(CN_Opacity);
    const bool opacityMatters = opacity.texture.IsValid() || Alpha(opacity.colour) != 0xFF;
    m_pRenderShader->SetOperator(m_opNode[4],
                                 !opaque && opacityMatters ? fr::OP_AlphaFromArg1 : fr::OP_SelectArg0);
}

bool ShaderImp::Update()
{
    if (!m_pRenderShader && !CreateTree())
        return false;

    if (m_teamChannel >= 0 && m_activeTeam != s_activeTeam)
    {
        m_activeTeam = s_activeTeam;
        MarkChanged(uint32(m_teamChannel));
    }
    if (m_overrideGeneration != s_overrideGeneration)
    {
        m_overrideGeneration = s_overrideGeneration;
        for (uint32 n = 0; n < CN_Count; ++n)
            if (m_overrideChannels.test(n))
                MarkChanged(n);
    }
    if (m_blendSource == Blend_SrcAlpha && m_blendDestination == Blend_InvSrcAlpha)
        RunAlphaTest();

    for (uint32 n = 0; n < CN_Count; ++n)
        if (m_changed.test(n))
            UpdateChannel(n);
    m_changed.reset();

    if (m_blendDirty)
    {
        m_pRenderShader->SetBlend(m_blendSource, m_blendDestination);
        m_pRenderShader->SetDepthWrite(m_depthWrite != 0);
        m_blendDirty = false;
    }
    if (m_alphaDirty)
    {
        m_pRenderShader->SetAlphaRef(m_alphaRef);
        m_alphaDirty = false;
    }
    return m_pRenderShader->Compile();
}
