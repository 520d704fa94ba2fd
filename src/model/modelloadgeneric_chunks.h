// The chunk ids and versions of the generic model files (.sgm, its intermediate form and .ebp), and
// the payload reads and writes their loaders share. Every read checks the bytes left in its chunk
// before it reads (ra::MotionPayloadReader does the scalars and strings), so a damaged count or
// length throws Chunky::Exception instead of reading past the chunk or allocating what the file
// claims; a string over 260 characters throws ByteStream::Exception ("String buffer overrun!").
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "model/motionpayloadreader.h"
#include "render/matrix.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <memory>
#include <vector>

namespace GenericChunk
{
// Roots.
constexpr uint32 ID_RSGM = FourCC("RSGM");
constexpr uint32 RSGMVersion = 1;
constexpr uint32 ID_REBP = FourCC("REBP");
constexpr uint32 REBPVersion = 4;

// Textures and shaders.
constexpr uint32 ID_TXTR = FourCC("TXTR");
constexpr uint32 ID_SHDR = FourCC("SHDR");
constexpr uint32 SHDRVersion = 1;
constexpr uint32 SHDRInfoVersion = 1;
constexpr uint32 ID_SSHR = FourCC("SSHR");
constexpr uint32 SSHRVersion = 1;
constexpr uint32 ID_CHAN = FourCC("CHAN");
constexpr uint32 CHANVersion = 3;
constexpr uint32 ID_SHRF = FourCC("SHRF");
constexpr uint32 SHRFVersion = 1;

// Shared by several folders; the version depends on the folder.
constexpr uint32 ID_INFO = FourCC("INFO");
constexpr uint32 ID_DATA = FourCC("DATA");
constexpr uint32 ID_BVOL = FourCC("BVOL");
constexpr uint32 BVOLVersion = 2;
constexpr uint32 ID_CMRA = FourCC("CMRA");

// Skeleton.
constexpr uint32 ID_SKEL = FourCC("SKEL");
constexpr uint32 SKELVersion = 3;
constexpr uint32 SKELIntermVersion = 2;
constexpr uint32 SKELInfoVersion = 1;
constexpr uint32 ID_BONE = FourCC("BONE");
constexpr uint32 BONEVersion = 5;

// Meshes.
constexpr uint32 ID_MSGR = FourCC("MSGR");
constexpr uint32 MSGRVersion = 1;
constexpr uint32 MSGRDataVersion = 1;
constexpr uint32 ID_MSLC = FourCC("MSLC");
constexpr uint32 MSLCVersion = 1;
constexpr uint32 MSLCDataVersion = 2;
// The legacy mesh tree.
constexpr uint32 ID_MESH = FourCC("MESH");
constexpr uint32 MESHVersion = 2;
constexpr uint32 ID_GEOM = FourCC("GEOM");
constexpr uint32 GEOMVersion = 2;
constexpr uint32 GEOMDataVersion = 5;
constexpr uint32 ID_GGRP = FourCC("GGRP");
constexpr uint32 GGRPVersion = 1;
constexpr uint32 GGRPInfoVersion = 1;
constexpr uint32 ID_NODE = FourCC("NODE");
constexpr uint32 NODEVersion = 1;
constexpr uint32 NODEInfoVersion = 2;
constexpr uint32 NODEXrefVersion = 6;

// Markers and cameras of the model.
constexpr uint32 ID_MARK = FourCC("MARK");
constexpr uint32 MARKVersion = 1;
constexpr uint32 CMRAModelVersion = 2;

// Animations.
constexpr uint32 ID_ANIM = FourCC("ANIM");
constexpr uint32 ANIMVersion = 2;
constexpr uint32 ANIMIntermVersion = 1;
constexpr uint32 AnimDataVersion = 3;
constexpr uint32 AnimDataIntermVersion = 1;
constexpr uint32 AnimInfoVersion = 5;
constexpr uint32 AnimInfoIntermVersion = 1;
constexpr uint32 ID_BANM = FourCC("BANM");
constexpr uint32 BANMVersion = 2;
constexpr uint32 BANMIntermVersion = 1;
constexpr uint32 ID_CANM = FourCC("CANM");
constexpr uint32 CANMVersion = 2;
constexpr uint32 ID_CONS = FourCC("CONS");
constexpr uint32 CONSVersion = 1;
constexpr uint32 CMRAAnimVersion = 1;
constexpr uint32 ID_XREF = FourCC("XREF");
constexpr uint32 XREFVersion = 3;
constexpr uint32 ID_ANBV = FourCC("ANBV");
constexpr uint32 ANBVVersion = 1;

// The entity file's own chunk.
constexpr uint32 ID_SEUI = FourCC("SEUI");
constexpr uint32 SEUIVersion = 3;

// The code of the exception for a chunk whose bytes are all there but say something impossible
// (a bone without a name, a parent index outside the skeleton, an index past the vertices).
constexpr uint32 EXC_BadContent = 12;

// Chunky::Exception with EXC_BadContent and the formatted text, at the stream's position.
[[noreturn]] void ThrowBadContent(const ByteStreamAdapter& adapter, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// The payload of one data chunk: the checked reads of ra::MotionPayloadReader and the model
// file's compound values and raw arrays on top.
class Payload : public ra::MotionPayloadReader
{
public:
    // The adapter stands at the payload of the chunk described by `info`.
    Payload(ByteStreamAdapter& adapter, const ChunkInfo& info)
        : ra::MotionPayloadReader(adapter, info), m_adapter(adapter)
    {
    }

    ra::Vec3 ReadVec3();
    ra::Quat ReadQuat();
    ra::Matrix34 ReadMatrix34();
    ra::OBB ReadOBB();
    fr::Matrix44 ReadMatrix44();
    // `bytes` raw bytes into `dst`.
    void ReadBytes(void* dst, uint32 bytes);
    // `count` elements of `size` bytes each, raw; the count is checked against what is left
    // before anything is allocated.
    template <class T> std::vector<T> ReadArray(uint32 count)
    {
        Need(count, sizeof(T));
        std::vector<T> c(count);
        ReadBytes(c.data(), uint32(count * sizeof(T)));
        return c;
    }
    void Skip(uint32 bytes);
    // Throws unless `count` items of `itemBytes` each are left.
    void Need(uint32 count, uint32 itemBytes) const;

    ByteStreamAdapter& GetAdapter() const { return m_adapter; }

private:
    ByteStreamAdapter& m_adapter;
};

// A key stream as the files hold it: i32 key count, then the keys' raw bytes. A count of 0 is no
// stream (null); a count past what a hint reaches is refused.
template <class StreamT> std::unique_ptr<StreamT> ReadKeyStream(Payload& payload)
{
    const uint32 count = payload.ReadCount(StreamT::KeySize);
    if (count == 0)
        return nullptr;
    if (count > StreamT::MaxKeyCount)
        ThrowBadContent(payload.GetAdapter(), "A stream of %u keys is longer than %u!", count,
                        uint32(StreamT::MaxKeyCount));
    auto pStream = std::make_unique<StreamT>(count);
    payload.ReadBytes(pStream->GetKeyData(), count * StreamT::KeySize);
    return pStream;
}

// The same written; a null stream is a count of 0.
template <class StreamT> void WriteKeyStream(ByteStreamAdapter& adapter, const StreamT* pStream)
{
    const uint32 count = pStream ? pStream->GetKeyCount() : 0;
    adapter.WriteValue(int32(count));
    if (count != 0)
        adapter.Write(pStream->GetKeyData(), uint32(pStream->GetKeyDataSize()));
}

// Writes of the same values.
void WriteVec3(ByteStreamAdapter& adapter, const ra::Vec3& v);
void WriteQuat(ByteStreamAdapter& adapter, const ra::Quat& q);
void WriteMatrix34(ByteStreamAdapter& adapter, const ra::Matrix34& m);
void WriteOBB(ByteStreamAdapter& adapter, const ra::OBB& box);
void WriteMatrix44(ByteStreamAdapter& adapter, const fr::Matrix44& m);
void WriteInt32(ByteStreamAdapter& adapter, int32 value);
void WriteUInt32(ByteStreamAdapter& adapter, uint32 value);
void WriteFloat(ByteStreamAdapter& adapter, float value);
void WriteUInt8(ByteStreamAdapter& adapter, uint8 value);
} // namespace GenericChunk
