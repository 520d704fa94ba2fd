// Meshes and skins of the import host. A node's meshes (the import library splits a node's mesh by
// material) become one host mesh: positions welded where their bytes and skin weights are the same,
// so that faces meet as they did in the modelling package; one material id per material; smoothing
// groups found from the file's normals; and one Skin modifier over the bones of all the meshes.
#include "importhost/importer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>

namespace importhost
{
namespace
{
struct Influence
{
    int32_t bone;
    float weight;
};

// A position and its weights as bytes: equal keys are one host vertex.
std::string VertexKey(const aiVector3D& p, const std::vector<Influence>& cInfluence)
{
    std::string key(sizeof(float) * 3 + cInfluence.size() * sizeof(Influence), '\0');
    std::memcpy(key.data(), &p.x, sizeof(float) * 3);
    if (!cInfluence.empty())
        std::memcpy(key.data() + sizeof(float) * 3, cInfluence.data(), cInfluence.size() * sizeof(Influence));
    return key;
}

uint64_t UVKey(float u, float v)
{
    uint32_t a = 0, b = 0;
    std::memcpy(&a, &u, 4);
    std::memcpy(&b, &v, 4);
    return uint64_t(a) << 32 | b;
}
} // namespace

// The node's material: one material as it is, several as a Multi/Sub-Object material whose slots
// are the meshes' materials in order of first use. cSlotMaterial gets the material of each slot.
int Importer::NodeMaterial(const aiNode& node, std::vector<unsigned>& cSlotMaterial)
{
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
    {
        const aiMesh* pMesh = m_scene.mMeshes[node.mMeshes[i]];
        if (std::find(cSlotMaterial.begin(), cSlotMaterial.end(), pMesh->mMaterialIndex) ==
            cSlotMaterial.end())
            cSlotMaterial.push_back(pMesh->mMaterialIndex);
    }
    if (cSlotMaterial.size() == 1)
        return int(cSlotMaterial[0]);
    auto found = m_cMultiIndex.find(cSlotMaterial);
    if (found != m_cMultiIndex.end())
        return int(found->second);
    json cSub = json::array();
    for (unsigned material : cSlotMaterial)
        cSub.push_back(material);
    const size_t index = m_cMaterial.size();
    m_cMaterial.push_back({{"name", std::string(node.mName.C_Str()) + " materials"},
                           {"class", "multi"},
                           {"subMaterials", std::move(cSub)}});
    m_cMultiIndex.emplace(cSlotMaterial, index);
    return int(index);
}

void Importer::EmitMesh(const aiNode& node, json& jNode)
{
    const std::string nodeName = jNode["name"].get<std::string>();
    std::vector<unsigned> cSlotMaterial;
    const int material = NodeMaterial(node, cSlotMaterial);
    jNode["material"] = material;

    // The skin's bones across all the node's meshes, in order of first mention.
    std::vector<std::string> cBone;
    std::vector<aiMatrix4x4> cOffset;
    std::unordered_map<std::string, int32_t> cBoneSlot;

    std::vector<aiVector3D> cPosition;
    std::vector<std::vector<Influence>> cPoint;
    std::unordered_map<std::string, uint32_t> cPositionIndex;
    std::vector<uint32_t> cCorner;
    std::vector<float> cNormal;
    std::vector<uint32_t> cMaterialId;
    std::vector<std::pair<float, float>> cUV;
    std::unordered_map<uint64_t, uint32_t> cUVIndex;
    std::vector<uint32_t> cUVCorner;
    bool anyUV = false;
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
        anyUV = anyUV || m_scene.mMeshes[node.mMeshes[i]]->HasTextureCoords(0);

    for (unsigned i = 0; i < node.mNumMeshes; ++i)
    {
        const aiMesh& mesh = *m_scene.mMeshes[node.mMeshes[i]];
        const std::string where = "mesh '" + std::string(mesh.mName.C_Str()) + "' of node '" + nodeName + "'";
        const uint32_t materialId =
            uint32_t(std::find(cSlotMaterial.begin(), cSlotMaterial.end(), mesh.mMaterialIndex) -
                     cSlotMaterial.begin());
        if (mesh.GetNumUVChannels() > 1)
            Warn(where + ": only the first of its " + std::to_string(mesh.GetNumUVChannels()) +
                 " texture coordinate sets is taken");

        std::vector<std::vector<Influence>> cInfluence(mesh.mNumVertices);
        for (unsigned b = 0; b < mesh.mNumBones; ++b)
        {
            const aiBone& bone = *mesh.mBones[b];
            auto [slot, added] = cBoneSlot.emplace(bone.mName.C_Str(), int32_t(cBone.size()));
            if (added)
            {
                cBone.push_back(bone.mName.C_Str());
                cOffset.push_back(bone.mOffsetMatrix);
            }
            for (unsigned w = 0; w < bone.mNumWeights; ++w)
            {
                const aiVertexWeight& weight = bone.mWeights[w];
                if (weight.mVertexId >= mesh.mNumVertices)
                    Fail(where + ": bone '" + bone.mName.C_Str() + "' weights vertex " +
                         std::to_string(weight.mVertexId) + " of " + std::to_string(mesh.mNumVertices));
                if (!std::isfinite(weight.mWeight))
                    Fail(where + ": bone '" + std::string(bone.mName.C_Str()) +
                         "': a weight that is not a number");
                cInfluence[weight.mVertexId].push_back({slot->second, weight.mWeight});
            }
        }

        // The mesh's vertices to host vertices.
        std::vector<uint32_t> cRemap(mesh.mNumVertices);
        for (unsigned v = 0; v < mesh.mNumVertices; ++v)
        {
            std::vector<Influence>& influences = cInfluence[v];
            std::sort(influences.begin(), influences.end(),
                      [](const Influence& a, const Influence& b) { return a.bone < b.bone; });
            const aiVector3D& p = mesh.mVertices[v];
            if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
                Fail(where + ": vertex " + std::to_string(v) + " is not a finite point");
            auto [found, added] =
                cPositionIndex.emplace(VertexKey(p, influences), uint32_t(cPosition.size()));
            if (added)
            {
                cPosition.push_back(p);
                cPoint.push_back(std::move(influences));
            }
            cRemap[v] = found->second;
        }

        for (unsigned f = 0; f < mesh.mNumFaces; ++f)
        {
            const aiFace& face = mesh.mFaces[f];
            if (face.mNumIndices != 3)
                continue;
            aiVector3D faceNormal;
            if (!mesh.HasNormals())
            {
                const aiVector3D& a = mesh.mVertices[face.mIndices[0]];
                faceNormal = (mesh.mVertices[face.mIndices[1]] - a) ^ (mesh.mVertices[face.mIndices[2]] - a);
            }
            for (unsigned k = 0; k < 3; ++k)
            {
                const unsigned v = face.mIndices[k];
                cCorner.push_back(cRemap[v]);
                const aiVector3D n = mesh.HasNormals() ? mesh.mNormals[v] : faceNormal;
                cNormal.insert(cNormal.end(), {n.x, n.y, n.z});
                if (anyUV)
                {
                    const float u = mesh.HasTextureCoords(0) ? mesh.mTextureCoords[0][v].x : 0.0f;
                    const float t = mesh.HasTextureCoords(0) ? mesh.mTextureCoords[0][v].y : 0.0f;
                    auto [found, added] = cUVIndex.emplace(UVKey(u, t), uint32_t(cUV.size()));
                    if (added)
                        cUV.emplace_back(u, t);
                    cUVCorner.push_back(found->second);
                }
            }
            cMaterialId.push_back(materialId);
        }
    }

    const std::vector<uint32_t> cGroup = FindSmoothingGroups(cCorner, cNormal, cPosition.size());

    json jMesh;
    json& cVertex = jMesh["vertices"] = json::array();
    for (const aiVector3D& p : cPosition)
    {
        const aiVector3D h = ToHost(p);
        cVertex.push_back(json::array({Number(h.x), Number(h.y), Number(h.z)}));
    }
    json& cFace = jMesh["faces"] = json::array();
    for (size_t f = 0; f < cMaterialId.size(); ++f)
    {
        json v = json::array({cCorner[f * 3], cCorner[f * 3 + 1], cCorner[f * 3 + 2]});
        if (cGroup[f] == 1 && cMaterialId[f] == 0)
            cFace.push_back(std::move(v));
        else
            cFace.push_back({{"v", std::move(v)}, {"smoothing", cGroup[f]}, {"materialId", cMaterialId[f]}});
    }
    if (anyUV)
    {
        json& cTVert = jMesh["tverts"] = json::array();
        for (const auto& [u, v] : cUV)
            cTVert.push_back(json::array({CheckedNumber(u, nodeName + ": texture coordinate"),
                                          CheckedNumber(v, nodeName + ": texture coordinate")}));
        json& cTVFace = jMesh["tvFaces"] = json::array();
        for (size_t f = 0; f < cMaterialId.size(); ++f)
            cTVFace.push_back(json::array({cUVCorner[f * 3], cUVCorner[f * 3 + 1], cUVCorner[f * 3 + 2]}));
    }
    jNode["object"] = {{"class", "editableMesh"}, {"mesh", std::move(jMesh)}};

    if (cBone.empty())
        return;
    // The skin's bones in the order of the scene, whatever order each mesh names them in, so that
    // every form of a file gives one skin.
    std::vector<int> cHostIndex;
    for (const std::string& bone : cBone)
    {
        auto found = m_cNodeByName.find(bone);
        if (found == m_cNodeByName.end() || m_cTrack[found->second].hostIndex < 0)
            Fail("node '" + nodeName + "': the skin's bone '" + bone + "' is no node of the file");
        cHostIndex.push_back(m_cTrack[found->second].hostIndex);
    }
    std::vector<int32_t> cOrder(cBone.size());
    for (size_t b = 0; b < cOrder.size(); ++b)
        cOrder[b] = int32_t(b);
    std::stable_sort(cOrder.begin(), cOrder.end(),
                     [&](int32_t a, int32_t b) { return cHostIndex[size_t(a)] < cHostIndex[size_t(b)]; });
    std::vector<int32_t> cSlot(cBone.size());
    for (size_t b = 0; b < cOrder.size(); ++b)
        cSlot[size_t(cOrder[b])] = int32_t(b);
    for (std::vector<Influence>& influences : cPoint)
    {
        for (Influence& influence : influences)
            influence.bone = cSlot[size_t(influence.bone)];
        std::sort(influences.begin(), influences.end(),
                  [](const Influence& a, const Influence& b) { return a.bone < b.bone; });
    }
    // A bone's set-up transform: where it stood when the mesh was bound, the mesh lying where it
    // lies at the first frame.
    const aiMatrix4x4& meshWorld = m_cTrack[&node].cWorld[0];
    json cBoneLink = json::array(), cInit = json::array();
    for (int32_t b : cOrder)
    {
        cBoneLink.push_back(cHostIndex[size_t(b)]);
        aiMatrix4x4 bind = cOffset[size_t(b)];
        cInit.push_back(HostRows(ToHost(meshWorld * bind.Inverse())));
    }
    json cPointJson = json::array();
    for (const std::vector<Influence>& influences : cPoint)
    {
        json point = json::array();
        for (const Influence& i : influences)
            point.push_back(json::array({i.bone, Number(i.weight)}));
        cPointJson.push_back(std::move(point));
    }
    jNode["modifiers"] = json::array({{{"class", "skin"},
                                       {"bones", std::move(cBoneLink)},
                                       {"initTMs", std::move(cInit)},
                                       {"points", std::move(cPointJson)}}});
}
} // namespace importhost
