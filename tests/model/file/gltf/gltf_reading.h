// A written glTF read back as a viewer reads it: the .glb container taken apart (every length
// checked), accessors read out of the buffer as numbers, node transforms multiplied out.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
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

inline GltfFile ParseGlb(const std::string& bytes)
{
    GltfFile file;
    const size_t json = Word(bytes, 12), bin = 20 + json;
    EXPECT_EQ(Word(bytes, 0), 0x46546C67u); // "glTF"
    EXPECT_EQ(Word(bytes, 4), 2u);
    EXPECT_EQ(Word(bytes, 8), bytes.size());
    EXPECT_EQ(Word(bytes, 16), 0x4E4F534Au); // "JSON"
    if (bytes.size() < bin + 8)
        return ADD_FAILURE() << "the chunks overrun the file", file;
    file.doc = Json::parse(bytes.substr(20, json));
    EXPECT_EQ(Word(bytes, bin + 4), 0x004E4942u); // "BIN"
    EXPECT_EQ(bin + 8 + Word(bytes, bin), bytes.size());
    file.bin.assign(bytes.begin() + std::ptrdiff_t(bin + 8), bytes.end());
    return file;
}

// An accessor's elements, each as its components.
inline std::vector<std::vector<double>> ReadAccessor(const GltfFile& file, size_t index)
{
    const Json& accessor = file.doc["accessors"].at(index);
    const Json& view = file.doc["bufferViews"].at(accessor["bufferView"].get<size_t>());
    const std::string type = accessor["type"];
    const size_t components = type == "SCALAR" ? 1 : type == "MAT4" ? 16 : size_t(type.back() - '0');
    const int kind = accessor["componentType"];
    const size_t size = kind == 5126 ? 4 : kind == 5123 ? 2 : 1, count = accessor["count"];
    const size_t start = view.value("byteOffset", size_t(0));
    std::vector<std::vector<double>> out(count, std::vector<double>(components));
    if (count * components * size > view["byteLength"].get<size_t>() ||
        start + view["byteLength"].get<size_t>() > file.bin.size())
        return ADD_FAILURE() << "accessor " << index << " overruns its view or the buffer", decltype(out)();
    const uint8_t* p = file.bin.data() + start;
    for (auto& element : out)
        for (double& value : element)
        {
            float f = 0;
            uint16_t u = 0;
            (kind == 5126 ? std::memcpy(&f, p, 4) : std::memcpy(&u, p, size));
            value = kind == 5126 ? f : u;
            p += size;
        }
    return out;
}

// Column-vector 4x4 matrices, column-major as glTF stores them.
using Mat4 = std::array<double, 16>;
constexpr Mat4 Identity4 = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Mat4 Mul(const Mat4& a, const Mat4& b)
{
    Mat4 m{};
    for (size_t c = 0; c < 4; ++c)
        for (size_t r = 0; r < 4; ++r)
            for (size_t k = 0; k < 4; ++k)
                m[c * 4 + r] += a[k * 4 + r] * b[c * 4 + k];
    return m;
}

// T * R of a node (the writer gives scale to nothing that these tests read).
inline Mat4 LocalMatrix(const Json& node)
{
    const auto t = node.value("translation", std::vector<double>{0, 0, 0});
    const auto q = node.value("rotation", std::vector<double>{0, 0, 0, 1});
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {1 - 2 * (y * y + z * z),
            2 * (x * y + z * w),
            2 * (x * z - y * w),
            0,
            2 * (x * y - z * w),
            1 - 2 * (x * x + z * z),
            2 * (y * z + x * w),
            0,
            2 * (x * z + y * w),
            2 * (y * z - x * w),
            1 - 2 * (x * x + y * y),
            0,
            t[0],
            t[1],
            t[2],
            1};
}

// Every node's world matrix, walking down from the scene's roots; each node must be reached once.
inline std::vector<Mat4> WorldMatrices(const Json& doc)
{
    std::vector<Mat4> world(doc["nodes"].size(), Identity4);
    std::vector<int> reached(world.size(), 0);
    std::vector<std::pair<size_t, Mat4>> stack;
    for (size_t root : doc["scenes"][0]["nodes"])
        stack.push_back({root, Identity4});
    while (!stack.empty())
    {
        const auto [n, parent] = stack.back();
        stack.pop_back();
        if (n >= world.size() || reached[n]++)
            continue;
        world[n] = Mul(parent, LocalMatrix(doc["nodes"][n]));
        for (size_t child : doc["nodes"][n].value("children", std::vector<size_t>{}))
            stack.push_back({child, world[n]});
    }
    EXPECT_EQ(std::count(reached.begin(), reached.end(), 1), std::ptrdiff_t(world.size()));
    return world;
}

inline size_t FindNode(const Json& doc, const std::string& name)
{
    for (size_t i = 0; i < doc["nodes"].size(); ++i)
        if (doc["nodes"][i].value("name", "") == name)
            return i;
    ADD_FAILURE() << "no node '" << name << "'";
    return 0;
}
} // namespace gltf_test
