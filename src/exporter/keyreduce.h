// Key reduction of sampled control streams: keys that the straight line between their neighbours
// already gives, within a fixed tolerance, are taken out. The exporter runs it on every shader and
// visibility stream that changes over the range.
#pragma once

#include "foundation/types.h"

class ControlStream;

// A key is redundant when the stream without it comes within this of its value.
constexpr float KeyReduceTolerance = 0.005f;

// Whole passes over the stream until one removes nothing; the number of keys removed. The first
// key always stays; the last stays unless only two keys are left, when it may go too.
uint32 ReduceKeys(ControlStream& stream);
