// Key streams of an animation: one contiguous array of keys per stream, each key a normalised time
// (0 the start, 1 the end of the animation) followed by its value, in ascending time. Keys are
// neither compressed nor quantised: a key in memory has the same bytes as a key in a model file.
#pragma once

#include "foundation/debug.h"
#include "foundation/output.h"
#include "foundation/types.h"
#include "math/matrix.h"
#include "math/vector.h"

#include <cmath>
#include <cstddef>
#include <vector>

// An index below a container's size, as an assertion whose report reads as the comparison is
// written. A negative index fails it too.
#define raAssertIndex(index, container)                                                                      \
    ((static_cast<size_t>(index) < (container).size()) ||                                                    \
     (dbBreakMsg(#index " < " #container ".size()"), false))

struct PositionKey
{
    float time;
    ra::Vec3 value;
};
static_assert(sizeof(PositionKey) == 16);

struct RotationKey
{
    float time;
    ra::Quat value;
};
static_assert(sizeof(RotationKey) == 20);

struct ControlKey
{
    float time;
    float value;
};
static_assert(sizeof(ControlKey) == 8);

// The sampled model-space matrix of a bone, as the exporter writes it before conversion.
struct MatrixKey
{
    float time;
    ra::Matrix34 value;
};
static_assert(sizeof(MatrixKey) == 52);

// The hints of a bone or camera: where the last evaluation of each stream stopped. The caller
// keeps them (one pair per stream per playing animation), so that many players share one Anim.
struct AnimHints
{
    int16 position = 0;
    int16 rotation = 0;
};

// Interpolation between two neighbouring keys at u in (0, 1): linear for positions and control
// values, spherical for rotations, taking the short way round.
inline float AnimInterpolate(float a, float b, float u)
{
    return a + (b - a) * u;
}
inline ra::Vec3 AnimInterpolate(const ra::Vec3& a, const ra::Vec3& b, float u)
{
    return a + (b - a) * u;
}
ra::Quat AnimInterpolate(const ra::Quat& a, const ra::Quat& b, float u);

template <class KeyT> class AnimStream
{
public:
    using Key = KeyT;
    using Value = decltype(KeyT::value);

    static constexpr uint32 KeySize = uint32(sizeof(KeyT));
    // Insertion stops here: hints are 16-bit.
    static constexpr uint32 MaxKeyCount = 65535;

    AnimStream() = default;
    // Keys of time 0 and a default value, to be filled by index or by a raw read.
    explicit AnimStream(uint32 keyCount) : m_keyData(keyCount) {}

    bool IsEmpty() const { return m_keyData.empty(); }
    uint32 GetKeyCount() const { return uint32(m_keyData.size()); }
    // New keys have time 0 and a default value.
    void Resize(uint32 keyCount) { m_keyData.resize(keyCount); }

    // The keys as raw bytes: key count times KeySize, for reading and writing files.
    uint8* GetKeyData() { return reinterpret_cast<uint8*>(m_keyData.data()); }
    const uint8* GetKeyData() const { return reinterpret_cast<const uint8*>(m_keyData.data()); }
    size_t GetKeyDataSize() const { return m_keyData.size() * sizeof(KeyT); }

    // Index checks are assertions; a failed one reads as time 0 and a default value, and writes
    // nothing.
    float GetKeyTime(uint32 index) const;
    Value GetKeyValue(uint32 index) const;
    void SetTime(uint32 index, float time);
    void SetValue(uint32 index, const Value& value);
    void Remove(uint32 index);

    // Puts a key in its place by time: a key of the same time gets the new value, otherwise the
    // key goes before the first later one. A stream of MaxKeyCount keys refuses it with a log line.
    bool Insert(float time, const Value& value);

    // The value at normalised time `t`. `ioHint` is where the last evaluation stopped: the search
    // walks forward from it and only goes back to the start when `loop` wraps the time. Without
    // `loop`, a time past the end (or a hint past `t`) holds the last key. Evaluating an empty
    // stream is an assertion and gives a default value.
    Value Evaluate(float t, bool loop, int16& ioHint) const;

protected:
    std::vector<KeyT> m_keyData;
};

template <class KeyT> float AnimStream<KeyT>::GetKeyTime(uint32 index) const
{
    if (!raAssertIndex(index, m_keyData))
        return 0.0f;
    return m_keyData[index].time;
}

template <class KeyT> typename AnimStream<KeyT>::Value AnimStream<KeyT>::GetKeyValue(uint32 index) const
{
    if (!raAssertIndex(index, m_keyData))
        return Value{};
    return m_keyData[index].value;
}

template <class KeyT> void AnimStream<KeyT>::SetTime(uint32 index, float time)
{
    if (!raAssertIndex(index, m_keyData))
        return;
    m_keyData[index].time = time;
}

template <class KeyT> void AnimStream<KeyT>::SetValue(uint32 index, const Value& value)
{
    if (!raAssertIndex(index, m_keyData))
        return;
    m_keyData[index].value = value;
}

template <class KeyT> void AnimStream<KeyT>::Remove(uint32 index)
{
    if (!raAssertIndex(index, m_keyData))
        return;
    m_keyData.erase(m_keyData.begin() + index);
}

template <class KeyT> bool AnimStream<KeyT>::Insert(float time, const Value& value)
{
    const size_t keyCount = m_keyData.size();
    size_t i = 0;
    while (i < keyCount && m_keyData[i].time < time)
        ++i;
    if (i < keyCount && m_keyData[i].time == time)
    {
        m_keyData[i].value = value;
        return true;
    }
    if (keyCount >= MaxKeyCount)
    {
        dbTagf(FourCC("ANIM"), "Animation has exceeded %d key frames. Failing addition.", int(MaxKeyCount));
        return false;
    }
    m_keyData.insert(m_keyData.begin() + ptrdiff_t(i), KeyT{time, value});
    return true;
}

template <class KeyT>
typename AnimStream<KeyT>::Value AnimStream<KeyT>::Evaluate(float t, bool loop, int16& ioHint) const
{
    if (!dbAssert(!IsEmpty()))
        return Value{};
    const KeyT* pKeys = m_keyData.data();
    const uint32 numKeys = GetKeyCount();
    if (numKeys == 1)
    {
        ioHint = 0;
        return pKeys[0].value;
    }
    if (t < 0.0f)
        t = 0.0f;
    // The hint is held in 16 bits; read unsigned, it reaches every key a stream may have.
    uint32 hint = uint16(ioHint);
    if (!dbAssert(hint < numKeys))
        hint = 0;

    if (loop)
    {
        // Back into [0, 1]: a time of exactly 1 plays the end and does not wrap.
        if (t > 1.0f)
            t -= std::nearbyint(t + 0.50001f) - 1.0f;
        if (t < pKeys[hint].time)
            hint = 0;
    }

    const uint32 lastKey = numKeys - 1;
    while (hint < lastKey && !(pKeys[hint].time <= t && t <= pKeys[hint + 1].time))
        ++hint;
    ioHint = int16(uint16(hint));
    if (hint >= lastKey)
        return pKeys[lastKey].value;

    const uint32 nextKey = hint + 1;
    if (!dbAssert(nextKey < numKeys))
        return pKeys[hint].value;
    float u = (t - pKeys[hint].time) / (pKeys[nextKey].time - pKeys[hint].time);
    // Written so that the 0/0 of a pair of equal times clamps too, to the first key of the pair.
    if (!(u > 0.0f))
        u = 0.0f;
    else if (u >= 1.0f)
        u = 1.0f;
    if (u == 0.0f)
        return pKeys[hint].value;
    if (u == 1.0f)
        return pKeys[nextKey].value;
    return AnimInterpolate(pKeys[hint].value, pKeys[nextKey].value, u);
}

// The six stream types. Bone and camera streams share key layouts but not types, so that a
// camera stream can't be given to a bone.
class BonePositionStream final : public AnimStream<PositionKey>
{
public:
    using AnimStream::AnimStream;
};

class BoneRotationStream final : public AnimStream<RotationKey>
{
public:
    using AnimStream::AnimStream;
};

class CameraPositionStream final : public AnimStream<PositionKey>
{
public:
    using AnimStream::AnimStream;
};

class CameraRotationStream final : public AnimStream<RotationKey>
{
public:
    using AnimStream::AnimStream;
};

// Shader parameters and mesh visibility.
class ControlStream final : public AnimStream<ControlKey>
{
public:
    using AnimStream::AnimStream;

    // Adds `delta` to every value: the base of a shader parameter comes off this way, and old
    // files' visibility is raised by one.
    void OffsetValues(float delta);
    // Whether every value lies within [-tolerance, +tolerance].
    bool IsFlat(float tolerance) const;
};

// The sampled matrices of the intermediate form; never evaluated, only converted.
class BoneMatrixStream final : public AnimStream<MatrixKey>
{
public:
    using AnimStream::AnimStream;
};
