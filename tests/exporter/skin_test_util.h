// What the skin tests share: a scene of five bones B0 to B4 and a skinned mesh node "M", and a check
// of one stored weight record.
#pragma once

#include "exporter/sgmexport.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace skin_test
{
// Bones B0..B4 (in that order in the bone list) and mesh "M" with `vertexCount` vertices (at least
// three, on a parabola, so every face [i, i+1, i+2] is a proper triangle of one winding). `modifiers`
// is the node's "modifiers" value; `nodeExtra` adds keys to the mesh node, `moreNodes` adds nodes.
inline std::string SkinScene(int vertexCount, const std::string& modifiers, const std::string& nodeExtra = "",
                             const std::string& moreNodes = "")
{
    std::string vertices;
    std::string faces;
    for (int i = 0; i < vertexCount; ++i)
    {
        vertices +=
            (i ? "," : "") + std::string("[") + std::to_string(i) + "," + std::to_string(i * i) + ",0]";
        if (i + 2 < vertexCount)
            faces += (i ? "," : "") + std::string("[") + std::to_string(i) + "," + std::to_string(i + 1) +
                     "," + std::to_string(i + 2) + "]";
    }
    std::string nodes;
    for (int b = 0; b < 5; ++b)
        nodes += R"({"name": "B)" + std::to_string(b) + R"(", "bone": true, "object": {"class": "bone"}},)";
    nodes += R"({"name": "M", "object": {"class": "editableMesh", "mesh": {"vertices": [)" + vertices +
             R"(], "faces": [)" + faces + "]}}";
    if (!modifiers.empty())
        nodes += R"(, "modifiers": )" + modifiers;
    nodes += nodeExtra + "}" + moreNodes;
    return R"({"nodes": [)" + nodes + "]}";
}

// A one-modifier stack: the Skin over bones B0..B4 with these points.
inline std::string Skin(const std::string& points)
{
    return R"([{"class": "skin", "bones": ["B0", "B1", "B2", "B3", "B4"], "points": )" + points + "}]";
}

inline void ExpectRecord(const WeightRecord& r, std::array<float, 3> weight, std::array<uint8, 4> bone)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(r.weight[i], weight[i]) << "weight " << i;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(r.boneIndex[i], bone[i]) << "bone " << i;
}
} // namespace skin_test
