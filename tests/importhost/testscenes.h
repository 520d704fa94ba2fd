// The scenes the import tests write in each file form, with the scene file that says the same.
// Geometry is given in the host's axes (z up) and turned to y up for the forms that are.
#pragma once

#include "importhost/gltfbuilder.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace importtest
{
using json = nlohmann::json;

struct V3
{
    float x, y, z;
};

// Host (x, y, z) is y-up (x, z, -y).
inline V3 YUp(const V3& h)
{
    return {h.x, h.z, -h.y};
}

// One material's triangles, corners unshared where normals or UVs differ, as a package writes them.
struct Part
{
    std::string material;
    V3 colour;
    std::vector<V3> cPosition;
    std::vector<V3> cNormal;
    std::vector<std::array<float, 2>> cUV;
    std::vector<uint16_t> cIndex;
};

// The specular colour of the scene file's default, given in the forms whose readers have another
// default.
constexpr const char* Specular = "0.9 0.9 0.9";

// A roof (two slopes meeting at a hard ridge) in red, and a smooth strip bent through 90 degrees
// in blue, as one node "Roof".
inline std::vector<Part> RoofParts()
{
    const float s = std::sqrt(0.5f);
    Part roof{"Red", {1, 0, 0}, {}, {}, {}, {}};
    roof.cPosition = {{0, -1, 0}, {1, -1, 0}, {1, 0, 1}, {0, 0, 1},
                      {0, 0, 1},  {1, 0, 1},  {1, 1, 0}, {0, 1, 0}};
    roof.cNormal = {{0, -s, s}, {0, -s, s}, {0, -s, s}, {0, -s, s},
                    {0, s, s},  {0, s, s},  {0, s, s},  {0, s, s}};
    roof.cUV = {{0, 0}, {1, 0}, {1, 0.5f}, {0, 0.5f}, {0, 0.5f}, {1, 0.5f}, {1, 1}, {0, 1}};
    roof.cIndex = {0, 1, 2, 0, 2, 3, 4, 5, 6, 4, 6, 7};
    Part strip{"Blue", {0, 0, 1}, {}, {}, {}, {}};
    const float c[3] = {1, s, 0}, n[3] = {0, s, 1};
    for (int r = 0; r < 3; ++r)
        for (int x = 2; x <= 3; ++x)
        {
            strip.cPosition.push_back({float(x), c[r], n[r]});
            strip.cNormal.push_back({0, c[r], n[r]});
            strip.cUV.push_back({float(x - 2), 0.5f * float(r)});
        }
    strip.cIndex = {0, 3, 1, 0, 2, 3, 2, 5, 3, 2, 4, 5};
    return {roof, strip};
}

inline json Row(const V3& v)
{
    return json::array({v.x, v.y, v.z});
}

// The roof as a scene file: positions welded by hand (the ridge is shared), the slopes in groups
// 1 and 2, the strip in group 1.
inline json RoofScene()
{
    const std::vector<Part> cPart = RoofParts();
    json vertices = json::array(), faces = json::array(), tverts = json::array(), tvFaces = json::array();
    const int roofMap[8] = {0, 1, 2, 3, 3, 2, 4, 5};
    for (int v : {0, 1, 2, 3, 6, 7})
        vertices.push_back(Row(cPart[0].cPosition[size_t(v)]));
    for (const V3& p : cPart[1].cPosition)
        vertices.push_back(Row(p));
    size_t uvBase = 0;
    for (size_t p = 0; p < cPart.size(); ++p)
    {
        for (size_t i = 0; i < cPart[p].cIndex.size(); i += 3)
        {
            json v = json::array(), t = json::array();
            for (size_t k = 0; k < 3; ++k)
            {
                const int index = cPart[p].cIndex[i + k];
                v.push_back(p == 0 ? roofMap[index] : 6 + index);
                t.push_back(uvBase + size_t(index));
            }
            const int group = p == 0 && i >= 6 ? 2 : 1;
            faces.push_back({{"v", v}, {"smoothing", group}, {"materialId", p}});
            tvFaces.push_back(t);
        }
        for (const auto& uv : cPart[p].cUV)
            tverts.push_back({uv[0], uv[1]});
        uvBase += cPart[p].cUV.size();
    }
    json materials = json::array();
    for (const Part& part : cPart)
        materials.push_back({{"name", part.material}, {"class", "standard"}, {"diffuse", Row(part.colour)}});
    materials.push_back({{"name", "Roof materials"}, {"class", "multi"}, {"subMaterials", {0, 1}}});
    return {{"frameRate", 30},
            {"materials", materials},
            {"nodes",
             {{{"name", "Roof"},
               {"material", 2},
               {"object",
                {{"class", "editableMesh"},
                 {"mesh",
                  {{"vertices", vertices}, {"faces", faces}, {"tverts", tverts}, {"tvFaces", tvFaces}}}}}}}}};
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
            const V3 p = YUp(part.cPosition[v]), n = YUp(part.cNormal[v]);
            pos.insert(pos.end(), {p.x, p.y, p.z});
            nrm.insert(nrm.end(), {n.x, n.y, n.z});
            // glTF's v runs down the image.
            uv.insert(uv.end(), {part.cUV[v][0], 1.0f - part.cUV[v][1]});
        }
        const int material = int(b.doc["materials"].size());
        b.doc["materials"].push_back(
            {{"name", part.material},
             {"pbrMetallicRoughness",
              {{"baseColorFactor", {part.colour.x, part.colour.y, part.colour.z, 1}}}}});
        primitives.push_back({{"attributes",
                               {{"POSITION", b.Floats(pos, "VEC3", 3)},
                                {"NORMAL", b.Floats(nrm, "VEC3", 3)},
                                {"TEXCOORD_0", b.Floats(uv, "VEC2", 2)}}},
                              {"indices", b.Shorts(part.cIndex, "SCALAR", 1)},
                              {"material", material}});
    }
    b.doc["meshes"] = {{{"primitives", primitives}}};
    b.Node({{"name", "Roof"}, {"mesh", 0}}, true);
    return b;
}

inline std::string Floats(const std::vector<float>& values)
{
    std::string text;
    char number[32];
    for (float v : values)
    {
        std::snprintf(number, sizeof(number), "%.9g", double(v));
        text += (text.empty() ? "" : " ") + std::string(number);
    }
    return text;
}

// OBJ is y up; one object, a material per part (roof.mtl beside it).
inline std::string RoofObj(const TempFolder& folder)
{
    std::string mtl, obj = "mtllib roof.mtl\no Roof\n";
    size_t base = 1;
    for (const Part& part : RoofParts())
    {
        mtl += "newmtl " + part.material + "\nKd " + Floats({part.colour.x, part.colour.y, part.colour.z}) +
               "\nKs " + Specular + "\n";
        for (size_t v = 0; v < part.cPosition.size(); ++v)
        {
            const V3 p = YUp(part.cPosition[v]), n = YUp(part.cNormal[v]);
            obj += "v " + Floats({p.x, p.y, p.z}) + "\nvn " + Floats({n.x, n.y, n.z}) + "\nvt " +
                   Floats({part.cUV[v][0], part.cUV[v][1]}) + "\n";
        }
        obj += "usemtl " + part.material + "\n";
        for (size_t i = 0; i < part.cIndex.size(); i += 3)
        {
            obj += "f";
            for (size_t k = 0; k < 3; ++k)
            {
                const std::string n = std::to_string(base + part.cIndex[i + k]);
                obj += " " + n + "/" + n + "/" + n;
            }
            obj += "\n";
        }
        base += part.cPosition.size();
    }
    folder.Write("roof.mtl", mtl);
    return folder.Write("roof.obj", obj);
}

// COLLADA, written z up as the host is (the import library turns it y up, the import host back).
inline std::string RoofDae(const TempFolder& folder)
{
    std::string effects, materials, geometry, bindings;
    for (const Part& part : RoofParts())
    {
        const std::string& m = part.material;
        effects +=
            "<effect id=\"" + m + "-fx\"><profile_COMMON><technique sid=\"common\"><phong><diffuse><color>" +
            Floats({part.colour.x, part.colour.y, part.colour.z, 1}) + "</color></diffuse><specular><color>" +
            Specular + " 1</color></specular></phong></technique></profile_COMMON></effect>\n";
        materials += "<material id=\"" + m + "\" name=\"" + m + "\"><instance_effect url=\"#" + m +
                     "-fx\"/></material>\n";
        bindings += "<instance_material symbol=\"" + m + "-s\" target=\"#" + m + "\"/>";
        std::vector<float> pos, nrm, uv;
        for (size_t v = 0; v < part.cPosition.size(); ++v)
        {
            pos.insert(pos.end(), {part.cPosition[v].x, part.cPosition[v].y, part.cPosition[v].z});
            nrm.insert(nrm.end(), {part.cNormal[v].x, part.cNormal[v].y, part.cNormal[v].z});
            uv.insert(uv.end(), {part.cUV[v][0], part.cUV[v][1]});
        }
        auto source = [&](const std::string& id, const std::vector<float>& values, const char* params)
        {
            const size_t stride = std::string(params).size();
            std::string text = "<source id=\"" + id + "\"><float_array id=\"" + id + "-a\" count=\"" +
                               std::to_string(values.size()) + "\">" + Floats(values) +
                               "</float_array><technique_common><accessor source=\"#" + id + "-a\" count=\"" +
                               std::to_string(values.size() / stride) + "\" stride=\"" +
                               std::to_string(stride) + "\">";
            for (const char* p = params; *p; ++p)
                text += std::string("<param name=\"") + *p + "\" type=\"float\"/>";
            return text + "</accessor></technique_common></source>\n";
        };
        std::string indices;
        for (uint16_t i : part.cIndex)
            indices += (indices.empty() ? "" : " ") + std::to_string(i);
        geometry += "<geometry id=\"" + m + "-g\"><mesh>" + source(m + "-p", pos, "XYZ") +
                    source(m + "-n", nrm, "XYZ") + source(m + "-t", uv, "ST") + "<vertices id=\"" + m +
                    "-v\"><input semantic=\"POSITION\" source=\"#" + m +
                    "-p\"/></vertices><triangles material=\"" + m + "-s\" count=\"" +
                    std::to_string(part.cIndex.size() / 3) + "\"><input semantic=\"VERTEX\" source=\"#" + m +
                    "-v\" offset=\"0\"/><input semantic=\"NORMAL\" source=\"#" + m +
                    "-n\" offset=\"0\"/><input semantic=\"TEXCOORD\" source=\"#" + m +
                    "-t\" offset=\"0\" set=\"0\"/><p>" + indices + "</p></triangles></mesh></geometry>\n";
    }
    std::string instances;
    for (const Part& part : RoofParts())
        instances += "<instance_geometry url=\"#" + part.material + "-g\"><bind_material><technique_common>" +
                     bindings + "</technique_common></bind_material></instance_geometry>";
    return folder.Write(
        "roof.dae",
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<COLLADA "
        "xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">\n"
        "<asset><unit name=\"meter\" meter=\"1\"/><up_axis>Z_UP</up_axis></asset>\n"
        "<library_effects>" +
            effects + "</library_effects>\n<library_materials>" + materials +
            "</library_materials>\n<library_geometries>" + geometry +
            "</library_geometries>\n<library_visual_scenes><visual_scene id=\"S\"><node id=\"Roof\" "
            "name=\"Roof\">" +
            instances +
            "</node></visual_scene></library_visual_scenes>\n<scene><instance_visual_scene "
            "url=\"#S\"/></scene>\n</COLLADA>\n");
}
// Two bones over three frames: "Root" moves along x a unit a frame, "Arm" (a unit above it) turns
// 30 degrees a frame about the up axis, "Tip" (a unit above that) is an empty leaf, a marker. The
// strip "Body" is skinned: its bottom row to Root, its middle half and half, its top to Arm.
constexpr int SkinFrames = 3;

inline float ArmAngle(int frame)
{
    return float(frame) * 3.14159265f / 6.0f;
}

inline GltfBuilder SkinGltf()
{
    GltfBuilder b;
    b.Node({{"name", "Root"}, {"children", {1}}}, true);
    b.Node({{"name", "Arm"}, {"translation", {0, 1, 0}}, {"children", {2}}}, false);
    b.Node({{"name", "Tip"}, {"translation", {0, 1, 0}}}, false);
    b.Node({{"name", "Body"}, {"mesh", 0}, {"skin", 0}}, true);
    std::vector<float> pos, nrm, weights;
    std::vector<uint16_t> joints;
    for (int r = 0; r < 3; ++r)
        for (int x = 0; x < 2; ++x)
        {
            pos.insert(pos.end(), {float(x), float(r), 0});
            nrm.insert(nrm.end(), {0, 0, 1});
            joints.insert(joints.end(), {uint16_t(r == 2 ? 1 : 0), uint16_t(r == 1 ? 1 : 0), 0, 0});
            weights.insert(weights.end(), {r == 1 ? 0.5f : 1.0f, r == 1 ? 0.5f : 0.0f, 0, 0});
        }
    b.doc["materials"] = {
        {{"name", "Skin"}, {"pbrMetallicRoughness", {{"baseColorFactor", {0.8, 0.7, 0.6, 1}}}}}};
    b.doc["meshes"] = {{{"primitives",
                         {{{"attributes",
                            {{"POSITION", b.Floats(pos, "VEC3", 3)},
                             {"NORMAL", b.Floats(nrm, "VEC3", 3)},
                             {"JOINTS_0", b.Shorts(joints, "VEC4", 4)},
                             {"WEIGHTS_0", b.Floats(weights, "VEC4", 4)}}},
                           {"indices", b.Shorts({0, 1, 3, 0, 3, 2, 2, 3, 5, 2, 5, 4}, "SCALAR", 1)},
                           {"material", 0}}}}}};
    const std::vector<float> bind = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0,  0, 1,
                                     1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1};
    b.doc["skins"] = {{{"joints", {0, 1}}, {"inverseBindMatrices", b.Floats(bind, "MAT4", 16)}}};
    std::vector<float> times, moves, turns;
    for (int f = 0; f < SkinFrames; ++f)
    {
        times.push_back(float(f) / 30.0f);
        moves.insert(moves.end(), {float(f), 0, 0});
        turns.insert(turns.end(), {0, std::sin(ArmAngle(f) / 2), 0, std::cos(ArmAngle(f) / 2)});
    }
    const int input = b.Floats(times, "SCALAR", 1);
    b.doc["accessors"][input]["min"] = {times.front()};
    b.doc["accessors"][input]["max"] = {times.back()};
    b.doc["animations"] = {{{"name", "Move"},
                            {"samplers",
                             {{{"input", input}, {"output", b.Floats(moves, "VEC3", 3)}},
                              {{"input", input}, {"output", b.Floats(turns, "VEC4", 4)}}}},
                            {"channels",
                             {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}},
                              {{"sampler", 1}, {"target", {{"node", 1}, {"path", "rotation"}}}}}}}};
    return b;
}

// Host rows of a turn about z by `angle` at `at`, per frame.
inline json TurnFrames(bool turning, float height)
{
    json frames = json::array();
    for (int f = 0; f < SkinFrames; ++f)
    {
        const float a = turning ? ArmAngle(f) : 0.0f, c = std::cos(a), s = std::sin(a);
        frames.push_back({{c, s, 0}, {-s, c, 0}, {0, 0, 1}, {float(f), 0, height}});
    }
    return {{"frames", frames}};
}

inline json SkinScene()
{
    json vertices = json::array(), points = json::array();
    for (int r = 0; r < 3; ++r)
        for (int x = 0; x < 2; ++x)
        {
            vertices.push_back({x, 0, r});
            points.push_back(r == 1 ? json{{0, 0.5}, {1, 0.5}} : json{{r == 2 ? 1 : 0, 1}});
        }
    return {
        {"frameRate", 30},
        {"animationRange", {0, SkinFrames - 1}},
        {"materials", {{{"name", "Skin"}, {"class", "standard"}, {"diffuse", {0.8, 0.7, 0.6}}}}},
        {"nodes",
         {{{"name", "Root"},
           {"bone", true},
           {"object", {{"class", "bone"}}},
           {"transform", TurnFrames(false, 0)}},
          {{"name", "Arm"},
           {"parent", 0},
           {"bone", true},
           {"object", {{"class", "bone"}}},
           {"transform", TurnFrames(true, 1)}},
          {{"name", "Tip"},
           {"parent", 1},
           {"object", {{"class", "point"}}},
           {"transform", TurnFrames(true, 2)}},
          {{"name", "Body"},
           {"material", 0},
           {"object",
            {{"class", "editableMesh"},
             {"mesh", {{"vertices", vertices}, {"faces", {{0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}}}}}}},
           {"modifiers", {{{"class", "skin"}, {"bones", {0, 1}}, {"points", points}}}}}}}};
}
} // namespace importtest
