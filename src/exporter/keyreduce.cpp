#include "exporter/keyreduce.h"

#include "model/anim/animstream.h"

namespace
{
// One pass. A key put back makes the pass skip its right neighbour, and a removal steps past the
// key that moved into its place: a pass looks at about every second key, and the result depends on
// that order, so the repeated passes finish the job.
uint32 ReducePass(ControlStream& stream)
{
    uint32 removed = 0;
    uint32 i = 1;
    for (;;)
    {
        const uint32 keyCount = stream.GetKeyCount();
        if (i >= keyCount || (i > 1 && i == keyCount - 1))
            break;

        const float time = stream.GetKeyTime(i);
        const float value = stream.GetKeyValue(i);
        stream.Remove(i);

        // A fresh hint: the removal moved the keys under any hint kept from before.
        int16 hint = 0;
        const float d = stream.Evaluate(time, true, hint) - value;
        if (d > KeyReduceTolerance || d < -KeyReduceTolerance)
        {
            stream.Insert(time, value);
            i += 2;
        }
        else
        {
            ++removed;
            i += 1;
        }
    }
    return removed;
}
} // namespace

uint32 ReduceKeys(ControlStream& stream)
{
    uint32 total = 0;
    for (;;)
    {
        const uint32 removed = ReducePass(stream);
        if (removed == 0)
            break;
        total += removed;
    }
    return total;
}
