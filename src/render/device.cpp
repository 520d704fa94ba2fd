#include "render/device.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "names/faststring.h"
#include "render/nulldevice.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace fr
{
namespace
{
Device* s_pDevice = nullptr;
void* s_pDriverLibrary = nullptr;

// "drivers/<name>.so" in the folder of the running program.
std::string DriverPath(const char* name)
{
    std::string folder = ".";
    char exe[4096];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    if (n > 0)
    {
        folder.assign(exe, std::size_t(n));
        const std::size_t slash = folder.rfind('/');
        folder = slash == std::string::npos ? "." : folder.substr(0, slash);
    }
    return folder + "/drivers/" + name + ".so";
}

// The driver's description, from the library of that name unless it is the null driver.
const DriverInfo* OpenDriver(const char* name, void*& pLibrary)
{
    pLibrary = nullptr;
    if (FastString::EqualNoCase(name, "null"))
        return &NullDevice::GetDriverInfo();
    const std::string path = DriverPath(name);
    pLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!pLibrary)
    {
        dbTracef("RENDER - %s", dlerror());
        return nullptr;
    }
    auto getInfo = reinterpret_cast<GetDriverInfoFn>(dlsym(pLibrary, "frGetDriverInfo"));
    const DriverInfo* pInfo = getInfo ? getInfo() : nullptr;
    if (!pInfo)
        dbTracef("RENDER - '%s' has no driver description.", path.c_str());
    return pInfo;
}

void CloseDriver(void*& pLibrary)
{
    if (pLibrary)
        dlclose(pLibrary);
    pLibrary = nullptr;
}

// The checks of a driver against what this program was built with; false logs the reason.
bool CheckDriver(const DriverInfo& info, int32 adapter)
{
    if (info.deviceCount == 0)
    {
        dbWarningf("DLL with no devices.");
        return false;
    }
    if (adapter < 0 || uint32(adapter) >= info.deviceCount || !info.supportsAdapter ||
        !info.supportsAdapter(adapter))
    {
        dbWarningf("Unsupported Device.");
        return false;
    }
    if (info.revision != DriverRevision)
    {
        dbWarningf("DLL with different revision number.");
        return false;
    }
    if (info.versionMajor != DriverVersionMajor)
    {
        dbWarningf("DLL with different version number.");
        return false;
    }
    return true;
}
} // namespace

bool Device::BeginScene()
{
    if (m_inScene)
        return false;
    m_inScene = true;
    return true;
}

bool Device::EndScene()
{
    if (!m_inScene)
        return false;
    m_inScene = false;
    return true;
}

bool Device::CheckInScene() const
{
    if (m_inScene)
        return true;
    dbWarningf("Interface::Render() called outside a BeginScene()/EndScene() pair. Stack trace:");
    void* frames[32];
    const int count = backtrace(frames, 32);
    if (char** pSymbols = backtrace_symbols(frames, count))
    {
        for (int i = 1; i < count; ++i)
            dbTracef("    %s", pSymbols[i]);
        std::free(pSymbols);
    }
    return false;
}

Device* Interface::CreateDevice(const DeviceDesc& desc)
{
    if (s_pDevice)
    {
        dbWarningf("Already have an active device.");
        return nullptr;
    }
    if (!dbAssert(desc.driverName))
        return nullptr;

    void* pLibrary = nullptr;
    const DriverInfo* pInfo = OpenDriver(desc.driverName, pLibrary);
    if (!pInfo)
    {
        dbWarningf("Unable to create device.");
        CloseDriver(pLibrary);
        return nullptr;
    }
    if (!CheckDriver(*pInfo, desc.adapter))
    {
        CloseDriver(pLibrary);
        return nullptr;
    }
    Device* pDevice = pInfo->createDevice ? pInfo->createDevice(desc.adapter) : nullptr;
    if (!pDevice)
    {
        dbWarningf("Unable to create device.");
        CloseDriver(pLibrary);
        return nullptr;
    }
    if (!pDevice->Open())
    {
        dbWarningf("Device didn't want to be opened.");
        pDevice->destroy();
        CloseDriver(pLibrary);
        return nullptr;
    }
    s_pDevice = pDevice;
    s_pDriverLibrary = pLibrary;
    const DriverDesc& d = pDevice->GetDescription();
    dbTracef("RENDER - Driver[%s] on adapter[%d], version[%d,%d]", d.name, int(desc.adapter),
             int(d.versionMajor), int(d.versionMinor));
    return pDevice;
}

bool Interface::DestroyDevice()
{
    if (!s_pDevice)
    {
        dbWarningf("No device to destroy.");
        return false;
    }
    s_pDevice->destroy();
    s_pDevice = nullptr;
    CloseDriver(s_pDriverLibrary);
    return true;
}

Device* Interface::GetDevice()
{
    return s_pDevice;
}
} // namespace fr
