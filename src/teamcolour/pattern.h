// Team colour patterns: the masks that recolour a texture per team in the game. For a texture,
// artists paint one mask per colourable layer, a dirt image, and markers for a badge and a banner;
// a Pattern holds that set, and its ".tqp" file lies beside the generic texture.
//
// The ".tqp" file is a chunk file with one folder at top level:
//
//   TPAT folder, version 3, name = scheme name (under 32 characters)
//     INFO data, version 1: uint32 width, uint32 height
//     PTLD data, version 1: int32 layer index, uint32 byte count (= width * height), the mask bytes;
//                           one per layer present, in index order
//     IMAG folder: the dirt image, in the chunk form of image files; only when there is one
//     PTBD data, version 1: badge x, y, width, height as floats; only when set
//     PTBN data, version 1: banner, the same; only when set
//
// Children are read in any order and unknown ones are passed over. Older files hold, in place of
// PTLD, one folder per layer:
//
//   PTLR folder, version 1
//     PTIN data, version 1 or 2: int32 layer index (version 1: one more uint32, ignored)
//     IMAG folder, optional: the layer's mask is the image's alpha; the dirt layer (5) keeps its
//                            image, made opaque, as the dirt image
//
// The reader is safe for untrusted input: a damaged container, a count that disagrees with the
// size, or an image of another size fails the load (logged), never more.
#pragma once

#include "foundation/types.h"
#include "image/image.h"

#include <array>
#include <memory>
#include <string>

class ByteStreamAdapter;

namespace TeamColour
{
class Pattern
{
public:
    static constexpr int LAYER_PATTERN_COUNT = 6;
    // The dirt layer; its source image also gives the dirt image.
    static constexpr int LAYER_DIRT = 5;
    // The scheme name's buffer, with its terminator.
    static constexpr size_t SCHEME_LENGTH = 32;

    // A rectangle in pixels: position and size.
    struct Rect
    {
        float x = 0.0f;
        float y = 0.0f;
        float width = 0.0f;
        float height = 0.0f;
        bool operator==(const Rect&) const = default;
    };

    Pattern() = default;
    Pattern(uint32 width, uint32 height) : m_width(width), m_height(height) {}
    virtual ~Pattern() = default;
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    // The file at `name` with its extension made ".tqp"; null when it cannot be opened or read.
    static std::unique_ptr<Pattern> Load(const char* name);
    // The file on an open stream, from its start; `name` is for messages. Null, logged, on any fault.
    static std::unique_ptr<Pattern> Load(ByteStreamAdapter& adapter, const char* name);
    // Writes the file at `name` with its extension made ".tqp", whole or not at all.
    static bool Save(const char* name, const Pattern& pattern);

    // The layer's name in source file names: "primary" ... "dirt"; null out of range.
    static const char* LayerName(int layer);

    // Asserts a name shorter than SCHEME_LENGTH; a longer one leaves the scheme as it was.
    void SetScheme(const char* schemeName);
    const char* GetScheme() const { return m_scheme.data(); }

    void SetSize(uint32 width, uint32 height);
    uint32 GetWidth() const { return m_width; }
    uint32 GetHeight() const { return m_height; }
    // Bytes of one mask.
    size_t GetMaskSize() const { return size_t(m_width) * m_height; }

    // The pattern owns the mask, of GetMaskSize() bytes. Null clears the layer.
    void SetLayer(int layer, std::unique_ptr<uint8[]> mask);
    // Null for an absent layer or an index out of range (asserted).
    const uint8* GetLayer(int layer) const;

    void SetDirtImage(std::unique_ptr<Image> pImage) { m_pDirtImage = std::move(pImage); }
    const Image* GetDirtImage() const { return m_pDirtImage.get(); }

    void SetBadge(const Rect& rect);
    bool HasBadge() const { return m_hasBadge; }
    const Rect& GetBadge() const { return m_badge; }
    void SetBanner(const Rect& rect);
    bool HasBanner() const { return m_hasBanner; }
    const Rect& GetBanner() const { return m_banner; }

private:
    std::array<char, SCHEME_LENGTH> m_scheme{"default"};
    uint32 m_width = 0;
    uint32 m_height = 0;
    std::array<std::unique_ptr<uint8[]>, LAYER_PATTERN_COUNT> m_cLayer;
    std::unique_ptr<Image> m_pDirtImage;
    bool m_hasBadge = false;
    Rect m_badge;
    bool m_hasBanner = false;
    Rect m_banner;
};

// "default".
const char* DefaultScheme();

// The pattern file of a texture and scheme: the texture's folder, its base name, "_", the scheme
// and ".tqp". A texture name without an alias is taken under "DATA:". False when it does not fit
// a path buffer (`out` holds FilePath::MAXPATH characters).
bool PatternFileName(char* out, const char* textureName, const char* schemeName);
// True when that file opens for reading.
bool PatternExists(const char* textureName, const char* schemeName);
} // namespace TeamColour
