// The exporter's side of team colour patterns: a Pattern built from the companion images painted
// beside a source texture, and its file written to the generic data and burned.
//
// Companion images lie in the texture's folder with its extension, named after the texture's base
// name, the scheme and the image's part: for "units\\scout.tga" and the scheme "default",
// "scout_default_primary.tga" ... "scout_default_dirt.tga", "scout_default_badge.tga" and
// "scout_default_banner.tga".
//
// Failures: a layer image of another size, or a badge or banner marker too near the image's edge,
// throw std::runtime_error with the message the merge prints. A burn that fails throws its message
// as a bare std::string (no std::exception), which the merge's handler lets pass to its caller.
#pragma once

#include "teamcolour/pattern.h"

#include <memory>

namespace TeamColour
{
// The sizes of the rectangles that the markers place.
constexpr uint32 BadgeWidth = 64;
constexpr uint32 BadgeHeight = 64;
constexpr uint32 BannerWidth = 64;
constexpr uint32 BannerHeight = 96;

// The pattern of a texture, or null when the texture does not load or none of the six layer images
// is there (a badge or a banner alone makes no pattern). A missing primary or dirt layer, or dirt
// image, is reported on the log channel "ART" and the pattern is still made.
std::unique_ptr<Pattern> BuildPattern(const char* textureFile, const char* schemeName);

// The rectangle of the first marker pixel (red and blue 255, whatever green and alpha) of a 32-bit
// RGBA image, with the wanted size; all zero when there is no marker. A rectangle that does not
// fit in the image throws the coordinates message.
Pattern::Rect LocateRect(const Image* pImage, uint32 width, uint32 height);

// Builds the pattern of `textureName` (below the project's DataSource folder, ".tga") in the
// default scheme and, when there is one, opens "<DataGeneric>\\<textureName>_default.tqp", writes it
// and burns it. True when done, or when the texture has no pattern.
bool ExportTeamPattern(const char* projectName, const char* textureName);
} // namespace TeamColour
