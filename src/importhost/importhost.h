// The import host: a scene file of a modelling package (FBX, glTF, COLLADA, OBJ), read by the
// import library and turned into the scene description of docs/scene-format.md, from which the
// scene reader builds the host scene the exporter walks. `tq7z scene convert` writes that same
// document, so what the exporter sees of an imported file can be read, reviewed and tested.
//
// What is taken: nodes (names, hierarchy, world transforms per frame), triangle meshes with their
// texture coordinates and smoothing groups found from the file's normals, materials and their
// bitmap textures, skins, cameras and lights, node metadata as user properties; axes turned to
// Z up. docs/import.md tells the rules. Safe for untrusted input: the import library validates
// the file, and everything taken from it is checked before use.
#pragma once

#include "host/scene.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

namespace importhost
{
struct ImportOptions
{
    // Animation channels are sampled at this many frames a second.
    int frameRate = 30;
    // The file's animation that becomes the scene's; the others are left out with a warning.
    int animation = 0;
    // Bitmap names in the document are relative to this folder; empty: the imported file's.
    std::string documentFolder;
};

struct ImportResult
{
    // The scene description (docs/scene-format.md).
    nlohmann::json document;
    // What was left out or guessed, one line each, each naming the file.
    std::vector<std::string> cWarning;
};

// The document as a scene file's text: objects a key a line, points, faces and matrices each on
// one line.
std::string SceneText(const nlohmann::json& document);

// True when the file's extension is one the import host reads (.fbx, .gltf, .glb, .dae, .obj, in
// any case).
bool IsImportFile(const std::string& fileName);

// The scene description of a file. Throws scene::SceneError naming the file when the import
// library refuses it or it holds what the description cannot carry.
ImportResult ImportDocument(const std::string& fileName, const ImportOptions& options = ImportOptions());

// The host scene of a file: the document above, read by the scene reader. Warnings go to
// `pWarnings` when given. Throws scene::SceneError.
std::unique_ptr<scene::Scene> ImportScene(const std::string& fileName,
                                          const ImportOptions& options = ImportOptions(),
                                          std::vector<std::string>* pWarnings = nullptr);

// Faces whose corner normals agree at a shared position share a smoothing group. `cCorner` holds
// three position indices per face, `cNormal` the unit normal of each corner (parallel to
// cCorner); the result has one group mask per face. Faces joined through agreeing corners form
// one surface with one bit; surfaces that meet get different bits (32 are enough for any surface
// but the most tangled, which then share the last bit).
std::vector<uint32_t> FindSmoothingGroups(const std::vector<uint32_t>& cCorner,
                                          const std::vector<float>& cNormal, size_t positionCount);
} // namespace importhost
