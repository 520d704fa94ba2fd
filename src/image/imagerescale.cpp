// Image::Rescale: a separable two-pass filter. A table of contributions gives each output column
// (then each output row) the source pixels under the filter with their weights; the columns are
// filtered into a temporary image of the target width and the source height, then the rows.
#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/image.h"
#include "image/imagetypes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
constexpr float FilterSupport = 1.5f;

// Quadratic B-spline.
float Filter(float x)
{
    x = std::fabs(x);
    if (x < 0.5f)
        return 0.75f - x * x;
    if (x < 1.5f)
        return 0.5f * (x - 1.5f) * (x - 1.5f);
    return 0.0f;
}

struct Contribution
{
    uint32 pixel;
    float weight;
};

// For each of `dstSize` outputs, its source pixels and weights, in one flat list with a start per
// output. Sources past the edges reflect back into the image.
struct ContributionTable
{
    std::vector<uint32> cStart;
    std::vector<Contribution> cContribution;
};

uint32 Reflect(int i, uint32 n)
{
    if (i < 0)
        i = -i;
    else if (i >= int(n))
        i = 2 * int(n) - 1 - i;
    // A source only a pixel or two wide reflects out of range again: hold the edge.
    if (i < 0)
        return 0;
    if (i >= int(n))
        return n - 1;
    return uint32(i);
}

ContributionTable MakeTable(uint32 dstSize, uint32 srcSize)
{
    ContributionTable table;
    table.cStart.reserve(dstSize + 1);
    const float scale = float(dstSize) / float(srcSize);
    for (uint32 i = 0; i < dstSize; ++i)
    {
        table.cStart.push_back(uint32(table.cContribution.size()));
        const float center = float(i) / scale;
        if (scale < 1.0f)
        {
            // Shrinking: the filter is widened by the ratio, its argument scaled down, and the
            // weights normalised by the ratio.
            const float width = FilterSupport / scale;
            const int left = int(std::ceil(center - width));
            const int right = int(std::floor(center + width));
            for (int j = left; j <= right; ++j)
            {
                const float weight = Filter((center - float(j)) * scale) * scale;
                if (weight != 0.0f)
                    table.cContribution.push_back({Reflect(j, srcSize), weight});
            }
        }
        else
        {
            const int left = int(std::ceil(center - FilterSupport));
            const int right = int(std::floor(center + FilterSupport));
            for (int j = left; j <= right; ++j)
            {
                const float weight = Filter(center - float(j));
                if (weight != 0.0f)
                    table.cContribution.push_back({Reflect(j, srcSize), weight});
            }
        }
    }
    table.cStart.push_back(uint32(table.cContribution.size()));
    return table;
}

uint8 ToByte(float v)
{
    if (v <= 0.0f)
        return 0;
    if (v >= 255.0f)
        return 255;
    return uint8(v + 0.5f);
}

// One output pixel of a row: the weighted sum per channel.
Colour Sum(const ContributionTable& table, uint32 i, const Colour* pRow)
{
    float b = 0, g = 0, r = 0, a = 0;
    for (uint32 k = table.cStart[i]; k < table.cStart[i + 1]; ++k)
    {
        const Contribution& c = table.cContribution[k];
        const Colour& p = pRow[c.pixel];
        b += float(p.b) * c.weight;
        g += float(p.g) * c.weight;
        r += float(p.r) * c.weight;
        a += float(p.a) * c.weight;
    }
    return Colour(ToByte(r), ToByte(g), ToByte(b), ToByte(a));
}
} // namespace

bool Image::Rescale(Image& dst, const Image& src)
{
    if (dst.GetImageType() != IMAGETYPE_RGBA32 || src.GetImageType() != IMAGETYPE_RGBA32)
    {
        dbWarningf("Rescale not handled");
        return false;
    }
    if (!dbAssert(src.GetData(0) != nullptr) || !dbAssert(dst.GetData(0) != nullptr))
        return false;
    const uint32 srcW = src.GetWidth(), srcH = src.GetHeight();
    const uint32 dstW = dst.GetWidth(), dstH = dst.GetHeight();
    const Colour* pSrc = reinterpret_cast<const Colour*>(src.GetData(0));
    Colour* pDst = reinterpret_cast<Colour*>(dst.GetData(0));

    // Horizontal pass into the temporary image: target width, source height.
    Image_RGBA32 temp;
    if (!temp.Allocate(dstW, srcH))
        return false;
    Colour* pTemp = temp.GetPixels();
    const ContributionTable across = MakeTable(dstW, srcW);
    for (uint32 y = 0; y < srcH; ++y)
    {
        const Colour* pRow = pSrc + size_t(y) * srcW;
        for (uint32 x = 0; x < dstW; ++x)
            pTemp[size_t(y) * dstW + x] = Sum(across, x, pRow);
    }

    // Vertical pass into the target, a row at a time so that the temporary image is read in order.
    const ContributionTable down = MakeTable(dstH, srcH);
    std::vector<float> cSum(size_t(dstW) * 4);
    for (uint32 y = 0; y < dstH; ++y)
    {
        std::fill(cSum.begin(), cSum.end(), 0.0f);
        for (uint32 k = down.cStart[y]; k < down.cStart[y + 1]; ++k)
        {
            const Contribution& c = down.cContribution[k];
            const Colour* pRow = pTemp + size_t(c.pixel) * dstW;
            float* pSum = cSum.data();
            for (uint32 x = 0; x < dstW; ++x, pSum += 4)
            {
                pSum[0] += float(pRow[x].b) * c.weight;
                pSum[1] += float(pRow[x].g) * c.weight;
                pSum[2] += float(pRow[x].r) * c.weight;
                pSum[3] += float(pRow[x].a) * c.weight;
            }
        }
        Colour* pOut = pDst + size_t(y) * dstW;
        const float* pSum = cSum.data();
        for (uint32 x = 0; x < dstW; ++x, pSum += 4)
            pOut[x] = Colour(ToByte(pSum[2]), ToByte(pSum[1]), ToByte(pSum[0]), ToByte(pSum[3]));
    }
    return true;
}
