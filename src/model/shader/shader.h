// Shader: the material resource of a model, seven channels of colour, texture and transform that
// the game turns into a render-layer shader tree. ShaderImp (shaderimp.h) is its one implementation.
#pragma once

#include "inventory/inventory.h"
#include "model/shader/texture.h"
#include "names/name.h"
#include "render/matrix.h"
#include "render/shader.h"

#include <memory>

class ShaderImp;

class Shader : public Inv::NamedResource
{
public:
    // Channels. Files carry 0 to 5; the lighting input exists only in the object.
    enum Channel : uint32
    {
        CN_Diffuse = 0,
        CN_Specular = 1,
        CN_Reflection = 2,
        CN_SelfIllumination = 3,
        CN_Opacity = 4,
        CN_Fifth = 5, // the colour of the fifth input (specular level)
        CN_Lighting = 6,
        CN_Count = 7
    };
    static constexpr uint32 FileChannelCount = 6;

    // Blend factors the shader logic tests for.
    static constexpr int32 Blend_One = 1;
    static constexpr int32 Blend_Zero = 0;
    static constexpr int32 Blend_SrcAlpha = 6;
    static constexpr int32 Blend_InvSrcAlpha = 7;

    // Channel methods.
    static constexpr int32 Method_Colour = 0;
    static constexpr int32 Method_Texture = 1;
    static constexpr int32 Method_Modulate = 2;
    static constexpr int32 Method_Blend = 3;

    // A colour is one 32-bit word, low byte first; byte 3 is alpha.
    static constexpr uint8 Alpha(uint32 colour) { return uint8(colour >> 24); }
    // The substitute of a missing texture: opaque pink.
    static constexpr uint32 MissingTextureColour = 0xFFFF00FF;

    // The word that messages use for a channel: "Specular", "Reflection", "Self Illumination",
    // "Opacity", "Specular" again for the fifth; null for the diffuse and lighting channels.
    static const char* GetChannelWord(uint32 n);

    // The inventory type of shaders.
    static Inv::ResourceTypeInfo* GetTypeInfo();

    ~Shader() override = default;

    void SetName(const char* name) override = 0;
    // Hides the inventory's text name: a shader is known by its ra::Name. The text stays at
    // Inv::NamedResource::GetName.
    virtual ra::Name GetName() const = 0;
    // A shared shader lives in a shared shader file and is written by reference.
    virtual void SetShared(bool shared) = 0;
    virtual bool IsShared() const = 0;
    // Builds or refreshes the render-layer tree from the channels that changed.
    virtual bool Update() = 0;
    virtual bool IsOpaque() const = 0;
    virtual bool IsHidden() const = 0;
    virtual const fr::Shader* GetRenderShader() const = 0;
    virtual fr::Shader* GetRenderShader() = 0;
    virtual void SetBlend(int32 source, int32 destination) = 0;
    virtual void GetBlend(int32& source, int32& destination) const = 0;
    virtual void SetFloat(float value) = 0;
    virtual float GetFloat() const = 0;
    virtual void SetInt(int32 value) = 0;
    virtual int32 GetInt() const = 0;
    virtual void SetByte(uint8 value) = 0;
    virtual uint8 GetByte() const = 0;
    // Storing a reference turns its automatic setting by the alpha test off for good.
    virtual void SetAlphaRef(uint8 ref) = 0;
    virtual uint8 GetAlphaRef() const = 0;

    virtual int32 GetMethod(uint32 n) const = 0;
    virtual void SetMethod(uint32 n, int32 method) = 0;
    virtual void SetColour(uint32 n, uint32 colour) = 0;
    virtual uint32 GetColour(uint32 n) const = 0;
    virtual void SetBaseColour(uint32 n, uint32 colour) = 0;
    virtual uint32 GetBaseColour(uint32 n) const = 0;
    virtual void SetTexture(uint32 n, const Inv::Reference<Texture>& texture) = 0;
    virtual const Inv::Reference<Texture>& GetTexture(uint32 n) const = 0;
    // The three modes go to the render layer unchanged: address mode, filter, coordinate source.
    virtual void SetAddressMode(uint32 n, int32 mode) = 0;
    virtual int32 GetAddressMode(uint32 n) const = 0;
    virtual void SetFilterMode(uint32 n, int32 mode) = 0;
    virtual int32 GetFilterMode(uint32 n) const = 0;
    virtual void SetCoordMode(uint32 n, int32 mode) = 0;
    virtual int32 GetCoordMode(uint32 n) const = 0;
    virtual void SetTransform(uint32 n, const fr::Matrix44& m) = 0;
    virtual const fr::Matrix44& GetTransform(uint32 n) const = 0;
    virtual void SetBaseTransform(uint32 n, const fr::Matrix44& m) = 0;
    virtual const fr::Matrix44& GetBaseTransform(uint32 n) const = 0;
    virtual void SetTransform2(uint32 n, const fr::Matrix44& m) = 0;
    virtual const fr::Matrix44& GetTransform2(uint32 n) const = 0;
};

// What a model file's channel does with the texture name it carries: finds the texture in the
// inventory and sets it on the channel. A texture that isn't there never fails the load: the
// channel becomes opaque pink (method 0, colour 0xFFFF00FF) and the pink line is logged with the
// model, shader and texture names. With `warnChannel`, a texture on a channel other than the
// diffuse one is reported first (and kept). True when the texture was found.
bool SetChannelTextureByName(Shader& shader, uint32 n, const char* textureName, const char* modelName,
                             bool warnChannel);
