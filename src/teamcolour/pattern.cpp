#include "teamcolour/pattern.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/imageload.h"
#include "model/file/motionpayloadreader.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"
#include "teamcolour/exporttext.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace TeamColour
{
namespace
{
constexpr uint32 ID_TPAT = FourCC("TPAT");
constexpr uint32 ID_INFO = FourCC("INFO");
constexpr uint32 ID_PTLD = FourCC("PTLD");
constexpr uint32 ID_PTBD = FourCC("PTBD");
constexpr uint32 ID_PTBN = FourCC("PTBN");
constexpr uint32 ID_PTLR = FourCC("PTLR");
constexpr uint32 ID_PTIN = FourCC("PTIN");
constexpr uint32 TPATVersion = 3;
constexpr uint32 DataVersion = 1;
constexpr uint32 PTLRVersion = 1;
constexpr uint32 PTINVersion = 2;

const char* const s_LayerNames[Pattern::LAYER_PATTERN_COUNT] = {"primary", "secondary", "trim",
                                                                "weapons", "eyes",      "dirt"};

// A malformed file: the load fails with this text.
template <class... Args> [[noreturn]] void Fail(const char* format, Args... args)
{
    throw std::runtime_error(Format(format, args...));
}

// The file name with its own extension made ".tqp".
bool TqpName(char (&out)[FilePath::MAXPATH], const char* name)
{
    return dbAssert(name) && FilePathUtil::Copy(out, name) && FilePathUtil::SetExtension(out, "tqp");
}

Pattern::Rect ReadRect(ByteStreamAdapter& adapter, const ChunkInfo& info)
{
    ra::MotionPayloadReader reader(adapter, info);
    Pattern::Rect rect;
    rect.x = reader.ReadFloat();
    rect.y = reader.ReadFloat();
    rect.width = reader.ReadFloat();
    rect.height = reader.ReadFloat();
    return rect;
}

void WriteRect(Chunky& chunky, ByteStreamAdapter& adapter, uint32 id, const Pattern::Rect& rect)
{
    chunky.OpenDataChunk(id, DataVersion, nullptr);
    const float values[4] = {rect.x, rect.y, rect.width, rect.height};
    adapter.WriteArray(values, 4);
    chunky.CloseChunk();
}

// The image as 32-bit RGBA, converted when it is of another type.
std::unique_ptr<Image> AsRGBA32(std::unique_ptr<Image> pImage)
{
    if (!pImage || pImage->GetImageType() == IMAGETYPE_RGBA32)
        return pImage;
    if (!Image::CanConvert(IMAGETYPE_RGBA32, pImage->GetImageType()))
        Fail("a layer image of type %d cannot be read as 32-bit RGBA", pImage->GetImageType());
    std::unique_ptr<Image> pConverted = Image::Convert(IMAGETYPE_RGBA32, *pImage);
    if (pConverted)
        pConverted->SetName(pImage->GetNameText());
    return pConverted;
}

// One layer of the older form: "PTIN" gives the index, the image's alpha the mask.
void ReadOldLayer(Chunky& chunky, ByteStreamAdapter& adapter, Pattern& pattern)
{
    chunky.ReadFolderChunk(ID_PTLR, PTLRVersion);
    int32 layer = -1;
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Data && info.id == ID_PTIN)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_PTIN, PTINVersion);
            ra::MotionPayloadReader reader(adapter, data);
            layer = reader.ReadInt32();
            if (data.version == 1)
                reader.ReadUInt32(); // a value of the first version that nothing uses
            chunky.CloseChunk();
            if (layer < 0 || layer >= Pattern::LAYER_PATTERN_COUNT)
                Fail("PTIN: layer index %d out of range 0..%d", layer, Pattern::LAYER_PATTERN_COUNT - 1);
        }
        else if (info.kind == Chunky::CT_Folder && info.id == ImageLoad::ID_IMAG)
        {
            if (layer < 0)
                Fail("PTLR: a layer image before its PTIN chunk");
            std::unique_ptr<Image> pImage = AsRGBA32(ImageLoad::Load(chunky, adapter));
            if (!pImage)
                Fail("PTLR: the image of layer %d does not load", layer);
            if (pattern.GetWidth() == 0 && pattern.GetHeight() == 0)
                pattern.SetSize(pImage->GetWidth(), pImage->GetHeight());
            if (!dbAssert(pImage->GetWidth() == pattern.GetWidth()) ||
                !dbAssert(pImage->GetHeight() == pattern.GetHeight()))
                Fail("PTLR: the image of layer %d is %ux%u, the pattern %ux%u", layer, pImage->GetWidth(),
                     pImage->GetHeight(), pattern.GetWidth(), pattern.GetHeight());
            const size_t count = pattern.GetMaskSize();
            uint8* pPixels = pImage->GetData();
            std::unique_ptr<uint8[]> mask(new uint8[count]);
            for (size_t i = 0; i < count; ++i)
                mask[i] = pPixels[i * 4 + 3];
            pattern.SetLayer(layer, std::move(mask));
            if (layer == Pattern::LAYER_DIRT)
            {
                for (size_t i = 0; i < count; ++i)
                    pPixels[i * 4 + 3] = 255;
                pattern.SetDirtImage(std::move(pImage));
            }
        }
    }
    chunky.CloseChunk();
}

void ReadPattern(Chunky& chunky, ByteStreamAdapter& adapter, Pattern& pattern)
{
    const ChunkInfo folder = chunky.ReadFolderChunk(ID_TPAT, TPATVersion);
    if (std::strlen(folder.name.c_str()) >= Pattern::SCHEME_LENGTH)
        Fail("TPAT: scheme name '%.40s...' longer than %zu characters", folder.name.c_str(),
             Pattern::SCHEME_LENGTH - 1);
    pattern.SetScheme(folder.name.c_str());

    // Masks are checked against the size once every child is read: "INFO" may come last.
    std::vector<uint8> cMask[Pattern::LAYER_PATTERN_COUNT];
    bool hasMask[Pattern::LAYER_PATTERN_COUNT] = {};
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind == Chunky::CT_Data && info.id == ID_INFO)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_INFO, DataVersion);
            ra::MotionPayloadReader reader(adapter, data);
            const uint32 width = reader.ReadUInt32();
            const uint32 height = reader.ReadUInt32();
            chunky.CloseChunk();
            if (width > Image::MaxSide || height > Image::MaxSide)
                Fail("INFO: size %ux%u above %ux%u", width, height, Image::MaxSide, Image::MaxSide);
            pattern.SetSize(width, height);
        }
        else if (info.kind == Chunky::CT_Data && info.id == ID_PTLD)
        {
            const ChunkInfo data = chunky.ReadDataChunk(ID_PTLD, DataVersion);
            ra::MotionPayloadReader reader(adapter, data);
            const int32 layer = reader.ReadInt32();
            if (layer < 0 || layer >= Pattern::LAYER_PATTERN_COUNT)
                Fail("PTLD: layer index %d out of range 0..%d", layer, Pattern::LAYER_PATTERN_COUNT - 1);
            const uint32 count = reader.ReadCount(1);
            cMask[layer].resize(count);
            if (count > 0 && adapter.Read(cMask[layer].data(), count) != count)
                Fail("PTLD: layer %d is cut short", layer);
            hasMask[layer] = true;
            chunky.CloseChunk();
        }
        else if (info.kind == Chunky::CT_Folder && info.id == ImageLoad::ID_IMAG)
        {
            std::unique_ptr<Image> pImage = ImageLoad::Load(chunky, adapter);
            if (!pImage)
                Fail("the dirt image does not load");
            pattern.SetDirtImage(std::move(pImage));
        }
        else if (info.kind == Chunky::CT_Data && (info.id == ID_PTBD || info.id == ID_PTBN))
        {
            const ChunkInfo data = chunky.ReadDataChunk(info.id, DataVersion);
            const Pattern::Rect rect = ReadRect(adapter, data);
            chunky.CloseChunk();
            if (info.id == ID_PTBD)
                pattern.SetBadge(rect);
            else
                pattern.SetBanner(rect);
        }
        else if (info.kind == Chunky::CT_Folder && info.id == ID_PTLR)
            ReadOldLayer(chunky, adapter, pattern);
    }
    chunky.CloseChunk();

    const size_t size = pattern.GetMaskSize();
    for (int layer = 0; layer < Pattern::LAYER_PATTERN_COUNT; ++layer)
    {
        if (!hasMask[layer])
            continue;
        if (cMask[layer].size() != size)
            Fail("PTLD: layer %d holds %zu bytes, the size %ux%u needs %zu", layer, cMask[layer].size(),
                 pattern.GetWidth(), pattern.GetHeight(), size);
        std::unique_ptr<uint8[]> mask(new uint8[size]);
        if (size > 0)
            std::memcpy(mask.get(), cMask[layer].data(), size);
        pattern.SetLayer(layer, std::move(mask));
    }
}

void WritePattern(Chunky& chunky, ByteStreamAdapter& adapter, const Pattern& pattern)
{
    chunky.OpenFolderChunk(ID_TPAT, TPATVersion, pattern.GetScheme());

    chunky.OpenDataChunk(ID_INFO, DataVersion, nullptr);
    const uint32 size[2] = {pattern.GetWidth(), pattern.GetHeight()};
    adapter.WriteArray(size, 2);
    chunky.CloseChunk();

    const uint32 count = uint32(pattern.GetMaskSize());
    for (int layer = 0; layer < Pattern::LAYER_PATTERN_COUNT; ++layer)
    {
        const uint8* pMask = pattern.GetLayer(layer);
        if (pMask == nullptr)
            continue;
        chunky.OpenDataChunk(ID_PTLD, DataVersion, nullptr);
        adapter.WriteValue(int32(layer));
        adapter.WriteValue(count);
        adapter.Write(pMask, count);
        chunky.CloseChunk();
    }
    if (const Image* pDirt = pattern.GetDirtImage())
        ImageLoad::Save(chunky, adapter, *pDirt);
    if (pattern.HasBadge())
        WriteRect(chunky, adapter, ID_PTBD, pattern.GetBadge());
    if (pattern.HasBanner())
        WriteRect(chunky, adapter, ID_PTBN, pattern.GetBanner());

    chunky.CloseChunk();
}
} // namespace

std::unique_ptr<Pattern> Pattern::Load(const char* name)
{
    char fileName[FilePath::MAXPATH];
    if (!TqpName(fileName, name))
        return nullptr;
    std::shared_ptr<ByteStream> pStream = FilePath::Open(fileName, ByteStream::Mode_Read);
    if (!pStream)
    {
        dbWarningf("'%s': Unable to open file!", fileName);
        return nullptr;
    }
    ByteStreamAdapter adapter(*pStream);
    return Load(adapter, fileName);
}

std::unique_ptr<Pattern> Pattern::Load(ByteStreamAdapter& adapter, const char* name)
{
    auto pPattern = std::make_unique<Pattern>();
    try
    {
        Chunky chunky(adapter);
        ReadPattern(chunky, adapter, *pPattern);
    }
    catch (const std::exception& e)
    {
        dbWarningf("'%s': %s", name != nullptr ? name : "", e.what());
        return nullptr;
    }
    return pPattern;
}

bool Pattern::Save(const char* name, const Pattern& pattern)
{
    char fileName[FilePath::MAXPATH];
    if (!TqpName(fileName, name))
        return false;
    return ra::WithChunkFile(fileName, ByteStream::Mode_Write,
                             [&](Chunky& chunky, ByteStreamAdapter& adapter)
                             { WritePattern(chunky, adapter, pattern); });
}

const char* Pattern::LayerName(int layer)
{
    return layer >= 0 && layer < LAYER_PATTERN_COUNT ? s_LayerNames[layer] : nullptr;
}

void Pattern::SetScheme(const char* schemeName)
{
    if (!dbAssert(schemeName) || !dbAssert(strlen(schemeName) < SCHEME_LENGTH))
        return;
    std::strcpy(m_scheme.data(), schemeName);
}

void Pattern::SetSize(uint32 width, uint32 height)
{
    if (width == m_width && height == m_height)
        return;
    // Masks of the old size would be read past their end.
    for (std::unique_ptr<uint8[]>& mask : m_cLayer)
        mask.reset();
    m_width = width;
    m_height = height;
}

void Pattern::SetLayer(int layer, std::unique_ptr<uint8[]> mask)
{
    if (!dbAssert(layer >= 0) || !dbAssert(layer < Pattern::LAYER_PATTERN_COUNT))
        return;
    m_cLayer[layer] = std::move(mask);
}

const uint8* Pattern::GetLayer(int layer) const
{
    if (!dbAssert(layer >= 0) || !dbAssert(layer < Pattern::LAYER_PATTERN_COUNT))
        return nullptr;
    return m_cLayer[layer].get();
}

void Pattern::SetBadge(const Rect& rect)
{
    m_badge = rect;
    m_hasBadge = true;
}

void Pattern::SetBanner(const Rect& rect)
{
    m_banner = rect;
    m_hasBanner = true;
}

const char* DefaultScheme()
{
    return "default";
}

bool PatternFileName(char* out, const char* textureName, const char* schemeName)
{
    if (!dbAssert(out) || !dbAssert(textureName) || !dbAssert(schemeName))
        return false;
    char full[FilePath::MAXPATH];
    if (FilePathUtil::HasAlias(textureName))
    {
        if (!FilePathUtil::Copy(full, textureName))
            return false;
    }
    else if (std::snprintf(full, sizeof(full), "DATA:%s", textureName) >= int(sizeof(full)))
        return false;
    char alias[FilePath::MAXPATH], folder[FilePath::MAXPATH], base[FilePath::MAXPATH];
    if (!FilePathUtil::SplitPath(full, alias, folder, base, nullptr))
        return false;
    const std::string name = std::string(base) + "_" + schemeName;
    if (name.size() >= FilePath::MAXPATH)
        return false;
    return FilePathUtil::MakePath(out, alias, folder, name.c_str(), ".tqp");
}

bool PatternExists(const char* textureName, const char* schemeName)
{
    char name[FilePath::MAXPATH];
    return PatternFileName(name, textureName, schemeName) &&
           FilePath::Open(name, ByteStream::Mode_Read) != nullptr;
}
} // namespace TeamColour
