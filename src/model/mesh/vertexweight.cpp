#include "model/mesh/vertexweight.h"

#include "foundation/debug.h"
#include "foundation/output.h"

#include <algorithm>
#include <cstring>

void VertexWeight::Clear()
{
    for (uint32 i = 0; i < MaxInfluences; ++i)
    {
        index[i] = NoBone;
        weight[i] = 0;
    }
}

void VertexWeight::AddWeight(uint8 boneSlot, float w)
{
    if (!dbAssert((w >= 0) && (w <= 1)))
        return;
    for (uint32 i = 0; i < MaxInfluences; ++i)
    {
        if (index[i] == boneSlot)
        {
            weight[i] += w;
            return;
        }
    }
    for (uint32 pos = 0; pos < MaxInfluences; ++pos)
    {
        if (weight[pos] < w)
        {
            for (uint32 j = MaxInfluences - 1; j > pos; --j)
            {
                index[j] = index[j - 1];
                weight[j] = weight[j - 1];
            }
            index[pos] = boneSlot;
            weight[pos] = w;
            return;
        }
    }
    // Weaker than the four held: the influence is dropped.
}

void VertexWeight::Normalize()
{
    for (uint32 i = 0; i < MaxInfluences; ++i)
    {
        if (weight[i] < MinWeight)
        {
            if (weight[i] > 0)
                dbTracef("Rejecting bone weight for strength %f\n", double(weight[i]));
            index[i] = NoBone;
            weight[i] = 0;
        }
    }

    struct Entry
    {
        uint8 slot;
        uint8 position;
    };
    Entry scratch[MaxInfluences];
    float saved[MaxInfluences];
    for (uint32 i = 0; i < MaxInfluences; ++i)
    {
        scratch[i] = {index[i], uint8(i)};
        saved[i] = weight[i];
        weight[i] = 0;
    }
    // By slot alone; free slots (0xFF) go last.
    std::stable_sort(std::begin(scratch), std::end(scratch),
                     [](const Entry& a, const Entry& b) { return a.slot < b.slot; });

    uint32 duplicates = 0;
    for (uint32 i = 0; i < MaxInfluences; ++i)
    {
        if (i > 0 && scratch[i].slot == scratch[i - 1].slot)
            ++duplicates;
        index[i - duplicates] = scratch[i].slot;
        weight[i - duplicates] += saved[scratch[i].position];
    }
    for (uint32 i = MaxInfluences - duplicates; i < MaxInfluences; ++i)
    {
        index[i] = NoBone;
        weight[i] = 0;
    }
    dbAssert(weight[0] + weight[1] + weight[2] + weight[3] < 1.0001f);
}

void VertexWeight::Pack(uint8 (&out)[PackedSize]) const
{
    dbAssert(weight[0] + weight[1] + weight[2] + weight[3] <= 1.001f);
    const float s = Sum();
    // No weight at all: scale by the sum itself, which is 0, rather than divide.
    const float k = s > 0 ? 1.0f / s : s;
    const float scaled[3] = {weight[0] * k, weight[1] * k, weight[2] * k};
    std::memcpy(out, scaled, sizeof(scaled));
    std::memcpy(out + sizeof(scaled), index, MaxInfluences);
}

void VertexWeight::Add(uint8 bone, float w)
{
    AddWeight(bone, w);
}

void VertexWeight::Store(float (&outWeight)[3], uint8 (&outBone)[MaxInfluences]) const
{
    dbAssert(weight[0] + weight[1] + weight[2] + weight[3] < 1.001f);
    const float s = Sum();
    const float f = s > 0 ? 1.0f / s : s;
    for (uint32 i = 0; i < 3; ++i)
        outWeight[i] = weight[i] * f;
    for (uint32 i = 0; i < MaxInfluences; ++i)
        outBone[i] = index[i];
}
