#include "render/nulldevice.h"

#include "foundation/debug.h"

namespace
{
const fr::DriverDesc s_nullDesc = {"null", "null render driver", "Dummy Device structure",
                                   fr::DriverVersionMajor, fr::DriverVersionMinor};

bool NullSupportsAdapter(int32 adapter)
{
    return adapter == 0;
}
fr::Device* NullCreateDevice(int32)
{
    return new NullDevice;
}

const fr::DriverInfo s_nullDriver = {fr::DriverRevision,  fr::DriverVersionMajor, fr::DriverVersionMinor, 1,
                                     NullSupportsAdapter, NullCreateDevice};
} // namespace

const fr::DriverDesc& NullDevice::GetDescription() const
{
    return s_nullDesc;
}

const fr::DriverInfo& NullDevice::GetDriverInfo()
{
    return s_nullDriver;
}

std::unique_ptr<fr::VertexSet> NullDevice::CreateVertexSet()
{
    return std::make_unique<fr::NullVertexSet>();
}

std::unique_ptr<fr::PrimSet> NullDevice::CreatePrimSet()
{
    return std::make_unique<fr::NullPrimSet>();
}

fr::ObjectPtr<fr::Texture> NullDevice::CreateTexture(uint32 width, uint32 height, uint32 mipCount,
                                                     fr::PixelFormat format, bool autoMip)
{
    if (!dbAssert(width > 0 && height > 0) || !dbAssert(format < fr::PF_Count))
        return {};
    if (!dbAssert(width <= MaxTextureSize && height <= MaxTextureSize))
        return {};
    if (autoMip && !dbAssert(!fr::IsCompressed(format)))
        return {};
    const uint32 fullChain = fr::GetFullMipCount(width, height);
    if (autoMip || mipCount > fullChain)
        mipCount = fullChain;
    if (mipCount == 0)
        mipCount = 1;
    return fr::ObjectPtr<fr::Texture>::Adopt(new fr::NullTexture(width, height, mipCount, format, autoMip));
}

fr::ObjectPtr<fr::Shader> NullDevice::CreateShader()
{
    return fr::ObjectPtr<fr::Shader>::Adopt(new fr::NullShader);
}
