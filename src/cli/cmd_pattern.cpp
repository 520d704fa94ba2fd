// tq7z pattern info FILE.tqp [--json] and tq7z pattern build TEXTURE [--scheme NAME] OUT.tqp: what a
// team colour pattern holds, and a pattern made from the companion images of a texture.
#include "cli/command.h"
#include "cli/outputfile.h"
#include "cli/toolalias.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "storage/userpath.h"
#include "teamcolour/pattern.h"
#include "teamcolour/patternexport.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace
{
using Json = nlohmann::ordered_json;
using TeamColour::Pattern;

using PatternSession = cli::ToolAlias;

Json RectJson(bool present, const Pattern::Rect& rect)
{
    return present ? Json::array({rect.x, rect.y, rect.width, rect.height}) : Json(nullptr);
}

Json PatternJson(const Pattern& pattern)
{
    Json info;
    info["scheme"] = pattern.GetScheme();
    info["width"] = pattern.GetWidth();
    info["height"] = pattern.GetHeight();
    info["layers"] = Json::array();
    for (int layer = 0; layer < Pattern::LAYER_PATTERN_COUNT; ++layer)
    {
        const uint8* pMask = pattern.GetLayer(layer);
        if (pMask == nullptr)
            continue;
        size_t nonzero = 0;
        for (size_t i = 0; i < pattern.GetMaskSize(); ++i)
            nonzero += pMask[i] != 0 ? 1 : 0;
        info["layers"].push_back(
            {{"index", layer}, {"name", Pattern::LayerName(layer)}, {"nonzero", nonzero}});
    }
    const Image* pDirt = pattern.GetDirtImage();
    info["dirt"] =
        pDirt != nullptr ? Json{{"width", pDirt->GetWidth()}, {"height", pDirt->GetHeight()}} : Json(nullptr);
    info["badge"] = RectJson(pattern.HasBadge(), pattern.GetBadge());
    info["banner"] = RectJson(pattern.HasBanner(), pattern.GetBanner());
    return info;
}

std::string RectText(const Json& rect)
{
    if (rect.is_null())
        return "none";
    char text[128];
    std::snprintf(text, sizeof(text), "x %g, y %g, %g by %g", rect[0].get<double>(), rect[1].get<double>(),
                  rect[2].get<double>(), rect[3].get<double>());
    return text;
}

void PrintText(const Json& info)
{
    std::printf("scheme: %s\n", info["scheme"].get<std::string>().c_str());
    std::printf("size: %u x %u\n", info["width"].get<uint32>(), info["height"].get<uint32>());
    std::printf("layers: %zu\n", info["layers"].size());
    for (const Json& layer : info["layers"])
        std::printf("  %d %s: %zu non-zero\n", layer["index"].get<int>(),
                    layer["name"].get<std::string>().c_str(), layer["nonzero"].get<size_t>());
    const Json& dirt = info["dirt"];
    if (dirt.is_null())
        std::printf("dirt image: none\n");
    else
        std::printf("dirt image: %u x %u\n", dirt["width"].get<uint32>(), dirt["height"].get<uint32>());
    std::printf("badge: %s\n", RectText(info["badge"]).c_str());
    std::printf("banner: %s\n", RectText(info["banner"]).c_str());
}

bool IsTqpName(const std::string& file)
{
    return FilePathUtil::HasExtension(file.c_str(), "tqp");
}

int RunInfo(const std::string& file, bool json)
{
    if (!IsTqpName(file))
    {
        std::fprintf(stderr, "tq7z pattern info: '%s' is no .tqp file\n", file.c_str());
        return 2;
    }
    PatternSession session;
    std::unique_ptr<Pattern> pPattern = Pattern::Load(PatternSession::Name(file).c_str());
    if (!pPattern)
    {
        std::fprintf(stderr, "tq7z pattern info: '%s' does not load as a team colour pattern\n",
                     file.c_str());
        return 1;
    }
    const Json info = PatternJson(*pPattern);
    if (json)
        std::printf("%s\n", info.dump(2).c_str());
    else
        PrintText(info);
    return 0;
}

int RunBuild(const std::string& texture, const std::string& scheme, const std::string& out)
{
    if (!cli::CheckOutputExtension("pattern build", out, {".tqp"}))
        return 2;
    if (scheme.empty() || scheme.size() >= Pattern::SCHEME_LENGTH ||
        scheme.find_first_of("\\/:") != std::string::npos)
    {
        std::fprintf(stderr,
                     "tq7z pattern build: the scheme '%s' must be 1 to %zu characters, without \\ / or :\n",
                     scheme.c_str(), Pattern::SCHEME_LENGTH - 1);
        return 2;
    }
    if (!cli::CheckOutputFolder("pattern build", out))
        return 1;
    PatternSession session;
    const std::string textureName = PatternSession::Name(texture);
    if (FilePath::FileType(textureName.c_str()) != 1)
    {
        std::fprintf(stderr, "tq7z pattern build: the texture '%s' does not exist\n", texture.c_str());
        return 1;
    }
    std::unique_ptr<Pattern> pPattern;
    try
    {
        pPattern = TeamColour::BuildPattern(textureName.c_str(), scheme.c_str());
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z pattern build: %s%s", UserPath::InText(e.what()).c_str(),
                     std::strchr(e.what(), '\n') != nullptr ? "" : "\n");
        return 1;
    }
    if (!pPattern)
    {
        std::fprintf(stderr,
                     "tq7z pattern build: no pattern for '%s' (the texture does not load, or no layer image "
                     "of the scheme '%s' lies beside it); nothing written\n",
                     texture.c_str(), scheme.c_str());
        return 0;
    }
    if (!Pattern::Save(PatternSession::Name(out).c_str(), *pPattern))
    {
        std::fprintf(stderr, "tq7z pattern build: '%s' cannot be written\n", out.c_str());
        return 1;
    }
    const Json info = PatternJson(*pPattern);
    std::printf("%s: scheme %s, %u x %u, %zu layers, dirt image %s, badge %s, banner %s\n", out.c_str(),
                pPattern->GetScheme(), pPattern->GetWidth(), pPattern->GetHeight(), info["layers"].size(),
                info["dirt"].is_null() ? "no" : "yes", info["badge"].is_null() ? "no" : "yes",
                info["banner"].is_null() ? "no" : "yes");
    return 0;
}

cli::CommandRegistrar s_pattern(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* pattern =
            cli::GetOrAddSubcommand(app, "pattern", "Inspect and build team colour patterns (.tqp)");

        CLI::App* info = pattern->add_subcommand("info", "Print what a team colour pattern file holds");
        info->footer(
            "Prints the scheme, the size, each layer present with its count of non-zero mask bytes,\n"
            "the dirt image's size and the badge and banner rectangles (x, y, width, height).\n"
            "--json prints one object with the keys scheme, width, height, layers (index, name,\n"
            "nonzero), dirt (null or width, height), badge and banner (null or [x, y, width, height]).\n"
            "A file that does not load exits 1.\n");
        static std::string s_infoFile;
        static bool s_json = false;
        info->add_option("FILE", s_infoFile, "The .tqp file")->required();
        info->add_flag("--json", s_json, "Print one JSON object");
        info->callback([&exitCode] { exitCode = RunInfo(s_infoFile, s_json); });

        CLI::App* build =
            pattern->add_subcommand("build", "Build a team colour pattern from a texture's companion images");
        build->footer(
            "The companion images lie beside TEXTURE, with its extension, named after its base name and\n"
            "the scheme: for units/scout.tga and the scheme default, scout_default_primary.tga, _secondary,\n"
            "_trim, _weapons, _eyes and _dirt (masks in their alpha), and scout_default_badge.tga and\n"
            "_banner, whose first pixel of red and blue 255 places a 64 by 64 badge or a 64 by 96 banner.\n"
            "Exits 1 when a layer image is not the texture's size or a rectangle does not fit, and 0 with\n"
            "a note and no file when there is no layer image.\n");
        static std::string s_texture;
        static std::string s_scheme = TeamColour::DefaultScheme();
        static std::string s_out;
        build->add_option("TEXTURE", s_texture, "The source texture (.tga, .bmp, .dds, .jpg)")->required();
        build->add_option("OUT", s_out, "The .tqp file to write")->required();
        build->add_option("--scheme", s_scheme, "The colour scheme, \"default\" when not given");
        build->callback([&exitCode] { exitCode = RunBuild(s_texture, s_scheme, s_out); });
    });
} // namespace
