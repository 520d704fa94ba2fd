// Reading a written glTF back as a viewer would: the .glb container taken apart, accessors read out
// of the buffer as numbers, and node transforms multiplied out to world matrices. Failures are
// gtest failures; a fault in the file gives empty results rather than a crash.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace gltf_test
{
using Json = nlohmann::json;

struct GltfFile
{
    Json doc;
    std::vector<uint8_t> bin;
};

inline uint32_t Word(const std::string& bytes, size_t at)
{
    uint32_t w = 0;
    if (at + 4 <= bytes.size())
        std::memcpy(&w, bytes.data() + at, 4);
    return w;
}

// A .glb file: header, JSON chunk, optional BIN chunk; every length checked against the bytes.
inline GltfFile ParseGlb(const std::string& bytes)
{
    GltfFile file;
    EXPECT_GE(bytes.size(), 20u);
    if (bytes.size() < 20)
        return file;
    EXPECT_EQ(Word(bytes, 0), 0x46546C67u) << "magic";
    EXPECT_EQ(Word(bytes, 4), 2u) << "version";
    EXPECT_EQ(Word(bytes, 8), bytes.size()) << "length";
    const uint32_t jsonLength = Word(bytes, 12);
    EXPECT_EQ(Word(bytes, 16), 0x4E4F534Au) << "JSON chunk";
    EXPECT_EQ(jsonLength % 4, 0u);
    if (bytes.size() - 20 < jsonLength)
        return file;
    file.doc = Json::parse(bytes.substr(20, jsonLength));
    const size_t binAt = 20 + size_t(jsonLength);
    if (bytes.size() - binAt >= 8)
    {
        const uint32_t binLength = Word(bytes, binAt);
        EXPECT_EQ(Word(bytes, binAt + 4), 0x004E4942u) << "BIN chunk";
        EXPECT_EQ(binAt + 8 + binLength, bytes.size());
        if (bytes.size() - binAt - 8 >= binLength)
            file.bin.assign(bytes.begin() + std::ptrdiff_t(binAt + 8),
                            bytes.begin() + std::ptrdiff_t(binAt + 8 + binLength));
    }
    return file;
}

inline size_t ComponentCount(const std::string& type)
{
    if (type == "SCALAR")
        return 1;
    if (type == "VEC2")
        return 2;
    if (type == "VEC3")
        return 3;
    if (type == "VEC4")
        return 4;
    if (type == "MAT4")
        return 16;
    ADD_FAILURE() << "accessor type " << type;
    return 1;
}

// An accessor's elements, each as its components converted to double.
inline std::vector<std::vector<double>> ReadAccessor(const GltfFile& file, int index)
{
    std::vector<std::vector<double>> out;
    const Json& accessor = file.doc["accessors"].at(size_t(index));
    const Json& view = file.doc["bufferViews"].at(accessor["bufferView"].get<size_t>());
    const size_t components = ComponentCount(accessor["type"]);
    const int type = accessor["componentType"];
    const size_t size = type == 5126 ? 4 : type == 5123 ? 2 : 1;
    const size_t count = accessor["count"];
    const size_t start = view.value("byteOffset", size_t(0)) + accessor.value("byteOffset", size_t(0));
    const size_t length = view["byteLength"];
    EXPECT_LE(count * components * size, length) << "accessor " << index << " overruns its view";
    EXPECT_LE(view.value("byteOffset", size_t(0)) + length, file.bin.size()) << "view overruns the buffer";
    if (count * components * size > length || start + count * components * size > file.bin.size())
        return out;
    const uint8_t* p = file.bin.data() + start;
    for (size_t i = 0; i < count; ++i)
    {
        std::vector<double> element(components);
        for (size_t c = 0; c < components; ++c, p += size)
        {
            if (type == 5126)
            {
                float f;
                std::memcpy(&f, p, 4);
                element[c] = f;
            }
            else if (type == 5123)
            {
                uint16_t u;
                std::memcpy(&u, p, 2);
                element[c] = u;
            }
            else
                element[c] = *p;
        }
        out.push_back(std::move(element));
    }
    return out;
}

// Column-vector 4x4 matrices, stored column-major as glTF does.
using Mat4 = std::array<double, 16>;

inline Mat4 Identity4()
{
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

inline Mat4 Mul(const Mat4& a, const Mat4& b)
{
    Mat4 m{};
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            for (int k = 0; k < 4; ++k)
                m[size_t(c * 4 + r)] += a[size_t(k * 4 + r)] * b[size_t(c * 4 + k)];
    return m;
}

// T * R * S of a node.
inline Mat4 LocalMatrix(const Json& node)
{
    std::vector<double> t = node.value("translation", std::vector<double>{0, 0, 0});
    std::vector<double> q = node.value("rotation", std::vector<double>{0, 0, 0, 1});
    std::vector<double> s = node.value("scale", std::vector<double>{1, 1, 1});
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    Mat4 m = {1 - 2 * (y * y + z * z), 2 * (x * y + z * w),     2 * (x * z - y * w),     0,
              2 * (x * y - z * w),     1 - 2 * (x * x + z * z), 2 * (y * z + x * w),     0,
              2 * (x * z + y * w),     2 * (y * z - x * w),     1 - 2 * (x * x + y * y), 0,
              t[0],                    t[1],                    t[2],                    1};
    for (size_t c = 0; c < 3; ++c)
        for (size_t r = 0; r < 3; ++r)
            m[c * 4 + r] *= s[c];
    return m;
}

// World matrices of every node, by walking the scene's trees (each node reached once).
inline std::vector<Mat4> WorldMatrices(const Json& doc)
{
    const size_t count = doc.value("nodes", Json::array()).size();
    std::vector<Mat4> world(count, Identity4());
    std::vector<int> seen(count, 0);
    std::vector<std::pair<size_t, Mat4>> stack;
    for (size_t root : doc["scenes"][0]["nodes"].get<std::vector<size_t>>())
        stack.push_back({root, Identity4()});
    while (!stack.empty())
    {
        auto [n, parent] = stack.back();
        stack.pop_back();
        EXPECT_LT(n, count);
        if (n >= count || seen[n]++)
            continue;
        world[n] = Mul(parent, LocalMatrix(doc["nodes"][n]));
        for (size_t child : doc["nodes"][n].value("children", std::vector<size_t>{}))
            stack.push_back({child, world[n]});
    }
    for (size_t n = 0; n < count; ++n)
        EXPECT_EQ(seen[n], 1) << "node " << n << " is reached " << seen[n] << " times from the scene";
    return world;
}

inline std::array<double, 3> Origin(const Mat4& m)
{
    return {m[12], m[13], m[14]};
}

inline int FindNode(const Json& doc, const std::string& name)
{
    const Json& nodes = doc["nodes"];
    for (size_t i = 0; i < nodes.size(); ++i)
        if (nodes[i].value("name", "") == name)
            return int(i);
    ADD_FAILURE() << "no node '" << name << "'";
    return -1;
}
} // namespace gltf_test
