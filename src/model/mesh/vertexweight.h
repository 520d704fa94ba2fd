// VertexWeight: the working record of one vertex's bone influences, kept to the four strongest,
// and its packed 16-byte form, which is the weights stream of a vertex set.
#pragma once

#include "foundation/types.h"

struct VertexWeight
{
    // A bone slot that holds no bone.
    static constexpr uint8 NoBone = 0xFF;
    static constexpr uint32 MaxInfluences = 4;
    // Bytes of the packed form: three floats, then four bone slots.
    static constexpr uint32 PackedSize = 16;
    // Weights below this are too weak to keep (the float with bits 0x3B449BA6).
    static constexpr float MinWeight = 0.003f;

    uint8 index[MaxInfluences] = {NoBone, NoBone, NoBone, NoBone};
    float weight[MaxInfluences] = {0, 0, 0, 0};

    // No influences.
    void Clear();
    // Adds `w` (0 to 1) of bone slot `boneSlot`: a slot already held gains the weight; otherwise
    // the influence takes its place by weight, largest first, pushing the weakest out. An
    // influence weaker than all four held is dropped.
    void AddWeight(uint8 boneSlot, float w);
    // Run once a vertex has all its influences: drops weights below MinWeight (logging those
    // above 0), merges entries of the same slot and orders the record by slot, free slots last.
    // Weights are not rescaled.
    void Normalize();
    // Writes the packed form: the first three weights scaled so that all four sum to 1 (the
    // fourth is implied), then the four slots. A record without weight writes zeros.
    void Pack(uint8 (&out)[PackedSize]) const;
    float Sum() const { return weight[0] + weight[1] + weight[2] + weight[3]; }

    // The exporter's forms. Add is AddWeight under the exporter's name: a held bone gains the
    // weight in its place (so the order can stop falling), a new one takes the first place of a
    // smaller weight, and one weaker than all four held is dropped.
    void Add(uint8 bone, float w);
    // The stored record of a skinned vertex: the first three weights scaled so that all four sum
    // to 1 (a sum under 1 is scaled up; no weight at all gives zeros) and the four bone bytes.
    void Store(float (&outWeight)[3], uint8 (&outBone)[MaxInfluences]) const;
};
