// Key stream evaluation: 10,000 sequential samples through a stream of a 300-frame animation, with
// the hints a play state keeps, beside the same samples searched from the first key each time.
#include "model/anim/anim.h"
#include "model/anim/animstream.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

namespace
{
constexpr uint32 kFrames = 300;
constexpr int kSamples = 10000;

float KeyTime(uint32 i)
{
    return float(i) / float(kFrames - 1);
}

BonePositionStream MakePositions()
{
    BonePositionStream stream(kFrames);
    for (uint32 i = 0; i < kFrames; ++i)
    {
        stream.SetTime(i, KeyTime(i));
        stream.SetValue(i, {std::sin(i * 0.1f), std::cos(i * 0.07f), float(i) * 0.01f});
    }
    return stream;
}

BoneRotationStream MakeRotations()
{
    BoneRotationStream stream(kFrames);
    for (uint32 i = 0; i < kFrames; ++i)
    {
        stream.SetTime(i, KeyTime(i));
        stream.SetValue(i, ra::QuatFromAxisAngle(ra::Normalize({1, 2, 3}), i * 0.05f));
    }
    return stream;
}

ControlStream MakeControls()
{
    ControlStream stream(kFrames);
    for (uint32 i = 0; i < kFrames; ++i)
    {
        stream.SetTime(i, KeyTime(i));
        stream.SetValue(i, std::sin(i * 0.2f));
    }
    return stream;
}

// Seconds per sample, shown in nanoseconds by the reporter's units.
void CountSamples(benchmark::State& state)
{
    state.SetItemsProcessed(int64_t(state.iterations()) * kSamples);
    state.counters["per_sample"] = benchmark::Counter(
        double(kSamples), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class StreamT> void Sequential(benchmark::State& state, const StreamT& stream, bool keepHint)
{
    const float step = 1.0f / kSamples;
    for (auto _ : state)
    {
        int16 hint = 0;
        for (int i = 0; i < kSamples; ++i)
        {
            if (!keepHint)
                hint = 0;
            benchmark::DoNotOptimize(stream.Evaluate(float(i) * step, false, hint));
        }
    }
    CountSamples(state);
}

void BM_PositionWithHints(benchmark::State& state)
{
    const BonePositionStream stream = MakePositions();
    Sequential(state, stream, true);
}
BENCHMARK(BM_PositionWithHints);

void BM_PositionFromFirstKey(benchmark::State& state)
{
    const BonePositionStream stream = MakePositions();
    Sequential(state, stream, false);
}
BENCHMARK(BM_PositionFromFirstKey);

void BM_RotationWithHints(benchmark::State& state)
{
    const BoneRotationStream stream = MakeRotations();
    Sequential(state, stream, true);
}
BENCHMARK(BM_RotationWithHints);

void BM_RotationFromFirstKey(benchmark::State& state)
{
    const BoneRotationStream stream = MakeRotations();
    Sequential(state, stream, false);
}
BENCHMARK(BM_RotationFromFirstKey);

void BM_ControlWithHints(benchmark::State& state)
{
    const ControlStream stream = MakeControls();
    Sequential(state, stream, true);
}
BENCHMARK(BM_ControlWithHints);

// A bone as playback asks for it: seconds in, both streams, looping over three plays.
void BM_BoneLoopingWithHints(benchmark::State& state)
{
    Anim anim("bench");
    anim.SetTime(10.0f);
    anim.SetFrameCount(kFrames);
    anim.SetBoneCount(1);
    anim.SetPositionStream(0, std::make_unique<BonePositionStream>(MakePositions()));
    anim.SetRotationStream(0, std::make_unique<BoneRotationStream>(MakeRotations()));
    const float step = 3.0f * anim.GetTime() / kSamples;
    for (auto _ : state)
    {
        AnimHints hints;
        ra::Vec3 position;
        ra::Quat rotation;
        for (int i = 0; i < kSamples; ++i)
        {
            anim.EvaluateBone(0, float(i) * step, true, position, rotation, hints);
            benchmark::DoNotOptimize(position);
            benchmark::DoNotOptimize(rotation);
        }
    }
    CountSamples(state);
}
BENCHMARK(BM_BoneLoopingWithHints);
} // namespace

BENCHMARK_MAIN();
