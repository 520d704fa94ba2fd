#include "teamcolour/patternexport.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "image/imageload.h"
#include "pipeline/pipeline.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "teamcolour/burnsteps.h"
#include "teamcolour/exporttext.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace TeamColour
{
namespace
{
constexpr uint32 ChannelArt = Tag3("ART");

struct SourceParts
{
    char alias[FilePath::MAXPATH] = {};
    char folder[FilePath::MAXPATH] = {};
    char base[FilePath::MAXPATH] = {};
    char ext[FilePath::MAXPATH] = {};
};

// The companion image `part` of the texture, loaded as 32-bit RGBA and named by its full path;
// null when there is none.
std::unique_ptr<Image> LoadCompanion(const SourceParts& parts, const std::string& layerBase, const char* part)
{
    char path[FilePath::MAXPATH];
    const std::string name = layerBase + part;
    if (name.size() >= FilePath::MAXPATH ||
        !FilePathUtil::MakePath(path, parts.alias, parts.folder, name.c_str(), parts.ext))
        return nullptr;
    if (FilePath::FileType(path) != 1) // a file, not a folder
        return nullptr;
    int sourceFormat = 0;
    std::unique_ptr<Image> pImage = ImageLoad::Load(&sourceFormat, path, IMAGETYPE_RGBA32);
    if (pImage)
        pImage->SetName(path);
    return pImage;
}

// The mask of a layer: byte 3 of each pixel, in storage order.
void ExtractLayer(Pattern& pattern, int layer, const Image& image, const char* textureFile)
{
    if (image.GetWidth() != pattern.GetWidth() || image.GetHeight() != pattern.GetHeight())
        throw std::runtime_error(Format("Merge: Layer '%s' does not match texture '%s' dimensions!",
                                        image.GetNameText(), textureFile));
    const size_t count = pattern.GetMaskSize();
    const uint8* pPixels = image.GetData();
    std::unique_ptr<uint8[]> mask(new uint8[count]);
    for (size_t i = 0; i < count; ++i)
        mask[i] = pPixels[i * 4 + 3];
    pattern.SetLayer(layer, std::move(mask));
}

} // namespace

Pattern::Rect LocateRect(const Image* pImage, uint32 width, uint32 height)
{
    Pattern::Rect rect;
    if (!dbAssert(pImage) || !dbAssert(pImage->GetImageType() == IMAGETYPE_RGBA32))
        return rect;
    const uint32 imageWidth = pImage->GetWidth();
    const uint32 imageHeight = pImage->GetHeight();
    if (!dbAssert((uint64(imageWidth) * imageHeight * 4) == pImage->GetDataSize()))
        return rect;
    const uint8* pPixels = pImage->GetData();
    const size_t count = size_t(imageWidth) * imageHeight;
    for (size_t i = 0; i < count; ++i)
    {
        const uint8* pPixel = pPixels + i * 4;
        if (pPixel[2] == 255 && pPixel[0] == 255)
        {
            rect.x = float(i % imageWidth);
            rect.y = float(i / imageWidth);
            rect.width = float(width);
            rect.height = float(height);
            if (int64(i % imageWidth) > int64(imageWidth) - int64(width) ||
                int64(i / imageWidth) > int64(imageHeight) - int64(height))
                throw std::runtime_error(
                    Format("Merge: Invalid Badge or Banner Coordinates for '%s'!  The area "
                           "must fit completely inside the image!\n",
                           pImage->GetNameText()));
            return rect;
        }
    }
    return rect;
}

std::unique_ptr<Pattern> BuildPattern(const char* textureFile, const char* schemeName)
{
    if (!dbAssert(textureFile) || !dbAssert(schemeName))
        return nullptr;
    SourceParts parts;
    if (!FilePathUtil::SplitPath(textureFile, parts.alias, parts.folder, parts.base, parts.ext))
        return nullptr;
    const std::string layerBase = std::string(parts.base) + "_" + schemeName + "_";

    int sourceFormat = 0;
    std::unique_ptr<Image> pTexture = ImageLoad::Load(&sourceFormat, textureFile, IMAGETYPE_RGBA32);
    if (!pTexture)
        return nullptr;

    auto pPattern = std::make_unique<Pattern>(pTexture->GetWidth(), pTexture->GetHeight());
    pPattern->SetScheme(schemeName);
    bool anyLayer = false;
    for (int layer = 0; layer < Pattern::LAYER_DIRT; ++layer)
    {
        if (std::unique_ptr<Image> pImage = LoadCompanion(parts, layerBase, Pattern::LayerName(layer)))
        {
            ExtractLayer(*pPattern, layer, *pImage, textureFile);
            anyLayer = true;
        }
    }
    if (std::unique_ptr<Image> pBadge = LoadCompanion(parts, layerBase, "badge"))
    {
        const Pattern::Rect rect = LocateRect(pBadge.get(), BadgeWidth, BadgeHeight);
        if (rect.width > 0 && rect.height > 0)
            pPattern->SetBadge(rect);
    }
    if (std::unique_ptr<Image> pBanner = LoadCompanion(parts, layerBase, "banner"))
    {
        const Pattern::Rect rect = LocateRect(pBanner.get(), BannerWidth, BannerHeight);
        if (rect.width > 0 && rect.height > 0)
            pPattern->SetBanner(rect);
    }
    if (std::unique_ptr<Image> pDirt =
            LoadCompanion(parts, layerBase, Pattern::LayerName(Pattern::LAYER_DIRT)))
    {
        // The dirt mask is the dirt image's own alpha; the image kept carries the texture's alpha.
        ExtractLayer(*pPattern, Pattern::LAYER_DIRT, *pDirt, textureFile);
        uint8* pDst = pDirt->GetData();
        const uint8* pSrc = pTexture->GetData();
        for (size_t i = 0; i < pPattern->GetMaskSize(); ++i)
            pDst[i * 4 + 3] = pSrc[i * 4 + 3];
        pPattern->SetDirtImage(std::move(pDirt));
        anyLayer = true;
    }
    if (!anyLayer)
        return nullptr;

    if (pPattern->GetLayer(0) == nullptr)
        dbTagf(ChannelArt, "Team Pattern Export -- Unable to find '%s' primary team colour layer for '%s'!",
               schemeName, textureFile);
    if (pPattern->GetLayer(Pattern::LAYER_DIRT) == nullptr)
        dbTagf(ChannelArt, "Team Pattern Export -- Unable to find '%s' dirt team colour layer for '%s'!",
               schemeName, textureFile);
    if (pPattern->GetDirtImage() == nullptr)
        dbTagf(ChannelArt, "Team Pattern Export -- Unable to find '%s' dirt team colour image for '%s'!",
               schemeName, textureFile);
    return pPattern;
}

bool ExportTeamPattern(const char* projectName, const char* textureName)
{
    if (!dbAssert(projectName) || !dbAssert(textureName))
        return false;
    const char* scheme = DefaultScheme();
    const char* sourcePath = Pipeline::ProjectFolder(projectName, DataSource);
    if (!dbAssert(sourcePath))
        return false;
    const std::string source =
        NormalizedPath(std::string("TOOL:") + sourcePath + "\\" + textureName + ".tga");
    std::unique_ptr<Pattern> pPattern = BuildPattern(source.c_str(), scheme);
    if (!pPattern)
        return true;

    const char* genericPath = Pipeline::ProjectFolder(projectName, DataGeneric);
    if (!dbAssert(genericPath))
        return false;
    const std::string target =
        NormalizedPath(std::string(genericPath) + "\\" + textureName + "_" + scheme + ".tqp");

    uint32 changelist = 0;
    if (!GetBurnSteps().open(changelist, target.c_str()))
        throw std::runtime_error(
            Format("Merge: Unable to open team colour pattern '%s' in P4!  Please make sure no one "
                   "else has it checked-out in P4 (Data Generic / Data Final)!\n",
                   target.c_str()));
    const std::string toolTarget = "TOOL:" + target;
    if (!FilePathHDRaw::MakeFolders(target.c_str()) || !Pattern::Save(toolTarget.c_str(), *pPattern))
        return false;
    if (!GetBurnSteps().burn(target, changelist))
        throw Format(
            "Merge: Unable to burn team colour pattern '%s' pattern in P4!  Please make sure no one else has "
            "it checked-out in P4 (Data Generic / Data Final)!\n",
            target.c_str());
    return true;
}
} // namespace TeamColour
