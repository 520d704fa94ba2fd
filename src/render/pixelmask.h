// Turns the bit mask of one colour channel (0xF800 for the red of a 565 pixel) into the shift
// that brings the channel down to bit 0 and the loss, the bits it lacks against 8.
#pragma once

#include "foundation/types.h"

namespace fr
{
struct MaskShift
{
    int32 shift;
    int32 loss;
};

// A mask of 0 gives shift 0 and loss 8. A mask whose set bits are not one run is an assertion;
// the run found first counts. A channel wider than 8 bits gives a negative loss.
MaskShift MaskToShiftLoss(uint32 mask);
} // namespace fr
