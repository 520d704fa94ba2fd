// Helpers shared by the image tests: a log capture and small image builders.
#pragma once

#include "foundation/output.h"
#include "image/imagetypes.h"

#include <string>
#include <vector>

namespace imagetest
{
// Collects every log line while alive.
class LogCapture
{
public:
    LogCapture()
    {
        Lines().clear();
        dbg::AddListener(&LogCapture::Listen);
    }
    ~LogCapture() { dbg::RemoveListener(&LogCapture::Listen); }

    bool Contains(const std::string& text) const
    {
        for (const std::string& line : Lines())
        {
            if (line.find(text) != std::string::npos)
                return true;
        }
        return false;
    }
    std::string All() const
    {
        std::string all;
        for (const std::string& line : Lines())
            all += line + "\n";
        return all;
    }

private:
    static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> s_lines;
        return s_lines;
    }
    static void Listen(const char* const* lines, uint32 count, uint32)
    {
        for (uint32 i = 0; i < count; ++i)
            Lines().push_back(lines[i]);
    }
};

// A 32-bit image of w by h pixels from a list given row by row.
inline std::unique_ptr<Image_RGBA32> MakeRGBA32(uint32 w, uint32 h, const std::vector<Colour>& pixels)
{
    auto p = std::make_unique<Image_RGBA32>();
    p->Allocate(w, h);
    for (uint32 i = 0; i < w * h && i < pixels.size(); ++i)
        (*p)[i] = pixels[i];
    return p;
}

// A 32-bit image whose every pixel differs: handy to see where each pixel went.
inline std::unique_ptr<Image_RGBA32> MakeGradient(uint32 w, uint32 h)
{
    auto p = std::make_unique<Image_RGBA32>();
    p->Allocate(w, h);
    for (uint32 y = 0; y < h; ++y)
        for (uint32 x = 0; x < w; ++x)
            (*p)[y * w + x] = Colour(uint8(x * 7 + y), uint8(y * 13 + x), uint8(x ^ y), uint8(255 - x));
    return p;
}
} // namespace imagetest
