// The glTF 2.0 writer: a loaded model of any form as a file that common viewers open. Meshes with
// normals, texture coordinates and skin weights, the skeleton as a node tree with one skin over all
// bones, shaders as materials with their diffuse textures as PNG images, every animation's bone keys,
// and markers and cameras as nodes. Read-only over the model; it writes nothing to disk itself.
//
// Axes: the model's are the game's (a host point (x, y, z) is the game point (-x, z, -y)), y up but
// mirrored; glTF's are y up and right-handed with the front along +z. A game point (x, y, z) is
// written as (-x, y, z), which is the host point (x, z, -y): the host's z up becomes glTF's y up, and
// triangles are wound back the other way. Texture rows go top first, so v becomes 1 - v. The frames
// of bones and markers are turned as the world is, so that a host node without rotation is a glTF
// node without one.
//
// Not carried, since core glTF has no place for them: shader control streams (animated colours and
// offsets), mesh visibility streams, camera animation, the low level of detail, the motion tree.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

class RenderModel;

namespace gltf
{
struct WriteOptions
{
    // The binary container (.glb: the JSON and one buffer in one file), or the JSON text (.gltf).
    bool binary = true;
    // For the text form: the file name, beside the .gltf, that the buffer is written to. Empty puts
    // the buffer into the JSON as a base64 data URI.
    std::string bufferUri;
};

struct Document
{
    // The .glb or .gltf file's bytes.
    std::vector<uint8> file;
    // The buffer to write under WriteOptions::bufferUri; empty for the other forms.
    std::vector<uint8> buffer;
    // What was left out or changed on the way, one line each (a texture that does not decode, an
    // animation with no bone keys...).
    std::vector<std::string> cWarning;
};

// Writes `model` into `out`. False, with the reason in `error`, for a model that cannot be written
// (an index past its mesh's vertices, a skin slot that names no bone).
bool Write(const RenderModel& model, const WriteOptions& options, Document& out, std::string& error);

// Base64 (RFC 4648, with padding), as data URIs take it.
std::string Base64(const uint8* data, size_t size);
} // namespace gltf
