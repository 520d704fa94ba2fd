// Bounded reads of one data chunk's payload for the motion tree and event chunks. Every read checks
// the bytes left in the chunk first, so a damaged count or length cannot make a reader allocate or
// read past its chunk: it throws Chunky::Exception "Read past the Chunk end!" instead. Strings go
// into buffers of 260 characters and one more for the terminator; a longer one throws the stream's
// "String buffer overrun!".
#pragma once

#include "foundation/types.h"
#include "names/name.h"
#include "storage/chunky.h"

#include <functional>
#include <string>

namespace ra
{
class MotionPayloadReader
{
public:
    // The longest string a motion tree or event chunk may hold.
    static constexpr uint32 MaxString = 260;

    // The adapter stands at the payload of the chunk described by `info`.
    MotionPayloadReader(ByteStreamAdapter& adapter, const ChunkInfo& info);

    // Bytes of the payload not read yet.
    uint32 GetRemaining() const;

    int32 ReadInt32();
    uint32 ReadUInt32();
    float ReadFloat();
    uint8 ReadUInt8();
    // Into a buffer of MaxString + 1 characters.
    void ReadString(char (&buf)[MaxString + 1]);
    std::string ReadString();
    // A name; the empty string is ra::Name::INVALID.
    ra::Name ReadName();
    // A count of items of at least `minItemBytes` each: a negative count, or one that cannot fit
    // in what is left, throws.
    uint32 ReadCount(uint32 minItemBytes);

private:
    void Need(uint32 bytes) const;

    ByteStreamAdapter& m_adapter;
    uint32 m_end;
};

// Opens `filename` through the path aliases in `mode` (ByteStream::Mode_Read or Mode_Write) and
// runs `body` on its chunk container. A file written is built in memory and put on disk whole
// (FileSave), so a body that throws leaves the old file untouched. False, with a line
// "'filename': reason" logged, when the file does not open or cannot be written or `body` throws;
// never throws itself.
bool WithChunkFile(const char* filename, int mode,
                   const std::function<void(Chunky&, ByteStreamAdapter&)>& body);

// Writes a name as a string: the empty string for ra::Name::INVALID.
bool WriteName(ByteStreamAdapter& adapter, const ra::Name& name);
// The text of a name, "" for ra::Name::INVALID.
const char* NameText(const ra::Name& name);
// The name of a text, ra::Name::INVALID for null or "".
ra::Name NameOf(const char* text);
} // namespace ra
