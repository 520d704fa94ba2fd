// tq7z image info FILE [--json] and tq7z image convert IN OUT [--type N] [--mips]: what an image
// file holds, and conversion between image files and the chunk form, DXT encoding and decoding
// included.
#include "cli/command.h"
#include "cli/outputfile.h"
#include "cli/toolalias.h"

#include "image/imageload.h"
#include "storage/bytestream.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "storage/userpath.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

using cli::ToolAlias;

namespace
{
const char* TypeName(int type)
{
    switch (type)
    {
    case IMAGETYPE_RGBA32:
        return "RGBA32";
    case IMAGETYPE_LUMINANCE:
        return "luminance";
    case IMAGETYPE_PALETTE:
        return "palette";
    case IMAGETYPE_RGB565:
        return "RGB565";
    case IMAGETYPE_RGBA5551:
        return "RGBA5551";
    case IMAGETYPE_RGBA4444:
        return "RGBA4444";
    case IMAGETYPE_RGB888:
        return "RGB888";
    case IMAGETYPE_DXT1:
        return "DXT1";
    case IMAGETYPE_DXT3:
        return "DXT3";
    case IMAGETYPE_DXT5:
        return "DXT5";
    default:
        return "?";
    }
}

const char* SourceFormatName(int sourceFormat)
{
    switch (sourceFormat)
    {
    case SOURCEFORMAT_OPAQUE:
        return "opaque";
    case SOURCEFORMAT_ALPHA:
        return "alpha";
    case SOURCEFORMAT_LUMINANCE:
        return "luminance";
    case SOURCEFORMAT_DXT1:
        return "DXT1";
    case SOURCEFORMAT_DXT3:
        return "DXT3";
    case SOURCEFORMAT_DXT5:
        return "DXT5";
    default:
        return "other";
    }
}

bool IsChunkFile(const std::string& file)
{
    return FilePathUtil::HasExtension(file.c_str(), "img");
}

// Files of pixels for any viewer: compressed blocks are decoded before they are written.
bool IsPixelFile(const std::string& file)
{
    return FilePathUtil::HasExtension(file.c_str(), "tga") || FilePathUtil::HasExtension(file.c_str(), "jpg");
}

// The first "IMAG" folder at the top of a chunk file.
std::unique_ptr<Image> LoadChunkFile(const std::string& command, const std::string& file)
{
    std::shared_ptr<ByteStream> pStream =
        FilePath::Open(ToolAlias::Name(file).c_str(), ByteStream::Mode_Read);
    if (!pStream)
    {
        std::fprintf(stderr, "tq7z image %s: %s: cannot be opened for reading\n", command.c_str(),
                     file.c_str());
        return nullptr;
    }
    ByteStreamAdapter adapter(pStream.get());
    try
    {
        Chunky chunky(adapter);
        if (!chunky.FindChunk(Chunky::CT_Folder, ImageLoad::ID_IMAG))
        {
            std::fprintf(stderr, "tq7z image %s: %s: holds no IMAG folder\n", command.c_str(), file.c_str());
            return nullptr;
        }
        std::unique_ptr<Image> pImage = ImageLoad::Load(chunky, adapter, 0);
        if (!pImage)
            std::fprintf(stderr, "tq7z image %s: %s: the IMAG folder does not load\n", command.c_str(),
                         file.c_str());
        return pImage;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z image %s: %s: %s at byte offset %u\n", command.c_str(), file.c_str(),
                     e.what(), pStream->GetPos());
        return nullptr;
    }
}

// A picture file or, for a name ending in ".img", the image of a chunk file.
std::unique_ptr<Image> LoadAny(const std::string& command, const std::string& file, int* pSourceFormat)
{
    *pSourceFormat = SOURCEFORMAT_OTHER;
    if (!std::filesystem::is_regular_file(file))
    {
        std::fprintf(stderr, "tq7z image %s: %s: no such file\n", command.c_str(), file.c_str());
        return nullptr;
    }
    if (IsChunkFile(file))
        return LoadChunkFile(command, file);
    std::unique_ptr<Image> pImage = ImageLoad::Load(pSourceFormat, ToolAlias::Name(file).c_str());
    if (!pImage)
        std::fprintf(stderr, "tq7z image %s: %s: does not load as an image\n", command.c_str(), file.c_str());
    return pImage;
}

int RunInfo(const std::string& file, bool json)
{
    ToolAlias tool;
    int sourceFormat = SOURCEFORMAT_OTHER;
    std::unique_ptr<Image> pImage = LoadAny("info", file, &sourceFormat);
    if (!pImage)
        return 1;
    if (json)
    {
        std::printf("{\"type\": %d, \"width\": %u, \"height\": %u, \"mips\": %u, \"source_format\": %d}\n",
                    pImage->GetImageType(), pImage->GetWidth(), pImage->GetHeight(), pImage->GetMipCount(),
                    sourceFormat);
    }
    else
    {
        std::printf("type: %d (%s)\nwidth: %u\nheight: %u\nmips: %u\nsource_format: %d (%s)\n",
                    pImage->GetImageType(), TypeName(pImage->GetImageType()), pImage->GetWidth(),
                    pImage->GetHeight(), pImage->GetMipCount(), sourceFormat, SourceFormatName(sourceFormat));
    }
    return 0;
}

// Converts when the table of conversions has the pair; otherwise says so.
bool ConvertTo(int type, std::unique_ptr<Image>& pImage)
{
    if (type == pImage->GetImageType())
        return true;
    if (!Image::CanConvert(type, pImage->GetImageType()))
    {
        std::fprintf(stderr,
                     "tq7z image convert: an image of type %d (%s) cannot be converted to type %d (%s)\n",
                     pImage->GetImageType(), TypeName(pImage->GetImageType()), type, TypeName(type));
        return false;
    }
    std::unique_ptr<Image> pConverted = Image::Convert(type, *pImage);
    if (!pConverted)
    {
        std::fprintf(stderr, "tq7z image convert: conversion to type %d failed\n", type);
        return false;
    }
    pImage = std::move(pConverted);
    return true;
}

bool SaveChunkFile(const std::string& file, const Image& image)
{
    std::shared_ptr<ByteStream> pStream =
        FilePath::Open(ToolAlias::Name(file).c_str(), ByteStream::Mode_Write);
    if (!pStream)
    {
        std::fprintf(stderr, "tq7z image convert: %s: cannot be opened for writing\n", file.c_str());
        return false;
    }
    ByteStreamAdapter adapter(pStream.get());
    try
    {
        Chunky chunky(adapter);
        ImageLoad::Save(chunky, adapter, image);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z image convert: %s: %s\n", file.c_str(),
                     UserPath::InText(e.what()).c_str());
        return false;
    }
    return true;
}

int RunConvert(const std::string& in, const std::string& out, int type, bool mips)
{
    if (!cli::CheckOutputExtension("image convert", out, {".tga", ".jpg", ".dds", ".img"}))
        return 2;
    if (type != IMAGETYPE_ASFILE && !Image::IsValidType(type))
    {
        std::fprintf(
            stderr, "tq7z image convert: --type %d is no image type (0, 1, 2, 4, 5, 6, 7, 8, 10, 11 or 12)\n",
            type);
        return 1;
    }
    if (!cli::CheckOutputFolder("image convert", out))
        return 1;
    ToolAlias tool;
    int sourceFormat = SOURCEFORMAT_OTHER;
    std::unique_ptr<Image> pImage = LoadAny("convert", in, &sourceFormat);
    if (!pImage)
        return 1;
    if (mips)
    {
        // The chain is made on 32-bit pixels; the wanted type follows.
        if (!ConvertTo(IMAGETYPE_RGBA32, pImage) || !CreateMipMapChain(*pImage))
            return 1;
    }
    if (type != IMAGETYPE_ASFILE && !ConvertTo(type, pImage))
        return 1;
    if (type == IMAGETYPE_ASFILE && pImage->IsCompressed() && IsPixelFile(out) &&
        !ConvertTo(IMAGETYPE_RGBA32, pImage))
        return 1;

    // The chunk form carries the name of the image: the input's base name.
    char baseName[FilePathUtil::MAXPATH] = "";
    FilePathUtil::GetBaseName(in.c_str(), baseName);
    pImage->SetName(baseName);

    if (IsChunkFile(out))
    {
        if (!ImageLoad::IsChunkType(pImage->GetImageType()))
        {
            std::fprintf(stderr, "tq7z image convert: %s: the chunk form does not carry type %d (%s)\n",
                         out.c_str(), pImage->GetImageType(), TypeName(pImage->GetImageType()));
            return 1;
        }
        return SaveChunkFile(out, *pImage) ? 0 : 1;
    }
    if (!ImageLoad::Save(ToolAlias::Name(out).c_str(), *pImage))
    {
        std::fprintf(stderr, "tq7z image convert: %s: could not be written (see the message above)\n",
                     out.c_str());
        return 1;
    }
    return 0;
}

cli::CommandRegistrar s_image(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* image = app.add_subcommand("image", "Inspect and convert image files");
        image->require_subcommand(1);

        CLI::App* info =
            image->add_subcommand("info", "Print the type, size, mip count and source format of an image");
        info->footer(
            "FILE is a .dds, .jpg, .tga, .bmp or .bw file, or a chunk file ending in .img whose first IMAG\n"
            "folder is read. Types: 0 RGBA32, 1 luminance, 2 palette, 4 RGB565, 5 RGBA5551, 6 RGBA4444,\n"
            "7 RGB888, 8 DXT1, 10 DXT3, 11 DXT5. Source formats: 0 opaque (24-bit, paletted, JPEG),\n"
            "1 alpha (32-bit), 3 luminance (.bw), 5/6/7 DXT1/3/5, 8 other (a chunk file). A file that does\n"
            "not load exits 1.\n");
        static std::string s_infoFile;
        static bool s_json = false;
        info->add_option("FILE", s_infoFile, "The image file")->required();
        info->add_flag("--json", s_json, "One JSON object: type, width, height, mips, source_format");
        info->callback([&exitCode] { exitCode = RunInfo(s_infoFile, s_json); });

        CLI::App* convert =
            image->add_subcommand("convert", "Convert an image file to another type or file format");
        convert->footer(
            "IN is any file `image info` reads. OUT is written by its extension: .tga (types 0 and 7),\n"
            ".jpg (converted to RGB888, quality 100), .dds (types 8, 10, 11 with power-of-two sides), or\n"
            ".img, a chunk file holding one IMAG folder named after IN (any type but 4, 5 and 6); any\n"
            "other extension is a usage error (exit 2) and nothing is read or written.\n"
            "--type converts first (12 keeps the type of IN); the pairs handled are: to 0 from 1, 2, 4, 5,\n"
            "6, 7, 8, 10, 11; to 1 from 2; to 2 from 0 and 7; to 6 and 7 from 0; to 8, 10, 11 (DXT1, DXT3,\n"
            "DXT5, encoded on all cores) from any type. --mips builds the mip chain (on 32-bit pixels)\n"
            "before that. Without --type, a DXT image written as .tga or .jpg is decoded to type 0, so a\n"
            "DDS or a compressed texture can be looked at in any viewer (a .tga holds the top level).\n");
        static std::string s_in;
        static std::string s_out;
        static int s_type = IMAGETYPE_ASFILE;
        static bool s_mips = false;
        convert->add_option("IN", s_in, "The image to read")->required();
        convert->add_option("OUT", s_out, "The file to write")->required();
        convert->add_option("--type", s_type, "The image type to write (default 12: as read)");
        convert->add_flag("--mips", s_mips, "Build the mip chain down to 1 by 1");
        convert->callback([&exitCode] { exitCode = RunConvert(s_in, s_out, s_type, s_mips); });
    });
} // namespace
