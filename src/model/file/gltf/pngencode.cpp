#include "model/file/gltf/pngencode.h"

#include "image/image.h"
#include "image/imagetypes.h"

#include <png.h>

#include <memory>

namespace gltf
{
namespace
{
void AppendBytes(png_structp pPng, png_bytep data, png_size_t size)
{
    auto* pOut = static_cast<std::vector<uint8>*>(png_get_io_ptr(pPng));
    pOut->insert(pOut->end(), data, data + size);
}

void NoFlush(png_structp) {}

// libpng reports a fault by longjmp; the text is kept for the caller.
void OnError(png_structp pPng, png_const_charp message)
{
    if (auto* pError = static_cast<std::string*>(png_get_error_ptr(pPng)))
        *pError = message;
    png_longjmp(pPng, 1);
}

void OnWarning(png_structp, png_const_charp) {}

// The libpng calls, under its error jump. Only plain values live in this frame, so a jump back
// leaves nothing half made or clobbered; the caller owns every buffer.
[[gnu::noinline]] bool WriteRows(png_structp pPng, png_infop pInfo, png_bytepp rows, uint32 width,
                                 uint32 height, std::vector<uint8>* pOut)
{
    if (setjmp(png_jmpbuf(pPng)))
        return false;
    png_set_write_fn(pPng, pOut, AppendBytes, NoFlush);
    png_set_IHDR(pPng, pInfo, width, height, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(pPng, pInfo);
    png_write_image(pPng, rows);
    png_write_end(pPng, pInfo);
    return true;
}

// Compresses `rgba` (width * height * 4 bytes, rows top first as they are to appear).
bool Compress(const std::vector<uint8>& rgba, uint32 width, uint32 height, std::vector<uint8>& out,
              std::string& error)
{
    png_structp pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, OnError, OnWarning);
    if (pPng == nullptr)
    {
        error = "libpng could not be set up";
        return false;
    }
    png_infop pInfo = png_create_info_struct(pPng);
    std::vector<png_bytep> cRow(height);
    for (uint32 y = 0; y < height; ++y)
        cRow[y] = const_cast<png_bytep>(rgba.data() + size_t(y) * width * 4);
    out.clear();
    const bool written = pInfo != nullptr && WriteRows(pPng, pInfo, cRow.data(), width, height, &out);
    png_destroy_write_struct(&pPng, &pInfo);
    if (!written)
    {
        if (error.empty())
            error = "libpng could not write the image";
        out.clear();
    }
    return written;
}
} // namespace

bool EncodePng(const Image& image, bool flipRows, std::vector<uint8>& out, std::string& error)
{
    const uint32 width = image.GetWidth();
    const uint32 height = image.GetHeight();
    if (width == 0 || height == 0 || image.GetData(0) == nullptr)
    {
        error = "the image has no pixels";
        return false;
    }
    std::unique_ptr<Image> pConverted;
    const Image* pSource = &image;
    if (image.GetImageType() != IMAGETYPE_RGBA32)
    {
        if (!Image::CanConvert(IMAGETYPE_RGBA32, image.GetImageType()) ||
            !(pConverted = Image::Convert(IMAGETYPE_RGBA32, image)))
        {
            error = "images of type " + std::to_string(image.GetImageType()) + " do not decode";
            return false;
        }
        pSource = pConverted.get();
    }
    const auto& pixels = static_cast<const Image_RGBA32&>(*pSource);
    if (pixels.GetPixels() == nullptr || pixels.GetDataSize(0) < width * height * sizeof(Colour))
    {
        error = "the image has no pixels";
        return false;
    }
    std::vector<uint8> rgba(size_t(width) * height * 4);
    for (uint32 y = 0; y < height; ++y)
    {
        const Colour* pRow = pixels.GetPixels() + size_t(flipRows ? height - 1 - y : y) * width;
        uint8* pOut = rgba.data() + size_t(y) * width * 4;
        for (uint32 x = 0; x < width; ++x, pOut += 4)
        {
            pOut[0] = pRow[x].r;
            pOut[1] = pRow[x].g;
            pOut[2] = pRow[x].b;
            pOut[3] = pRow[x].a;
        }
    }
    return Compress(rgba, width, height, out, error);
}
} // namespace gltf
