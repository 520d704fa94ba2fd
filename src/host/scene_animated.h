// A value of the scene file that can change over time: one value for all time, or one value per
// frame of the animation range. Between frames it is interpolated linearly, element by element;
// before the first frame and after the last it holds the end value.
#pragma once

#include "host/matrix3.h"
#include "host/maxtypes.h"

#include <cmath>
#include <vector>

namespace scene
{
inline float Lerp(float a, float b, float f)
{
    return a + (b - a) * f;
}
inline host::Color Lerp(const host::Color& a, const host::Color& b, float f)
{
    return {Lerp(a.r, b.r, f), Lerp(a.g, b.g, f), Lerp(a.b, b.b, f)};
}
inline host::Point3 Lerp(const host::Point3& a, const host::Point3& b, float f)
{
    return {Lerp(a.x, b.x, f), Lerp(a.y, b.y, f), Lerp(a.z, b.z, f)};
}
inline host::Matrix3 Lerp(const host::Matrix3& a, const host::Matrix3& b, float f)
{
    host::Matrix3 r;
    for (int i = 0; i < 4; ++i)
        r.SetRow(i, Lerp(a.GetRow(i), b.GetRow(i), f));
    return r;
}

template <class T> class Animated
{
public:
    Animated() : m_cValue(1) {}
    Animated(T value) : m_cValue{value} {}

    // One value per frame, the first at `firstFrame`; a frame lasts `ticksPerFrame` ticks.
    void SetFrames(std::vector<T> cValue, int firstFrame, int ticksPerFrame)
    {
        m_cValue = std::move(cValue);
        m_firstFrame = firstFrame;
        m_ticksPerFrame = ticksPerFrame > 0 ? ticksPerFrame : 1;
        if (m_cValue.empty())
            m_cValue.resize(1);
    }

    bool IsAnimated() const { return m_cValue.size() > 1; }
    const std::vector<T>& Frames() const { return m_cValue; }

    T At(host::TimeValue t) const
    {
        if (m_cValue.size() == 1)
            return m_cValue[0];
        const double last = double(m_cValue.size() - 1);
        double f = double(t) / double(m_ticksPerFrame) - double(m_firstFrame);
        f = f < 0.0 ? 0.0 : (f > last ? last : f);
        const size_t i = size_t(std::floor(f));
        const double frac = f - double(i);
        if (frac == 0.0 || i + 1 >= m_cValue.size())
            return m_cValue[i];
        return Lerp(m_cValue[i], m_cValue[i + 1], float(frac));
    }

private:
    std::vector<T> m_cValue;
    int m_firstFrame = 0;
    int m_ticksPerFrame = 160;
};
} // namespace scene
