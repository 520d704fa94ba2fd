// A driver library for the device creation tests: each build of it breaks one rule of the
// driver description, chosen by TEST_DRIVER_FAULT.
#include "render/device.h"

namespace
{
bool SupportsFirstAdapter(int32 adapter)
{
    return adapter == 0;
}
fr::Device* CreateNothing(int32)
{
    return nullptr;
}

constexpr int Fault = TEST_DRIVER_FAULT;
const fr::DriverInfo s_info = {
    Fault == 1 ? fr::DriverRevision + 1 : fr::DriverRevision,
    Fault == 2 ? fr::DriverVersionMajor + 1 : fr::DriverVersionMajor,
    fr::DriverVersionMinor,
    Fault == 3 ? 0u : 1u,
    SupportsFirstAdapter,
    CreateNothing,
};
} // namespace

extern "C" const fr::DriverInfo* frGetDriverInfo()
{
    return &s_info;
}
