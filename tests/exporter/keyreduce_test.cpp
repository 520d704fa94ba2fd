// Key reduction of control streams, on short streams whose survivors are worked out by hand through
// the order in which a pass visits the keys.
#include "exporter/keyreduce.h"
#include "model/anim/animstream.h"

#include <gtest/gtest.h>

namespace
{
using Keys = std::vector<std::pair<float, float>>;

// Values at even times from 0 to 1.
Keys Even(const std::vector<float>& values)
{
    Keys keys;
    for (size_t k = 0; k < values.size(); ++k)
        keys.emplace_back(values.size() > 1 ? float(k) / float(values.size() - 1) : 0.0f, values[k]);
    return keys;
}

TEST(KeyReduce, SurvivorsFollowThePassOrder)
{
    // what, keys in, keys removed, keys out
    // clang-format off
    const std::tuple<const char*, Keys, uint32, Keys> cases[] = {
        {"straight line keeps its ends", Even({0, 0.25f, 0.5f, 0.75f, 1}), 3, {{0, 0}, {1, 1}}},
        {"flat start goes, corner before the jump stays", Even({0, 1, 2, 3, 10}), 2, {{0, 0}, {0.75f, 3}, {1, 10}}},
        {"two keys within tolerance", Even({0, 0.004f}), 1, {{0, 0}}},
        {"two keys apart", Even({0, 0.006f}), 0, Even({0, 0.006f})},
        // The middle key goes in pass 1; pass 2 finds two keys within the tolerance.
        {"small drift ends in the first key", Even({0, 0.001f, 0.002f}), 2, {{0, 0}}},
        // Pass 1: 0.25 lies on the line 0..0 and goes; then 0.75 (0.003 against 0.006 of the line from
        // 0.5 to 1) goes. Pass 2: 0.5 is 0.006 off the line from 0 to 0.012 and stays.
        {"five keys", Even({0, 0, 0, 0.003f, 0.012f}), 2, {{0, 0}, {0.5f, 0}, {1, 0.012f}}},
        // 0.25 and 0.75 are put back, each skipping the key after it: 0.5 is never tried although it
        // lies within 0.002 of the line between its neighbours.
        {"key put back skips its right neighbour", Even({0, 0, 0.012f, 0.02f, 0}), 0, Even({0, 0, 0.012f, 0.02f, 0})},
        {"uneven times interpolate by time", {{0, 0}, {0.1f, 0.1f}, {1, 1}}, 1, {{0, 0}, {1, 1}}},
        {"the same values at even times are 0.4 off", Even({0, 0.1f, 1}), 0, Even({0, 0.1f, 1})},
        {"empty", {}, 0, {}},
    };
    // clang-format on
    for (const auto& [what, in, removed, expected] : cases)
    {
        ControlStream stream(uint32(in.size()));
        for (size_t k = 0; k < in.size(); ++k)
            stream.SetTime(uint32(k), in[k].first), stream.SetValue(uint32(k), in[k].second);
        EXPECT_EQ(ReduceKeys(stream), removed) << what;
        Keys out;
        for (uint32 k = 0; k < stream.GetKeyCount(); ++k)
            out.emplace_back(stream.GetKeyTime(k), stream.GetKeyValue(k));
        EXPECT_EQ(out, expected) << what;
    }
}
} // namespace
