#include "image/imagepalettize.h"

#include "foundation/debug.h"

#include <algorithm>
#include <vector>

namespace
{
// Sort key of a colour: blue, then green, red, alpha.
uint32 SortKey(const Colour& c)
{
    return (uint32(c.b) << 24) | (uint32(c.g) << 16) | (uint32(c.r) << 8) | uint32(c.a);
}

// A box of colour space: low and high corner per channel (blue, green, red, alpha), and the range
// [first, first + Count) of the colour list that lies inside it. Boxes never overlap, so each
// colour of the list belongs to exactly one box, and the list is kept grouped by box.
struct Box
{
    uint8 low[4];
    uint8 high[4];
    uint32 first;
    uint32 Count;
};

// Tightens the corners of the box to the colours inside it.
void Shrink(Box* pBox, const std::vector<Colour>& cColour)
{
    dbAssert(pBox->Count != 0);
    for (int ch = 0; ch < 4; ++ch)
    {
        pBox->low[ch] = 255;
        pBox->high[ch] = 0;
    }
    for (uint32 i = pBox->first; i < pBox->first + pBox->Count; ++i)
    {
        for (int ch = 0; ch < 4; ++ch)
        {
            const uint8 v = cColour[i].Channel(ch);
            pBox->low[ch] = std::min(pBox->low[ch], v);
            pBox->high[ch] = std::max(pBox->high[ch], v);
        }
    }
}
} // namespace

std::unique_ptr<Image_Palette> Palettize(const Image& src, uint32 colours)
{
    if (!dbAssert(src.GetImageType() == IMAGETYPE_RGBA32) || !dbAssert(colours >= 1 && colours <= 256) ||
        !dbAssert(src.GetData(0) != nullptr))
        return nullptr;
    const auto& pixels = static_cast<const Image_RGBA32&>(src);
    const uint32 count = src.GetWidth() * src.GetHeight();

    // The colour list: every distinct colour once, in sort order.
    std::vector<Colour> cColour(pixels.GetPixels(), pixels.GetPixels() + count);
    std::sort(cColour.begin(), cColour.end(),
              [](const Colour& l, const Colour& r) { return SortKey(l) < SortKey(r); });
    cColour.erase(std::unique(cColour.begin(), cColour.end()), cColour.end());

    std::vector<Box> cBox;
    cBox.reserve(colours);
    cBox.push_back(Box{{0, 0, 0, 0}, {255, 255, 255, 255}, 0, uint32(cColour.size())});
    Shrink(&cBox[0], cColour);

    while (cBox.size() < colours)
    {
        // The widest channel range over all boxes; at-or-above, so on a tie the later box and
        // channel win.
        uint32 bestBox = 0;
        int bestChannel = 0;
        int bestRange = -1;
        for (uint32 b = 0; b < cBox.size(); ++b)
        {
            for (int ch = 0; ch < 4; ++ch)
            {
                const int range = int(cBox[b].high[ch]) - int(cBox[b].low[ch]);
                if (range >= bestRange)
                {
                    bestRange = range;
                    bestBox = b;
                    bestChannel = ch;
                }
            }
        }
        Box& box = cBox[bestBox];
        if (box.low[bestChannel] == box.high[bestChannel])
            break;
        const uint8 middle = uint8(box.low[bestChannel] + (box.high[bestChannel] - box.low[bestChannel]) / 2);

        // The lower half stays in the box, the upper half from middle + 1 goes to a new one.
        auto begin = cColour.begin() + box.first;
        auto split = std::stable_partition(begin, begin + box.Count,
                                           [bestChannel, middle](const Colour& c)
                                           { return c.Channel(bestChannel) <= middle; });
        const uint32 lowerCount = uint32(split - begin);
        Box upper = box;
        upper.first = box.first + lowerCount;
        upper.Count = box.Count - lowerCount;
        box.Count = lowerCount;
        Shrink(&box, cColour);
        Shrink(&upper, cColour);
        cBox.push_back(upper);
    }

    auto pDst = std::make_unique<Image_Palette>();
    if (!pDst->Allocate(src.GetWidth(), src.GetHeight()))
        return nullptr;
    for (uint32 b = 0; b < cBox.size(); ++b)
    {
        Colour& entry = pDst->PaletteEntry(b);
        for (int ch = 0; ch < 4; ++ch)
            entry.Channel(ch) = uint8((uint32(cBox[b].low[ch]) + uint32(cBox[b].high[ch])) / 2);
    }

    // Each distinct colour's box, looked up per pixel by its sort key.
    std::vector<std::pair<uint32, uint8>> cIndex;
    cIndex.reserve(cColour.size());
    for (uint32 b = 0; b < cBox.size(); ++b)
    {
        for (uint32 i = cBox[b].first; i < cBox[b].first + cBox[b].Count; ++i)
            cIndex.emplace_back(SortKey(cColour[i]), uint8(b));
    }
    std::sort(cIndex.begin(), cIndex.end());
    uint8* pOut = pDst->GetPixels();
    const Colour* pIn = pixels.GetPixels();
    for (uint32 i = 0; i < count; ++i)
    {
        const uint32 key = SortKey(pIn[i]);
        auto it = std::lower_bound(cIndex.begin(), cIndex.end(), std::make_pair(key, uint8(0)));
        pOut[i] = it != cIndex.end() && it->first == key ? it->second : 0;
    }
    return pDst;
}
