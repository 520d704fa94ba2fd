// The scenes the import tests write as glTF, with the scene file that says the same. Geometry is
// given in the host's axes (z up) and turned to glTF's y up.
#pragma once

#include "importhost/gltfbuilder.h"

#include <array>
#include <cmath>

namespace importtest
{
using json = nlohmann::json;
using V3 = std::array<float, 3>;

// One material's triangles, corners unshared where normals or UVs differ, as a package writes them.
// clang-format off
struct Part { std::string material; V3 colour; std::vector<V3> cPosition, cNormal;
              std::vector<std::array<float, 2>> cUV; std::vector<uint16_t> cIndex; };
// clang-format on

// A roof, two slopes meeting at a hard ridge, the front one red and the back one blue, as one
// node "Roof".
inline std::vector<Part> RoofParts()
{
    const float s = std::sqrt(0.5f);
    std::vector<Part> cPart = {{"Red", {1, 0, 0}, {}, {}, {}, {0, 1, 2, 0, 2, 3}},
                               {"Blue", {0, 0, 1}, {}, {}, {}, {0, 1, 2, 0, 2, 3}}};
    for (int p = 0; p < 2; ++p)
        for (int k = 0; k < 4; ++k)
        {
            const float x = k == 1 || k == 2, high = k >= 2;
            cPart[size_t(p)].cPosition.push_back({x, float(p) - 1 + high, float(high != float(p))});
            cPart[size_t(p)].cNormal.push_back({0, p ? s : -s, s});
            cPart[size_t(p)].cUV.push_back({x, 0.5f * (float(p) + high)});
        }
    return cPart;
}

// The roof as a scene file: positions welded by hand (the ridge is shared), the slopes in groups
// 1 and 2.
inline json RoofScene()
{
    const std::vector<Part> cPart = RoofParts();
    json vertices = json::array(), faces = json::array(), tverts = json::array(), tvFaces = json::array();
    const int weld[2][4] = {{0, 1, 2, 3}, {3, 2, 4, 5}};
    for (const auto& [p, k] : {std::pair{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}})
        vertices.push_back(cPart[p].cPosition[k]);
    for (int p = 0; p < 2; ++p)
    {
        for (size_t i = 0; i < 6; i += 3)
        {
            const uint16_t* c = &cPart[size_t(p)].cIndex[i];
            const json v = {weld[p][c[0]], weld[p][c[1]], weld[p][c[2]]};
            faces.push_back({{"v", v}, {"smoothing", p + 1}, {"materialId", p}});
            tvFaces.push_back({4 * p + c[0], 4 * p + c[1], 4 * p + c[2]});
        }
        for (const auto& uv : cPart[size_t(p)].cUV)
            tverts.push_back(uv);
    }
    json materials = json::array();
    for (const Part& part : cPart)
        materials.push_back({{"name", part.material}, {"class", "standard"}, {"diffuse", part.colour}});
    materials.push_back({{"name", "Roof materials"}, {"class", "multi"}, {"subMaterials", {0, 1}}});
    const json mesh = {{"vertices", vertices}, {"faces", faces}, {"tverts", tverts}, {"tvFaces", tvFaces}};
    return {{"frameRate", 30},
            {"materials", materials},
            {"nodes",
             {{{"name", "Roof"}, {"material", 2}, {"object", {{"class", "editableMesh"}, {"mesh", mesh}}}}}}};
}

inline GltfBuilder RoofGltf()
{
    GltfBuilder b;
    json primitives = json::array();
    for (const Part& part : RoofParts())
    {
        std::vector<float> pos, nrm, uv;
        for (size_t v = 0; v < part.cPosition.size(); ++v)
        {
            // Host (x, y, z) is y-up (x, z, -y); glTF's v runs down the image.
            const V3 &p = part.cPosition[v], &n = part.cNormal[v];
            pos.insert(pos.end(), {p[0], p[2], -p[1]});
            nrm.insert(nrm.end(), {n[0], n[2], -n[1]});
            uv.insert(uv.end(), {part.cUV[v][0], 1.0f - part.cUV[v][1]});
        }
        // clang-format off
        b.doc["materials"].push_back({{"name", part.material}, {"pbrMetallicRoughness",
            {{"baseColorFactor", {part.colour[0], part.colour[1], part.colour[2], 1}}}}});
        primitives.push_back({{"attributes", {{"POSITION", b.Add(pos, "VEC3", 3)},
            {"NORMAL", b.Add(nrm, "VEC3", 3)}, {"TEXCOORD_0", b.Add(uv, "VEC2", 2)}}},
            {"indices", b.Add(part.cIndex, "SCALAR", 1)}, {"material", b.doc["materials"].size() - 1}});
        // clang-format on
    }
    b.doc["meshes"] = {{{"primitives", primitives}}};
    b.Node({{"name", "Roof"}, {"mesh", 0}}, true);
    return b;
}

// Two bones over three frames: "Root" moves along x a unit a frame, "Arm" (a unit above it) turns
// 30 degrees a frame about the up axis, "Tip" (a unit above that) is an empty leaf, a marker. The
// strip "Body" is skinned: its bottom row to Root, its middle half and half, its top to Arm.
constexpr int SkinFrames = 3;

inline GltfBuilder SkinGltf()
{
    GltfBuilder b;
    b.Node({{"name", "Root"}, {"children", {1}}}, true);
    b.Node({{"name", "Arm"}, {"translation", {0, 1, 0}}, {"children", {2}}}, false);
    b.Node({{"name", "Tip"}, {"translation", {0, 1, 0}}}, false);
    b.Node({{"name", "Body"}, {"mesh", 0}, {"skin", 0}}, true);
    std::vector<float> pos, nrm, weights, times, moves, turns;
    std::vector<uint16_t> joints;
    for (int r = 0; r < 3; ++r)
        for (int x = 0; x < 2; ++x)
        {
            pos.insert(pos.end(), {float(x), float(r), 0});
            nrm.insert(nrm.end(), {0, 0, 1});
            joints.insert(joints.end(), {uint16_t(r == 2 ? 1 : 0), uint16_t(r == 1 ? 1 : 0), 0, 0});
            weights.insert(weights.end(), {r == 1 ? 0.5f : 1.0f, r == 1 ? 0.5f : 0.0f, 0, 0});
        }
    // clang-format off
    b.doc["materials"] = {{{"name", "Skin"},
        {"pbrMetallicRoughness", {{"baseColorFactor", {0.8, 0.7, 0.6, 1}}}}}};
    b.doc["meshes"] = {{{"primitives", {{{"attributes", {{"POSITION", b.Add(pos, "VEC3", 3)},
        {"NORMAL", b.Add(nrm, "VEC3", 3)}, {"JOINTS_0", b.Add(joints, "VEC4", 4)},
        {"WEIGHTS_0", b.Add(weights, "VEC4", 4)}}}, {"material", 0},
        {"indices", b.Add(std::vector<uint16_t>{0, 1, 3, 0, 3, 2, 2, 3, 5, 2, 5, 4}, "SCALAR", 1)}}}}}};
    const std::vector<float> bind = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0,  0, 1,
                                     1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1};
    // clang-format on
    b.doc["skins"] = {{{"joints", {0, 1}}, {"inverseBindMatrices", b.Add(bind, "MAT4", 16)}}};
    for (int f = 0; f < SkinFrames; ++f)
    {
        times.push_back(float(f) / 30.0f);
        moves.insert(moves.end(), {float(f), 0, 0});
        turns.insert(turns.end(),
                     {0, std::sin(float(f) * 3.14159265f / 12), 0, std::cos(float(f) * 3.14159265f / 12)});
    }
    const int input = b.Add(times, "SCALAR", 1);
    // clang-format off
    b.doc["animations"] = {{{"samplers", {{{"input", input}, {"output", b.Add(moves, "VEC3", 3)}},
                                          {{"input", input}, {"output", b.Add(turns, "VEC4", 4)}}}},
        {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}},
                      {{"sampler", 1}, {"target", {{"node", 1}, {"path", "rotation"}}}}}}}};
    // clang-format on
    return b;
}

inline json SkinScene()
{
    // Host rows of each frame: turned about z when `turning`, at `height` above Root's x.
    const auto frames = [](bool turning, float height)
    {
        json rows = json::array();
        for (int f = 0; f < SkinFrames; ++f)
        {
            const float a = turning ? float(f) * 3.14159265f / 6 : 0.0f, c = std::cos(a), s = std::sin(a);
            rows.push_back({{c, s, 0}, {-s, c, 0}, {0, 0, 1}, {float(f), 0, height}});
        }
        return json{{"frames", rows}};
    };
    json vertices = json::array(), points = json::array();
    for (int r = 0; r < 3; ++r)
        for (int x = 0; x < 2; ++x)
        {
            vertices.push_back({x, 0, r});
            points.push_back(r == 1 ? json{{0, 0.5}, {1, 0.5}} : json{{r == 2 ? 1 : 0, 1}});
        }
    const json bone = {{"class", "bone"}};
    const json mesh = {{"vertices", vertices}, {"faces", {{0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}}}};
    // clang-format off
    return {{"frameRate", 30}, {"animationRange", {0, SkinFrames - 1}},
        {"materials", {{{"name", "Skin"}, {"class", "standard"}, {"diffuse", {0.8, 0.7, 0.6}}}}},
        {"nodes", {{{"name", "Root"}, {"bone", true}, {"object", bone}, {"transform", frames(false, 0)}},
          {{"name", "Arm"}, {"parent", 0}, {"bone", true}, {"object", bone}, {"transform", frames(true, 1)}},
          {{"name", "Tip"}, {"parent", 1}, {"object", {{"class", "point"}}}, {"transform", frames(true, 2)}},
          {{"name", "Body"}, {"material", 0}, {"object", {{"class", "editableMesh"}, {"mesh", mesh}}},
           {"modifiers", {{{"class", "skin"}, {"bones", {0, 1}}, {"points", points}}}}}}}};
    // clang-format on
}
} // namespace importtest
