// Helpers of the motion tree and event tests: variables held in a map, and chunk files in memory.
#pragma once

#include "model/motiontree/clause.h"
#include "names/name.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"
#include "support/chunkbytes.h"
#include "support/chunkmemory.h"

#include <cstring>
#include <map>
#include <memory>
#include <string>

namespace motion_test
{
// Game variables by name; a variable that was never set is not there.
class Variables final : public ra::VariableSource
{
public:
    void Float(const char* name, float value) { m_floats[ra::MakeName(name)] = value; }
    void Bool(const char* name, bool value) { m_bools[ra::MakeName(name)] = value; }
    void String(const char* name, const char* value) { m_strings[ra::MakeName(name)] = ra::MakeName(value); }

    bool GetFloat(ra::Name name, float& out) const override { return Get(m_floats, name, out); }
    bool GetBool(ra::Name name, bool& out) const override { return Get(m_bools, name, out); }
    bool GetString(ra::Name name, ra::Name& out) const override { return Get(m_strings, name, out); }

private:
    template <class M, class T> static bool Get(const M& map, ra::Name name, T& out)
    {
        auto it = map.find(name);
        if (it == map.end())
            return false;
        out = it->second;
        return true;
    }
    std::map<ra::Name, float> m_floats;
    std::map<ra::Name, bool> m_bools;
    std::map<ra::Name, ra::Name> m_strings;
};

// The shared chunk files in memory, by the names these tests use.
using ::ChunkReader;
using ::ChunkWriter;

using ::Bytes;

// A chunk file of folders and data chunks built by hand, with the container's own writer, so
// that the payloads are exactly the bytes given.
class HandFile
{
public:
    HandFile& Folder(const char* id, uint32 version, const char* name = nullptr)
    {
        m_w.m_pChunky->OpenFolderChunk(Id(id), version, name);
        return *this;
    }
    HandFile& Data(const char* id, uint32 version, const char* name, const Bytes& payload)
    {
        m_w.m_pChunky->OpenDataChunk(Id(id), version, name);
        m_w.m_adapter.Write(payload.m_data.data(), uint32(payload.m_data.size()));
        m_w.m_pChunky->CloseChunk();
        return *this;
    }
    HandFile& End()
    {
        m_w.m_pChunky->CloseChunk();
        return *this;
    }
    std::string Contents() const { return m_w.Bytes(); }

private:
    static uint32 Id(const char* id)
    {
        return (uint32(uint8(id[0])) << 24) | (uint32(uint8(id[1])) << 16) | (uint32(uint8(id[2])) << 8) |
               uint32(uint8(id[3]));
    }
    ChunkWriter m_w;
};

inline std::string Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}
} // namespace motion_test
