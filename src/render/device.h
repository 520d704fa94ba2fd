// The render device and its creation by driver name. Tools run on the driver "Null", whose
// device keeps every object in memory; other drivers are libraries in the folder "drivers/"
// beside the program, each exporting frGetDriverInfo.
#pragma once

#include "render/core.h"
#include "render/matrix.h"
#include "render/primset.h"
#include "render/shader.h"
#include "render/texture.h"
#include "render/vertexset.h"

#include <memory>

namespace fr
{
// What a driver library must have been built against.
constexpr uint32 DriverRevision = 3;
constexpr uint32 DriverVersionMajor = 1;
constexpr uint32 DriverVersionMinor = 0;

struct DriverDesc
{
    const char* name;
    const char* description;
    const char* deviceDescription;
    uint32 versionMajor;
    uint32 versionMinor;
};

class Device : public Core
{
public:
    // Called once after the driver made the device; false refuses it.
    virtual bool Open() = 0;
    virtual const DriverDesc& GetDescription() const = 0;
    virtual std::unique_ptr<VertexSet> CreateVertexSet() = 0;
    virtual std::unique_ptr<PrimSet> CreatePrimSet() = 0;
    // Null for a size of 0, a format that is none, or automatic mips of a compressed format.
    // With `autoMip` the texture has the whole chain and `mipCount` is not used.
    virtual ObjectPtr<Texture> CreateTexture(uint32 width, uint32 height, uint32 mipCount, PixelFormat format,
                                             bool autoMip) = 0;
    virtual ObjectPtr<Shader> CreateShader() = 0;
    // The largest side of a texture the device takes.
    virtual uint32 GetMaxTextureSize() const = 0;

    bool BeginScene();
    bool EndScene();
    bool IsInScene() const { return m_inScene; }
    // True inside a scene; otherwise logs the misuse with the stack and gives false.
    bool CheckInScene() const;
    MatrixStack& GetWorldStack() { return m_worldStack; }

private:
    bool m_inScene = false;
    MatrixStack m_worldStack;
};

// What a driver library hands out through `extern "C" const fr::DriverInfo* frGetDriverInfo()`.
struct DriverInfo
{
    uint32 revision;
    uint32 versionMajor;
    uint32 versionMinor;
    uint32 deviceCount;
    bool (*supportsAdapter)(int32 adapter);
    Device* (*createDevice)(int32 adapter);
};
using GetDriverInfoFn = const DriverInfo* (*)();

struct DeviceDesc
{
    const char* driverName = "Null";
    int32 adapter = 0;
};

// One device at a time, made after the log and aliases and before the inventory, destroyed after
// the inventory; every render object must be released before the device goes.
class Interface
{
public:
    // The device, or null with the reason logged.
    static Device* CreateDevice(const DeviceDesc& desc);
    static bool DestroyDevice();
    static Device* GetDevice();
};
} // namespace fr
