// JPEG files through libjpeg: the whole file is read into memory and decoded to 32-bit pixels,
// rows top-down, bytes blue, green, red and an alpha of 0xFF. Saving writes three channels at
// quality 100.
#include "foundation/output.h"
#include "image/imageio.h"
#include "image/imageload.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace
{
// A JPEG file larger than this is refused before it is read: a 4096 by 4096 picture at the best
// quality stays well below it.
constexpr uint32 MaxFileBytes = 128u << 20;

// libjpeg reports a fatal error by calling error_exit, which must not return: it jumps back to
// the call's set-up point with the library's message kept for the log.
struct JpegError
{
    jpeg_error_mgr manager;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void OnJpegError(j_common_ptr cinfo)
{
    JpegError* pError = reinterpret_cast<JpegError*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, pError->message);
    std::longjmp(pError->jump, 1);
}

// Warnings of a damaged stream go on decoding; they are not printed.
void OnJpegMessage(j_common_ptr) {}

void InitError(JpegError& error)
{
    jpeg_std_error(&error.manager);
    error.manager.error_exit = OnJpegError;
    error.manager.output_message = OnJpegMessage;
    error.message[0] = '\0';
}

// The decode with the error jump. Only plain data lives across the jump: the image and the file
// bytes belong to the caller.
bool Decode(const std::vector<uint8>& cFile, Image_RGBA32& image, const char* name)
{
    jpeg_decompress_struct cinfo;
    JpegError error;
    InitError(error);
    cinfo.err = &error.manager;
    if (setjmp(error.jump))
    {
        jpeg_destroy_decompress(&cinfo);
        dbWarningf("JPEG file can't be decoded: %s. [%s]", error.message, name);
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, cFile.data(), static_cast<unsigned long>(cFile.size()));
    jpeg_read_header(&cinfo, TRUE);
    if (cinfo.image_width == 0 || cinfo.image_height == 0 || cinfo.image_width > Image::MaxSide ||
        cinfo.image_height > Image::MaxSide)
    {
        dbWarningf("JPEG size %ux%u is not 1 to %u a side. [%s]", unsigned(cinfo.image_width),
                   unsigned(cinfo.image_height), Image::MaxSide, name);
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    cinfo.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&cinfo);
    if (!image.Allocate(cinfo.output_width, cinfo.output_height))
    {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    uint8* pPixels = image.GetData(0);
    while (cinfo.output_scanline < cinfo.output_height)
    {
        JSAMPROW row = pPixels + size_t(cinfo.output_scanline) * cinfo.output_width * 4;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return true;
}

// The encode with the error jump, into a block that libjpeg allocates and the caller frees.
bool Encode(const Image& rgb, unsigned char** ppOut, unsigned long* pOutSize, const char* name)
{
    jpeg_compress_struct cinfo;
    JpegError error;
    InitError(error);
    cinfo.err = &error.manager;
    if (setjmp(error.jump))
    {
        jpeg_destroy_compress(&cinfo);
        dbWarningf("TEXTURES -- '%s': Unable to encode JPEG: %s", name, error.message);
        return false;
    }
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, ppOut, pOutSize);
    cinfo.image_width = rgb.GetWidth();
    cinfo.image_height = rgb.GetHeight();
    cinfo.input_components = 3;
    cinfo.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, 100, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    const uint8* pPixels = rgb.GetData(0);
    while (cinfo.next_scanline < cinfo.image_height)
    {
        JSAMPROW row = const_cast<uint8*>(pPixels) + size_t(cinfo.next_scanline) * cinfo.image_width * 3;
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    return true;
}
} // namespace

std::unique_ptr<Image> ImageLoad::LoadJPEG(ByteStreamAdapter& adapter, const char* name, int* pSourceFormat)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    const uint32 size = ImageIO::Remaining(adapter);
    if (size == 0 || size > MaxFileBytes)
    {
        dbWarningf("JPEG file of %u bytes is empty or too big. [%s]", size, name);
        return nullptr;
    }
    std::vector<uint8> cFile(size);
    if (!ImageIO::ReadExact(adapter, cFile.data(), size))
    {
        dbWarningf("JPEG file can't be read. [%s]", name);
        return nullptr;
    }
    auto pImage = std::make_unique<Image_RGBA32>();
    if (!Decode(cFile, *pImage, name))
        return nullptr;
    *pSourceFormat = SOURCEFORMAT_OPAQUE;
    return pImage;
}

bool ImageLoad::SaveJPEG(ByteStreamAdapter& adapter, const char* name, const Image& image)
{
    if (image.GetData(0) == nullptr || image.IsCompressed())
    {
        dbWarningf("TEXTURES -- '%s': Unrecognized image type!", name);
        return false;
    }
    // To RGB888, through 32 bits when the table has no direct way.
    std::unique_ptr<Image> pWide;
    std::unique_ptr<Image> pRGB;
    const Image* pSource = &image;
    if (pSource->GetImageType() != IMAGETYPE_RGB888)
    {
        if (pSource->GetImageType() != IMAGETYPE_RGBA32)
        {
            pWide = Image::Convert(IMAGETYPE_RGBA32, *pSource);
            pSource = pWide.get();
        }
        if (pSource)
        {
            pRGB = Image::Convert(IMAGETYPE_RGB888, *pSource);
            pSource = pRGB.get();
        }
    }
    if (pSource == nullptr)
        return false;

    unsigned char* pOut = nullptr;
    unsigned long outSize = 0;
    const bool encoded = Encode(*pSource, &pOut, &outSize, name);
    bool ok = encoded && outSize <= 0xFFFFFFFFu && ImageIO::WriteExact(adapter, pOut, uint32(outSize));
    std::free(pOut);
    if (encoded && !ok)
        dbWarningf("TEXTURES -- '%s': Unable to write to file!", name);
    return ok;
}
