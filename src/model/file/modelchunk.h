// The payload reads and writes that every model file form shares: the checked reads of one data
// chunk (ra::MotionPayloadReader does the scalars and strings; here the compound values and raw
// arrays on top), key streams, and the exception for chunks that say something impossible. Every
// read checks the bytes left in its chunk before it reads, so a damaged count or length throws
// Chunky::Exception instead of reading past the chunk or allocating what the file claims; a string
// over 260 characters throws ByteStream::Exception ("String buffer overrun!").
#pragma once

#include "foundation/types.h"
#include "math/matrix.h"
#include "model/file/motionpayloadreader.h"
#include "render/matrix.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"

#include <memory>
#include <vector>

namespace ModelChunk
{
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
} // namespace ModelChunk
