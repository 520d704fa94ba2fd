// The import host's work on one file: the steps that turn an imported scene into the scene
// description. Internal to the import host; importhost.h is its interface.
#pragma once

#include "importhost/importhost.h"

#include <assimp/scene.h>

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace importhost
{
using json = nlohmann::json;

// A number as the shortest text of its float: 0.1, not 0.10000000149011612; whole numbers as
// whole numbers.
json Number(float value);
// Host rows (4 rows of 3) of a transform given in the import library's column form.
json HostRows(const aiMatrix4x4& m);

class Importer
{
public:
    Importer(const aiScene& scene, const std::string& fileName, const ImportOptions& options,
             ImportResult& result);
    void Run();

private:
    // A node of the file and where it went.
    struct Track
    {
        int hostIndex = -1;
        bool animated = false;
        // World transforms in the file's axes: one per frame when animated, else one.
        std::vector<aiMatrix4x4> cWorld;
    };

    void ReadAxes();
    void ChooseAnimation();
    void SampleNode(const aiNode& node, const Track* pParent);
    void NumberNodes(const aiNode& node, int& count);
    bool KeepRoot() const;
    void EmitNode(const aiNode& node, int parentIndex, json& cNode);
    json Transform(const Track& track, const aiMatrix4x4* pLocalFrame) const;
    std::string UserProperties(const aiNode& node) const;

    // Meshes and skins (importmesh.cpp).
    void EmitMesh(const aiNode& node, json& jNode);
    int NodeMaterial(const aiNode& node, std::vector<unsigned>& cSlotMaterial);
    // Materials and textures (importmaterial.cpp).
    void EmitMaterials();
    std::string BitmapName(const std::string& fileText) const;

    json CheckedNumber(float value, const std::string& where) const;
    [[noreturn]] void Fail(const std::string& what) const;
    void Warn(const std::string& what);
    aiVector3D ToHost(const aiVector3D& v) const { return m_axis * v; }
    aiMatrix4x4 ToHost(const aiMatrix4x4& m) const { return m_axis4 * m * m_axisInverse4; }

    const aiScene& m_scene;
    std::string m_fileName;
    std::string m_fileFolder;
    std::string m_documentFolder;
    ImportOptions m_options;
    ImportResult& m_result;
    bool m_fbx = false;
    bool m_gltf = false;

    // Host = m_axis * file.
    aiMatrix3x3 m_axis;
    aiMatrix4x4 m_axis4;
    aiMatrix4x4 m_axisInverse4;

    const aiAnimation* m_pAnimation = nullptr;
    std::unordered_map<std::string, const aiNodeAnim*> m_cChannel;
    int m_lastFrame = 0;

    std::unordered_map<const aiNode*, Track> m_cTrack;
    std::unordered_map<std::string, const aiNode*> m_cNodeByName;
    std::unordered_map<std::string, const aiCamera*> m_cCamera;
    std::unordered_map<std::string, const aiLight*> m_cLight;
    std::map<std::string, bool> m_cBoneName;

    json m_cTexture = json::array();
    json m_cMaterial = json::array();
    std::map<std::string, size_t> m_cTextureIndex;
    std::map<std::vector<unsigned>, size_t> m_cMultiIndex;
};
} // namespace importhost
