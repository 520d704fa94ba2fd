// A scene file: the JSON description of a host scene (docs/scene-format.md), read into objects that
// answer the host interface. Reading checks the whole file and refuses it with the file name, the
// JSON path of the fault and what was expected.
#pragma once

#include "host/interface.h"
#include "host/scene_objects.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace scene
{
// A scene file that cannot be read: "walker.json: /nodes/3/mesh/faces/12: vertex index 40 out of
// range (mesh has 36 vertices)".
class SceneError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Scene final : public host::Interface
{
public:
    Scene();
    ~Scene() override;

    host::INode* GetRootNode() override;
    host::Interval GetAnimRange() override;
    int GetNumProperties(int propertySet) override;
    const host::PROPSPEC* GetPropertySpec(int propertySet, int index) override;
    const host::PROPVARIANT* GetPropertyVariant(int propertySet, int index) override;

    int GetFrameRate() const { return m_frameRate; }
    int GetFirstFrame() const { return m_firstFrame; }
    int GetLastFrame() const { return m_lastFrame; }
    // The first node of that name in file order, or null. Names compare exactly.
    host::INode* FindNode(const char* name) const;
    // Every node but the root, in file order.
    std::vector<host::INode*> GetNodes() const;
    int GetMaterialCount() const { return int(m_cMaterial.size()); }
    int GetTextureCount() const { return int(m_cTexture.size()); }

private:
    friend class SceneReader;

    int m_frameRate = 30;
    int m_firstFrame = 0;
    int m_lastFrame = 0;
    std::unique_ptr<SceneNode> m_pRoot;
    std::vector<std::unique_ptr<SceneNode>> m_cNode;
    std::vector<std::unique_ptr<host::Animatable>> m_cObject; // objects, modifiers, controllers
    std::vector<std::unique_ptr<host::Mtl>> m_cMaterial;
    std::vector<std::unique_ptr<host::Texmap>> m_cTexture;
    std::vector<std::pair<host::PROPSPEC, host::PROPVARIANT>> m_cProperty;
};

// Reads a scene file through the file layer and makes its frame rate the host's. Relative file
// names inside (bitmaps, XRefs) are taken from the scene file's folder. Throws SceneError.
std::unique_ptr<Scene> ReadScene(const std::string& fileName);
// The same from text; `displayName` names it in messages, `folder` anchors relative file names
// (empty: they stay as written).
std::unique_ptr<Scene> ReadSceneText(const std::string& text, const std::string& displayName,
                                     const std::string& folder = "");
// The same from a parsed document (a scene another host made in memory, say).
std::unique_ptr<Scene> ReadSceneDocument(const nlohmann::json& document, const std::string& displayName,
                                         const std::string& folder = "");
} // namespace scene
