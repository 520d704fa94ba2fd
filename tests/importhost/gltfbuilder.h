// A glTF 2.0 file built in a test: accessors over one buffer, written as .gltf with the buffer
// beside it.
#pragma once

#include "support/tempfolder.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

class GltfBuilder
{
public:
    nlohmann::json doc = {
        {"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", nlohmann::json::array()}}}}};

    template <class T> int Add(const std::vector<T>& values, const char* type, size_t components)
    {
        const int kind = sizeof(T) == 2 ? 5123 : std::is_same_v<T, float> ? 5126 : 5125;
        m_bin.resize((m_bin.size() + 3) / 4 * 4, '\0');
        const size_t offset = m_bin.size(), bytes = values.size() * sizeof(T);
        m_bin.append(reinterpret_cast<const char*>(values.data()), bytes);
        doc["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes}});
        doc["accessors"].push_back({{"bufferView", doc["bufferViews"].size() - 1},
                                    {"componentType", kind},
                                    {"count", values.size() / components},
                                    {"type", type}});
        return int(doc["accessors"].size()) - 1;
    }
    // Adds a node; a top node is listed in the scene.
    int Node(nlohmann::json node, bool top)
    {
        doc["nodes"].push_back(std::move(node));
        const int index = int(doc["nodes"].size()) - 1;
        if (top)
            doc["scenes"][0]["nodes"].push_back(index);
        return index;
    }

    std::string Save(const TempFolder& folder, const std::string& stem) const
    {
        nlohmann::json out = doc;
        out["buffers"] = {{{"byteLength", m_bin.size()}, {"uri", stem + ".bin"}}};
        folder.Write(stem + ".bin", m_bin);
        return folder.Write(stem + ".gltf", out.dump());
    }

private:
    std::string m_bin;
};
