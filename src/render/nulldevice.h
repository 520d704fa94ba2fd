// The device of the driver "Null": no drawing, every object in plain memory. Exporters, mergers
// and file writers fill and read the same objects as the game does.
#pragma once

#include "render/device.h"

class NullDevice final : public fr::Device
{
public:
    static constexpr uint32 MaxTextureSize = 4096;

    bool Open() override { return true; }
    const fr::DriverDesc& GetDescription() const override;
    std::unique_ptr<fr::VertexSet> CreateVertexSet() override;
    std::unique_ptr<fr::PrimSet> CreatePrimSet() override;
    fr::ObjectPtr<fr::Texture> CreateTexture(uint32 width, uint32 height, uint32 mipCount,
                                             fr::PixelFormat format, bool autoMip) override;
    fr::ObjectPtr<fr::Shader> CreateShader() override;
    uint32 GetMaxTextureSize() const override { return MaxTextureSize; }

    // The driver description of "Null", as a library would export it.
    static const fr::DriverInfo& GetDriverInfo();
};
