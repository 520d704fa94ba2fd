// A glTF 2.0 file built in a test: accessors over one buffer, written as .gltf with the buffer in a
// data URI or beside it, or as .glb.
#pragma once

#include "support/tempfolder.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

class GltfBuilder
{
public:
    enum class Form
    {
        DataUri,
        Bin,
        Glb
    };

    nlohmann::json doc = {
        {"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", nlohmann::json::array()}}}}};

    int Floats(const std::vector<float>& values, const char* type, size_t components)
    {
        return Accessor(values.data(), values.size() * 4, 5126, values.size() / components, type);
    }
    int Shorts(const std::vector<uint16_t>& values, const char* type, size_t components)
    {
        return Accessor(values.data(), values.size() * 2, 5123, values.size() / components, type);
    }
    int Ints(const std::vector<uint32_t>& values, const char* type, size_t components)
    {
        return Accessor(values.data(), values.size() * 4, 5125, values.size() / components, type);
    }
    // Adds a node; a top node is listed in the scene.
    int Node(nlohmann::json node, bool top)
    {
        const int index = int(doc["nodes"].size());
        doc["nodes"].push_back(std::move(node));
        if (top)
            doc["scenes"][0]["nodes"].push_back(index);
        return index;
    }

    std::string Save(const TempFolder& folder, const std::string& stem, Form form) const
    {
        nlohmann::json out = doc;
        std::string buffer = m_bin;
        nlohmann::json jBuffer = {{"byteLength", buffer.size()}};
        if (form == Form::DataUri)
            jBuffer["uri"] = "data:application/octet-stream;base64," + Base64(buffer);
        else if (form == Form::Bin)
        {
            folder.Write(stem + ".bin", buffer);
            jBuffer["uri"] = stem + ".bin";
        }
        out["buffers"] = nlohmann::json::array({jBuffer});
        if (form != Form::Glb)
            return folder.Write(stem + ".gltf", out.dump());
        std::string text = out.dump();
        text.resize((text.size() + 3) / 4 * 4, ' ');
        buffer.resize((buffer.size() + 3) / 4 * 4, '\0');
        std::string glb;
        auto word = [&glb](uint32_t v) { glb.append(reinterpret_cast<const char*>(&v), 4); };
        word(0x46546C67); // "glTF"
        word(2);
        word(uint32_t(12 + 8 + text.size() + 8 + buffer.size()));
        word(uint32_t(text.size()));
        word(0x4E4F534A); // "JSON"
        glb += text;
        word(uint32_t(buffer.size()));
        word(0x004E4942); // "BIN"
        glb += buffer;
        return folder.Write(stem + ".glb", glb);
    }

private:
    int Accessor(const void* data, size_t bytes, int componentType, size_t count, const char* type)
    {
        m_bin.resize((m_bin.size() + 3) / 4 * 4, '\0');
        const size_t offset = m_bin.size();
        m_bin.append(static_cast<const char*>(data), bytes);
        const int view = int(doc["bufferViews"].size());
        doc["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes}});
        const int index = int(doc["accessors"].size());
        doc["accessors"].push_back(
            {{"bufferView", view}, {"componentType", componentType}, {"count", count}, {"type", type}});
        return index;
    }

    static std::string Base64(const std::string& bytes)
    {
        static const char s_digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string out;
        for (size_t i = 0; i < bytes.size(); i += 3)
        {
            uint32_t v = uint32_t(uint8_t(bytes[i])) << 16;
            if (i + 1 < bytes.size())
                v |= uint32_t(uint8_t(bytes[i + 1])) << 8;
            if (i + 2 < bytes.size())
                v |= uint8_t(bytes[i + 2]);
            out += s_digits[v >> 18 & 63];
            out += s_digits[v >> 12 & 63];
            out += i + 1 < bytes.size() ? s_digits[v >> 6 & 63] : '=';
            out += i + 2 < bytes.size() ? s_digits[v & 63] : '=';
        }
        return out;
    }

    std::string m_bin;
};
