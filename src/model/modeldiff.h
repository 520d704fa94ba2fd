// The comparison of two models by content, whatever files they came from: what an artist runs to
// check that a burn or a convert kept what it should (`tq7z model diff`).
//
// Walked in this order, each part under its path in the model: "name", "skeleton/bones/<bone>",
// "meshes/<mesh>" (the group's entries, then the mesh: vertex streams per level, primitive sets
// and their indices, skin bones, bound volumes, shadow arrays), "group", "shaders/<shader>",
// "textures/<texture>", "markers/<marker>", "cameras/<camera>", "animations/<animation>" (bones,
// controls and cameras with their keys), "motions", "actions", "clauses", "conditions",
// "modifiers", "events" and "selection". Items are matched by position; a part is named in the
// path when both sides give it the same name, and by "[index]" otherwise. Floats compare exactly
// unless a tolerance is given; texture pixels compare byte for byte, and only by size when one
// side holds a compressed format.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class RenderModel;

namespace ra
{
struct ModelDiffOptions
{
    // Two floats are the same when they are equal or at most this far apart.
    float tolerance = 0.0f;
    // Leaves the textures' sizes and pixels out (their names on the shader channels still count).
    bool ignoreTextures = false;
    // The walk stops after this many differences; 0 finds them all.
    size_t maxDifferences = 20;
};

struct ModelDifference
{
    // Where in the model: "meshes/body/vertices[12]/position".
    std::string path;
    // The two values as text: "(1, 2, 3)" and "(1, 2, 3.5)".
    std::string a;
    std::string b;
};

// The differences of `b` from `a`, in walk order; empty when the two hold the same.
std::vector<ModelDifference> DiffModels(const RenderModel& a, const RenderModel& b,
                                        const ModelDiffOptions& options = ModelDiffOptions());

// "path: a vs b".
std::string FormatDifference(const ModelDifference& difference);
} // namespace ra
