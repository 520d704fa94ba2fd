// What the import host makes of a file, seen in its scene description and through the host
// interface: sampled keys, user properties from node metadata, smoothing groups from normals.
#include "importhost/gltfbuilder.h"
#include "importhost/importhost.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
using json = nlohmann::json;

// A node that rises 3 units (y up in the file) over one second, keyed at its ends.
std::string RisingNode(const TempFolder& folder)
{
    GltfBuilder b;
    b.Node({{"name", "Lift"}}, true);
    const int input = b.Floats({0, 1}, "SCALAR", 1);
    b.doc["accessors"][input]["min"] = {0};
    b.doc["accessors"][input]["max"] = {1};
    b.doc["animations"] = {
        {{"samplers", {{{"input", input}, {"output", b.Floats({0, 0, 0, 0, 3, 0}, "VEC3", 3)}}}},
         {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}}};
    return b.Save(folder, "lift", GltfBuilder::Form::DataUri);
}

TEST(ImportDocument, AnimationIsSampledOncePerFrameOfTheRate)
{
    TempFolder folder;
    const std::string file = RisingNode(folder);
    for (int rate : {30, 24, 10, 1})
    {
        importhost::ImportOptions options;
        options.frameRate = rate;
        const json document = importhost::ImportDocument(file, options).document;
        EXPECT_EQ(document["frameRate"], rate);
        EXPECT_EQ(document["animationRange"], json::array({0, rate}));
        const json& frames = document["nodes"][0]["transform"]["frames"];
        ASSERT_EQ(frames.size(), size_t(rate) + 1) << rate;
        for (int f = 0; f <= rate; ++f)
        {
            // Up is the host's z, the fourth row the translation.
            EXPECT_NEAR(frames[f][3][2].get<double>(), 3.0 * f / rate, 1e-5) << rate << " " << f;
            EXPECT_EQ(frames[f][3][1], 0) << rate << " " << f;
        }
    }
}

TEST(ImportDocument, NodeExtrasAreUserProperties)
{
    struct Case
    {
        json extras;
        const char* key;
        bool exists;
        const char* value;
    } cases[] = {
        {{{"Remove", true}}, "Remove", true, ""},
        {{{"Remove", false}}, "Remove", false, ""},
        {{{"MeshMinDetail", "High"}}, "meshmindetail", true, "High"},
        {{{"Lod", 3}}, "Lod", true, "3"},
        {{{"Scale", 0.25}}, "Scale", true, "0.25"},
        {{{"ForceLocal", true}, {"Stale", true}}, "Stale", true, ""},
        {{{"Inner", {{"a", 1}}}}, "Inner", false, ""},
    };
    for (const Case& c : cases)
    {
        TempFolder folder;
        GltfBuilder b;
        b.Node({{"name", "Carrier"}, {"extras", c.extras}}, true);
        const std::unique_ptr<scene::Scene> pScene =
            importhost::ImportScene(b.Save(folder, "extras", GltfBuilder::Form::DataUri));
        host::INode* pNode = pScene->FindNode("Carrier");
        ASSERT_NE(pNode, nullptr) << c.extras.dump();
        EXPECT_EQ(pNode->UserPropExists(c.key) != 0, c.exists) << c.extras.dump();
        host::CStr value;
        if (c.exists)
        {
            ASSERT_TRUE(pNode->GetUserPropString(c.key, value)) << c.extras.dump();
            EXPECT_STREQ(value.data(), c.value) << c.extras.dump();
        }
    }
}

// For every two faces that meet at a position: they share a smoothing bit exactly when their
// normals there agree.
void ExpectGroupsFollowNormals(const char* name, const std::vector<uint32_t>& cCorner,
                               const std::vector<float>& cNormal, size_t positions, int mostBits)
{
    const std::vector<uint32_t> cGroup = importhost::FindSmoothingGroups(cCorner, cNormal, positions);
    ASSERT_EQ(cGroup.size(), cCorner.size() / 3) << name;
    uint32_t used = 0;
    for (size_t a = 0; a < cCorner.size(); ++a)
    {
        used |= cGroup[a / 3];
        EXPECT_NE(cGroup[a / 3], 0u) << name;
        for (size_t b = 0; b < cCorner.size(); ++b)
            if (a / 3 != b / 3 && cCorner[a] == cCorner[b])
            {
                const float* na = &cNormal[a * 3];
                const float* nb = &cNormal[b * 3];
                const bool agree = na[0] * nb[0] + na[1] * nb[1] + na[2] * nb[2] > 0.9999f;
                EXPECT_EQ((cGroup[a / 3] & cGroup[b / 3]) != 0, agree)
                    << name << ": faces " << a / 3 << " and " << b / 3 << " at position " << cCorner[a];
            }
    }
    EXPECT_LE(std::popcount(used), mostBits) << name;
}

TEST(FindSmoothingGroups, FacesShareABitExactlyWhereTheirNormalsAgree)
{
    // A cube: 8 positions, two triangles a side, each side its normal.
    const int sides[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1},
                             {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
    const float normals[6][3] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};
    std::vector<uint32_t> cubeCorner;
    std::vector<float> cubeNormal, smoothCubeNormal;
    for (int s = 0; s < 6; ++s)
        for (int k : {0, 1, 2, 0, 2, 3})
        {
            const int p = sides[s][k];
            cubeCorner.push_back(uint32_t(p));
            cubeNormal.insert(cubeNormal.end(), normals[s], normals[s] + 3);
            // A normal per position, as a smooth-shaded cube has.
            const float n[3] = {p & 1 ? 1.f : -1.f, p & 2 ? 1.f : -1.f, p & 4 ? 1.f : -1.f};
            smoothCubeNormal.insert(smoothCubeNormal.end(), n, n + 3);
        }
    ExpectGroupsFollowNormals("flat cube", cubeCorner, cubeNormal, 8, 3);
    ExpectGroupsFollowNormals("smooth cube", cubeCorner, smoothCubeNormal, 8, 1);

    // A fan of six triangles about a centre, one half hard to the other along two spokes.
    std::vector<uint32_t> fanCorner;
    std::vector<float> fanNormal;
    for (uint32_t t = 0; t < 6; ++t)
        for (uint32_t p : {0u, 1 + t, 1 + (t + 1) % 6})
        {
            fanCorner.push_back(p);
            fanNormal.insert(fanNormal.end(), {0, t < 3 ? 0.6f : -0.6f, 0.8f});
        }
    ExpectGroupsFollowNormals("fan", fanCorner, fanNormal, 7, 2);

    // Two triangles that touch at one corner only, normals apart; a normal of length 0 agrees with
    // nothing.
    ExpectGroupsFollowNormals("touching", {0, 1, 2, 0, 3, 4},
                              {0, 0, 1, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 1, 0, 0}, 5, 2);
    ExpectGroupsFollowNormals("zero normal", {0, 1, 2, 0, 3, 4},
                              {0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, 5, 2);
}
} // namespace
