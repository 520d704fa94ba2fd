// Smoothing groups from a file's normals: faces meet at welded positions, and two faces whose
// corner normals agree there belong to one smooth surface. Each surface takes one bit, chosen so
// that surfaces meeting at a position never share one; the exporter, which sums the face normals
// of faces sharing a bit at a position, then rebuilds the file's hard and soft edges.
#include "importhost/importhost.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace importhost
{
namespace
{
// Normals closer than about 0.8 degrees agree: a file's shared normal written per corner differs
// only in its last bits.
constexpr float AgreeCosine = 0.9999f;

class Surfaces
{
public:
    explicit Surfaces(size_t count) : m_cParent(count) { std::iota(m_cParent.begin(), m_cParent.end(), 0u); }
    uint32_t Find(uint32_t a)
    {
        while (m_cParent[a] != a)
        {
            m_cParent[a] = m_cParent[m_cParent[a]];
            a = m_cParent[a];
        }
        return a;
    }
    void Join(uint32_t a, uint32_t b)
    {
        a = Find(a);
        b = Find(b);
        if (a != b)
            m_cParent[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<uint32_t> m_cParent;
};

bool Agree(const float* a, const float* b)
{
    const float dot = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    const float lengths =
        std::sqrt((a[0] * a[0] + a[1] * a[1] + a[2] * a[2]) * (b[0] * b[0] + b[1] * b[1] + b[2] * b[2]));
    return lengths > 0.0f && dot >= AgreeCosine * lengths;
}
} // namespace

std::vector<uint32_t> FindSmoothingGroups(const std::vector<uint32_t>& cCorner,
                                          const std::vector<float>& cNormal, size_t positionCount)
{
    const size_t faceCount = cCorner.size() / 3;
    if (faceCount == 0 || cNormal.size() < faceCount * 9)
        return std::vector<uint32_t>(faceCount, 1u);

    // The corners at each position, in face order.
    std::vector<uint32_t> cFirst(positionCount + 1, 0);
    for (size_t c = 0; c < faceCount * 3; ++c)
        if (cCorner[c] < positionCount)
            ++cFirst[cCorner[c] + 1];
    for (size_t p = 0; p < positionCount; ++p)
        cFirst[p + 1] += cFirst[p];
    std::vector<uint32_t> cAt(cFirst[positionCount]);
    {
        std::vector<uint32_t> cFill(cFirst.begin(), cFirst.end() - 1);
        for (size_t c = 0; c < faceCount * 3; ++c)
            if (cCorner[c] < positionCount)
                cAt[cFill[cCorner[c]]++] = uint32_t(c);
    }

    // Faces join where their corners at a shared position agree with a corner seen there before.
    Surfaces surfaces(faceCount);
    std::vector<uint32_t> cSeen;
    for (size_t p = 0; p < positionCount; ++p)
    {
        cSeen.clear();
        for (uint32_t i = cFirst[p]; i < cFirst[p + 1]; ++i)
        {
            const uint32_t corner = cAt[i];
            bool joined = false;
            for (uint32_t seen : cSeen)
                if (Agree(&cNormal[size_t(corner) * 3], &cNormal[size_t(seen) * 3]))
                {
                    surfaces.Join(corner / 3, seen / 3);
                    joined = true;
                    break;
                }
            if (!joined)
                cSeen.push_back(corner);
        }
    }

    // Surfaces numbered in face order, and which of them meet.
    std::vector<uint32_t> cSurface(faceCount);
    std::vector<uint32_t> cNumber(faceCount, UINT32_MAX);
    uint32_t surfaceCount = 0;
    for (size_t f = 0; f < faceCount; ++f)
    {
        const uint32_t root = surfaces.Find(uint32_t(f));
        if (cNumber[root] == UINT32_MAX)
            cNumber[root] = surfaceCount++;
        cSurface[f] = cNumber[root];
    }
    std::vector<uint64_t> cMeet;
    std::vector<uint32_t> cHere;
    for (size_t p = 0; p < positionCount; ++p)
    {
        cHere.clear();
        for (uint32_t i = cFirst[p]; i < cFirst[p + 1]; ++i)
            cHere.push_back(cSurface[cAt[i] / 3]);
        std::sort(cHere.begin(), cHere.end());
        cHere.erase(std::unique(cHere.begin(), cHere.end()), cHere.end());
        for (size_t a = 0; a < cHere.size(); ++a)
            for (size_t b = a + 1; b < cHere.size(); ++b)
            {
                cMeet.push_back(uint64_t(cHere[a]) << 32 | cHere[b]);
                cMeet.push_back(uint64_t(cHere[b]) << 32 | cHere[a]);
            }
    }
    std::sort(cMeet.begin(), cMeet.end());
    cMeet.erase(std::unique(cMeet.begin(), cMeet.end()), cMeet.end());

    // Each surface takes the lowest bit that no surface it meets has taken before it.
    std::vector<uint32_t> cBit(surfaceCount, 0);
    size_t m = 0;
    for (uint32_t s = 0; s < surfaceCount; ++s)
    {
        uint32_t taken = 0;
        for (; m < cMeet.size() && uint32_t(cMeet[m] >> 32) == s; ++m)
        {
            const uint32_t other = uint32_t(cMeet[m]);
            if (other < s)
                taken |= cBit[other];
        }
        uint32_t bit = 1;
        while (bit != 0 && (taken & bit) != 0)
            bit <<= 1;
        cBit[s] = bit != 0 ? bit : 0x80000000u;
    }

    std::vector<uint32_t> cGroup(faceCount);
    for (size_t f = 0; f < faceCount; ++f)
        cGroup[f] = cBit[cSurface[f]];
    return cGroup;
}
} // namespace importhost
