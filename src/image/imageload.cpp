// Loading an image file by name, with the extension search, and saving by extension.
#include "image/imageload.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cctype>
#include <cstring>

namespace
{
enum FileKind
{
    FK_DDS,
    FK_JPG,
    FK_TGA,
    FK_BMP,
    FK_BW,
    FK_Count,
};

// In the order a name without extension tries them.
const char* const s_extensions[FK_Count] = {"dds", "jpg", "tga", "bmp", "bw"};

int KindOfExtension(const char* ext)
{
    for (int kind = 0; kind < FK_Count; ++kind)
    {
        if (FilePathUtil::Equal(ext, s_extensions[kind]))
            return kind;
    }
    return -1;
}

// The stand-in of a run that touches no image file.
std::unique_ptr<Image> NoImage()
{
    auto pImage = std::make_unique<Image_RGBA32>();
    pImage->Allocate(1, 1);
    (*pImage)[0] = Colour::FromWord(ImageLoad::NoImagesPixel);
    return pImage;
}

std::unique_ptr<Image> ReadFile(int kind, const char* fileName, int* pSourceFormat, int mipsToSkip)
{
    std::shared_ptr<ByteStream> pStream = FilePath::Open(fileName, ByteStream::Mode_Read);
    if (!pStream)
    {
        switch (kind)
        {
        case FK_DDS:
            dbTagf(Tag3("ART"), "TEXTURES -- '%s': Unable to load!", fileName);
            break;
        case FK_BW:
            dbWarningf("BW is non-existant. [%s]", fileName);
            break;
        default:
            dbWarningf("Image file can't be opened. [%s]", fileName);
            break;
        }
        return nullptr;
    }
    ByteStreamAdapter adapter(pStream.get());
    switch (kind)
    {
    case FK_DDS:
        return ImageLoad::LoadDDS(adapter, fileName, pSourceFormat, mipsToSkip);
    case FK_JPG:
        return ImageLoad::LoadJPEG(adapter, fileName, pSourceFormat);
    case FK_TGA:
        return ImageLoad::LoadTGA(adapter, fileName, pSourceFormat);
    case FK_BMP:
        return ImageLoad::LoadBMP(adapter, fileName, pSourceFormat);
    default:
        return ImageLoad::LoadBW(adapter, fileName, pSourceFormat);
    }
}
} // namespace

std::unique_ptr<Image> ImageLoad::Load(int* pSourceFormat, const char* name, int wantedType, int mipsToSkip)
{
    int sourceFormat = SOURCEFORMAT_OTHER;
    if (pSourceFormat == nullptr)
        pSourceFormat = &sourceFormat;
    *pSourceFormat = SOURCEFORMAT_OTHER;
    if (!dbAssert(name != nullptr && *name != '\0'))
        return nullptr;
    if (wantedType != IMAGETYPE_ASFILE && !Image::IsValidType(wantedType))
    {
        dbWarningf("Image '%s' is wanted as type %d, which is no image type.", name, wantedType);
        return nullptr;
    }

    std::unique_ptr<Image> pImage;
    if (RunOptions::Has("noimages"))
    {
        pImage = NoImage();
    }
    else
    {
        if (std::strlen(name) >= size_t(FilePath::MAXPATH) - 4)
        {
            dbWarningf("Image name is too long. [%s]", name);
            return nullptr;
        }
        char fileName[FilePath::MAXPATH];
        std::strcpy(fileName, name);
        int kind = -1;
        const char* ext = FilePathUtil::GetExtensionPtr(name);
        if (ext == name)
        {
            for (int k = 0; k < FK_Count && kind < 0; ++k)
            {
                std::snprintf(fileName, sizeof(fileName), "%s.%s", name, s_extensions[k]);
                if (FilePath::FileType(fileName) == 1)
                    kind = k;
            }
            if (kind < 0)
            {
                dbWarningf("Image '%s' is not there as .dds, .jpg, .tga, .bmp or .bw.", name);
                return nullptr;
            }
        }
        else
        {
            kind = KindOfExtension(ext);
            if (kind < 0)
            {
                dbWarningf("Image '%s' is not a .dds, .jpg, .tga, .bmp or .bw file.", name);
                return nullptr;
            }
        }
        pImage = ReadFile(kind, fileName, pSourceFormat, mipsToSkip);
        if (!pImage)
        {
            *pSourceFormat = SOURCEFORMAT_OTHER;
            return nullptr;
        }
    }

    if (wantedType != IMAGETYPE_ASFILE && wantedType != pImage->GetImageType())
    {
        pImage = Image::Convert(wantedType, *pImage);
        *pSourceFormat = SOURCEFORMAT_OTHER;
        if (!pImage)
            return nullptr;
    }
    pImage->SetName(name);
    return pImage;
}

bool ImageLoad::Save(const char* name, const Image& image)
{
    if (!dbAssert(name != nullptr))
        return false;
    const char* dot = std::strrchr(name, '.');
    if (dot == nullptr)
        return false;
    const char* ext = dot + 1;
    bool (*pWriter)(ByteStreamAdapter&, const char*, const Image&) = nullptr;
    if (FilePathUtil::Equal(ext, "TGA"))
        pWriter = &SaveTGA;
    else if (FilePathUtil::Equal(ext, "JPG"))
        pWriter = &SaveJPEG;
    else if (FilePathUtil::Equal(ext, "DDS"))
        pWriter = &SaveDDS;
    else
    {
        dbWarningf("TEXTURES -- '%s': Unrecognized file type", name);
        return false;
    }

    std::shared_ptr<ByteStream> pStream = FilePath::Open(name, ByteStream::Mode_Write);
    if (!pStream)
    {
        dbWarningf("TEXTURES -- '%s': Unable to open file!", name);
        return false;
    }
    ByteStreamAdapter adapter(pStream.get());
    const bool ok = pWriter(adapter, name, image);
    pStream.reset();
    // A save that failed leaves no half-written file behind.
    if (!ok)
        FilePath::Delete(name);
    return ok;
}
