#include "render/pixelmask.h"

#include "foundation/debug.h"

namespace fr
{
MaskShift MaskToShiftLoss(uint32 mask)
{
    MaskShift r{0, 8};
    if (mask == 0)
        return r;
    while ((mask & 1) == 0)
    {
        mask >>= 1;
        ++r.shift;
    }
    while (mask & 1)
    {
        mask >>= 1;
        --r.loss;
    }
    dbAssert(mask == 0);
    return r;
}
} // namespace fr
