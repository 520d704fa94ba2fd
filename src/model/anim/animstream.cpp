#include "model/anim/animstream.h"

#include <cmath>

ra::Quat AnimInterpolate(const ra::Quat& a, const ra::Quat& b, float u)
{
    float d = ra::Dot(a, b);
    // Opposite signs are the same rotation: turn the second round so the blend takes the short way.
    float sign = 1.0f;
    if (d < 0.0f)
    {
        d = -d;
        sign = -1.0f;
    }
    float weightA;
    float weightB;
    if (d >= 1.0f)
    {
        weightA = 1.0f - u;
        weightB = u;
    }
    else
    {
        const float angle = std::acos(d);
        const float sinAngle = std::sin(angle);
        weightA = std::sin((1.0f - u) * angle) / sinAngle;
        weightB = std::sin(u * angle) / sinAngle;
    }
    weightB *= sign;
    return ra::Normalize(ra::Quat(weightA * a.x + weightB * b.x, weightA * a.y + weightB * b.y,
                                  weightA * a.z + weightB * b.z, weightA * a.w + weightB * b.w));
}

void ControlStream::OffsetValues(float delta)
{
    for (ControlKey& key : m_keyData)
        key.value += delta;
}

bool ControlStream::IsFlat(float tolerance) const
{
    for (const ControlKey& key : m_keyData)
        if (key.value < -tolerance || key.value > tolerance)
            return false;
    return true;
}
