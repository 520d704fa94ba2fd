// The messages that the tool and the burner program exchange over the burner pipe, and their codec.
// Each message is one pipe message: a 32-bit type, little endian, then the payload. Strings are a
// 32-bit length and that many bytes with no terminator; a list of strings is a 32-bit count and the
// strings; a results list is a 32-bit count and, per record, a 32-bit level and a string.
//
// The readers check every length against the bytes left and are safe for untrusted input.
//
//   type   value       direction        payload
//   BRSU   0x42525355  tool -> burner   BurnerSetupMsg, 264 bytes
//   BRTB   0x42525442  burner -> tool   BurnerReadyMsg, exactly 4 bytes (ignored)
//   BERR   0x42455252  burner -> tool   BurnerErrorMsg, results list
//   BRWC   0x42525743  tool -> burner   BurnRequestMsg, 528 bytes
//   BFLL   0x42464c4c  tool -> burner   BurnFileListMsg, changelist and list of strings
//   BUFL   0x4255464c  tool -> burner   BurnUpdateFileListMsg, changelist and list of strings
//   BUPD   0x42555044  burner -> tool   BurnerUpdateMsg, results list
//   BRES   0x42524553  burner -> tool   BurnerResultMsg, files burned, a flag byte, results list
#pragma once

#include "burnconfig/burnerresults.h"
#include "foundation/debug.h"
#include "foundation/types.h"

#include <string>
#include <vector>

class ByteStreamAdapter;
class NamedPipe;

namespace BurnerProtocol
{
// The protocol version that BurnerSetupMsg carries; a burner answers another with BurnerErrorMsg.
constexpr uint32 Version = 8;
// Path fields are 260 bytes, terminated.
constexpr uint32 MaxPath = 260;
} // namespace BurnerProtocol

// The tool's first message: the full name of the pipeline.ini in use and the protocol version.
struct BurnerSetupMsg
{
    static constexpr uint32 MSG_TYPE = FourCC("BRSU");
    char configPath[BurnerProtocol::MaxPath] = {};
    uint32 protocolVersion = BurnerProtocol::Version;

    // Copies `path`; false (and the field left empty) when it does not fit with its terminator.
    bool SetConfigPath(const std::string& path);
    bool WritePayload(ByteStreamAdapter& out) const;
    bool ReadPayload(const uint8* payload, uint32 size);
};
static_assert(sizeof(BurnerSetupMsg) == 264);

// The burner's answer to a setup it accepts.
struct BurnerReadyMsg
{
    static constexpr uint32 MSG_TYPE = FourCC("BRTB");
    uint32 reserved = 0;

    bool WritePayload(ByteStreamAdapter& out) const;
    // Asserts that the payload has exactly the size of the message.
    bool ReadPayload(const uint8* payload, uint32 size);
};
static_assert(sizeof(BurnerReadyMsg) == 4);

namespace BurnerProtocol
{
// The payload codecs that messages of one shape share.
bool WriteResultsPayload(ByteStreamAdapter& out, const BurnerResults& results);
bool ReadResultsPayload(const uint8* payload, uint32 size, BurnerResults& results);
bool WriteFileListPayload(ByteStreamAdapter& out, uint32 changelist, const std::vector<std::string>& cFiles);
bool ReadFileListPayload(const uint8* payload, uint32 size, uint32& changelist,
                         std::vector<std::string>& cFiles);

// A message whose payload is a results list alone.
template <uint32 Type> struct ResultsListMsg
{
    static constexpr uint32 MSG_TYPE = Type;
    BurnerResults results;

    bool WritePayload(ByteStreamAdapter& out) const { return WriteResultsPayload(out, results); }
    bool ReadPayload(const uint8* payload, uint32 size) { return ReadResultsPayload(payload, size, results); }
};

// A message of a changelist and a list of files.
template <uint32 Type> struct FileListMsg
{
    static constexpr uint32 MSG_TYPE = Type;
    uint32 changelist = 0;
    std::vector<std::string> cFiles;

    bool WritePayload(ByteStreamAdapter& out) const { return WriteFileListPayload(out, changelist, cFiles); }
    bool ReadPayload(const uint8* payload, uint32 size)
    {
        return ReadFileListPayload(payload, size, changelist, cFiles);
    }
};
} // namespace BurnerProtocol

// The burner's refusal of a setup or a request: its records.
struct BurnerErrorMsg : BurnerProtocol::ResultsListMsg<FourCC("BERR")>
{
};

// A burn of every file of `folder` whose name matches the regular expression `pattern`, into
// `changelist`. The tool sends flagA from its caller (a full burn, not an incremental one), flagB as
// 0 and flagC as 1; what they mean lies in the burner.
struct BurnRequestMsg
{
    static constexpr uint32 MSG_TYPE = FourCC("BRWC");
    uint32 changelist = 0;
    char folder[BurnerProtocol::MaxPath] = {};
    char pattern[BurnerProtocol::MaxPath] = {};
    uint8 flagA = 0;
    uint8 flagB = 0;
    uint8 flagC = 1;
    uint8 pad = 0;

    // Copy the texts; false (and the field left empty) when a text does not fit with its terminator.
    bool SetFolder(const std::string& text);
    bool SetPattern(const std::string& text);
    bool WritePayload(ByteStreamAdapter& out) const;
    bool ReadPayload(const uint8* payload, uint32 size);
};
static_assert(sizeof(BurnRequestMsg) == 528);

// A burn of the listed files into `changelist`.
struct BurnFileListMsg : BurnerProtocol::FileListMsg<FourCC("BFLL")>
{
};

// As BurnFileListMsg; the burner decides what an update burn does differently.
struct BurnUpdateFileListMsg : BurnerProtocol::FileListMsg<FourCC("BUFL")>
{
};

// Progress of a burn: records to add to the caller's list, any number before the result.
struct BurnerUpdateMsg : BurnerProtocol::ResultsListMsg<FourCC("BUPD")>
{
};

// The end of a burn: the files burned, a flag of the burner's own and the last records.
struct BurnerResultMsg
{
    static constexpr uint32 MSG_TYPE = FourCC("BRES");
    uint32 filesBurned = 0;
    uint8 flag = 0;
    BurnerResults results;

    bool WritePayload(ByteStreamAdapter& out) const;
    bool ReadPayload(const uint8* payload, uint32 size);
};

// One message as it travels: the type and the payload bytes.
class BurnerMessage
{
public:
    static constexpr uint32 TypeSize = 4;

    // Takes the bytes of one pipe message. A message under 4 bytes is refused: false, and the
    // message is left empty.
    bool Assign(const uint8* data, size_t size);
    bool IsEmpty() const { return m_cBytes.empty(); }

    uint32 GetType() const;
    // The payload's size: the bytes after the type.
    uint32 GetMessageSize() const;
    const uint8* GetPayload() const;
    // The whole message, type first, as it goes on the wire.
    const std::vector<uint8>& GetBytes() const { return m_cBytes; }

    // Writes `msg` through a growing memory stream; false when the payload cannot be written.
    template <class T> bool Set(const T& msg);

    // Reads the payload as `T`. Asserts that the type is T's; a wrong type reads nothing. False for
    // a wrong type or a payload that is not a well-formed T.
    template <class T> bool Get(T& msg) const
    {
        if (!dbAssert(T::MSG_TYPE == GetType()))
            return false;
        return msg.ReadPayload(GetPayload(), GetMessageSize());
    }

private:
    bool SetPayload(uint32 type, const void* pMsg, bool (*write)(const void*, ByteStreamAdapter&));

    std::vector<uint8> m_cBytes;
};

template <class T> bool BurnerMessage::Set(const T& msg)
{
    return SetPayload(T::MSG_TYPE, &msg,
                      [](const void* p, ByteStreamAdapter& out)
                      { return static_cast<const T*>(p)->WritePayload(out); });
}

// Reads one whole message from the pipe: 4 bytes first, then, while the pipe says more data
// follows, blocks of 1024 bytes. False on a pipe failure or a message under 4 bytes.
bool ReadMessage(NamedPipe& pipe, BurnerMessage& msg);
// Writes one message as one pipe message.
bool WriteMessage(NamedPipe& pipe, const BurnerMessage& msg);
// Set and write in one step.
template <class T> bool SendMessage(NamedPipe& pipe, const T& msg)
{
    BurnerMessage message;
    return message.Set(msg) && WriteMessage(pipe, message);
}
