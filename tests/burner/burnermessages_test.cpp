// The burner messages byte by byte, and the pipe's message reads in 1024-byte blocks.
#include "burner/burnermessages.h"
#include "burner/namedpipe.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <unistd.h>

namespace
{
std::vector<uint8> U32(uint32 v)
{
    return {uint8(v), uint8(v >> 8), uint8(v >> 16), uint8(v >> 24)};
}

void Put(std::vector<uint8>& bytes, const std::vector<uint8>& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

void PutString(std::vector<uint8>& bytes, const std::string& s)
{
    Put(bytes, U32(uint32(s.size())));
    bytes.insert(bytes.end(), s.begin(), s.end());
}

template <class T> BurnerMessage Encode(const T& msg)
{
    BurnerMessage message;
    EXPECT_TRUE(message.Set(msg));
    return message;
}

BurnerMessage FromBytes(const std::vector<uint8>& bytes)
{
    BurnerMessage message;
    EXPECT_TRUE(message.Assign(bytes.data(), bytes.size()));
    return message;
}
} // namespace

TEST(BurnerMessages, TypesAreTheirFourCharacters)
{
    EXPECT_EQ(BurnerSetupMsg::MSG_TYPE, 0x42525355u);
    EXPECT_EQ(BurnerReadyMsg::MSG_TYPE, 0x42525442u);
    EXPECT_EQ(BurnerErrorMsg::MSG_TYPE, 0x42455252u);
    EXPECT_EQ(BurnRequestMsg::MSG_TYPE, 0x42525743u);
    EXPECT_EQ(BurnFileListMsg::MSG_TYPE, 0x42464c4cu);
    EXPECT_EQ(BurnUpdateFileListMsg::MSG_TYPE, 0x4255464cu);
    EXPECT_EQ(BurnerUpdateMsg::MSG_TYPE, 0x42555044u);
    EXPECT_EQ(BurnerResultMsg::MSG_TYPE, 0x42524553u);
}

TEST(BurnerMessages, SetupAndRequestAreTheirFixedLayouts)
{
    BurnerSetupMsg setup;
    ASSERT_TRUE(setup.SetConfigPath("/p/pipeline.ini"));
    std::vector<uint8> expected = U32(0x42525355);
    const std::string path = "/p/pipeline.ini";
    expected.insert(expected.end(), path.begin(), path.end());
    expected.resize(4 + 260, 0);
    Put(expected, U32(8));
    EXPECT_EQ(Encode(setup).GetBytes(), expected);
    EXPECT_EQ(Encode(setup).GetMessageSize(), 264u);

    BurnRequestMsg request;
    request.changelist = 0x01020304;
    ASSERT_TRUE(request.SetFolder("/p/generic"));
    ASSERT_TRUE(request.SetPattern("a\\..*$"));
    request.flagA = 1;
    const BurnerMessage message = Encode(request);
    ASSERT_EQ(message.GetMessageSize(), 528u);
    const uint8* p = message.GetPayload();
    EXPECT_EQ(std::vector<uint8>(p, p + 4), U32(0x01020304));
    EXPECT_STREQ(reinterpret_cast<const char*>(p + 4), "/p/generic");
    EXPECT_STREQ(reinterpret_cast<const char*>(p + 264), "a\\..*$");
    EXPECT_EQ(std::vector<uint8>(p + 524, p + 528), (std::vector<uint8>{1, 0, 1, 0}));

    BurnRequestMsg back;
    ASSERT_TRUE(message.Get(back));
    EXPECT_EQ(back.changelist, request.changelist);
    EXPECT_STREQ(back.folder, "/p/generic");
    EXPECT_EQ(back.flagC, 1);

    EXPECT_FALSE(request.SetFolder(std::string(260, 'x'))) << "no room for the terminator";
    EXPECT_EQ(request.folder[0], 0);
}

TEST(BurnerMessages, ResultsAndListsAreCountedStrings)
{
    std::vector<uint8> bytes = U32(0x42524553);
    Put(bytes, U32(3));
    bytes.push_back(1);
    Put(bytes, U32(2));
    Put(bytes, U32(0));
    PutString(bytes, "Burner -- done");
    Put(bytes, U32(2));
    PutString(bytes, "");
    BurnerResultMsg result;
    ASSERT_TRUE(FromBytes(bytes).Get(result));
    EXPECT_EQ(result.filesBurned, 3u);
    EXPECT_EQ(result.flag, 1);
    ASSERT_EQ(result.results.Count(), 2u);
    EXPECT_EQ(result.results[0].text, "Burner -- done");
    EXPECT_EQ(result.results[1].level, 2u);
    EXPECT_EQ(Encode(result).GetBytes(), bytes);

    BurnFileListMsg list;
    list.changelist = 7;
    list.cFiles = {"a.sgm", "b"};
    std::vector<uint8> listBytes = U32(0x42464c4c);
    Put(listBytes, U32(7));
    Put(listBytes, U32(2));
    PutString(listBytes, "a.sgm");
    PutString(listBytes, "b");
    EXPECT_EQ(Encode(list).GetBytes(), listBytes);
    BurnUpdateFileListMsg update;
    listBytes[0] = 'L', listBytes[1] = 'F', listBytes[2] = 'U';
    ASSERT_TRUE(FromBytes(listBytes).Get(update));
    EXPECT_EQ(update.cFiles, list.cFiles);
}

TEST(BurnerMessages, MalformedPayloadsAreRefused)
{
    struct Case
    {
        const char* what;
        std::vector<uint8> payload;
    };
    std::vector<uint8> longString = U32(1);
    Put(longString, U32(0));
    Put(longString, U32(100));
    std::vector<uint8> badLevel = U32(1);
    Put(badLevel, U32(3));
    Put(badLevel, U32(0));
    std::vector<uint8> trailing = U32(0);
    trailing.push_back(9);
    const Case cases[] = {
        {"empty", {}},
        {"count without records", U32(1)},
        {"huge count", U32(0xFFFFFFFF)},
        {"string past the end", longString},
        {"level past error", badLevel},
        {"bytes after the list", trailing},
    };
    for (const Case& c : cases)
    {
        std::vector<uint8> bytes = U32(0x42555044);
        Put(bytes, c.payload);
        BurnerUpdateMsg update;
        EXPECT_FALSE(FromBytes(bytes).Get(update)) << c.what;
    }

    std::vector<uint8> setup = U32(0x42525355);
    setup.resize(4 + 264, 'x');
    BurnerSetupMsg read;
    EXPECT_FALSE(FromBytes(setup).Get(read)) << "a path without its terminator";
    setup.resize(4 + 263, 0);
    EXPECT_FALSE(FromBytes(setup).Get(read)) << "263 bytes";

    BurnerMessage shortMessage;
    const uint8 three[3] = {'B', 'R', 'T'};
    EXPECT_FALSE(shortMessage.Assign(three, 3));
    EXPECT_TRUE(shortMessage.IsEmpty());
}

TEST(BurnerMessages, TypedReadAssertsTheType)
{
    const BurnerMessage ready = Encode(BurnerReadyMsg{});
    BurnerUpdateMsg update;
    update.results.AddText(0, "kept");
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(ready.Get(update), std::runtime_error);
    EXPECT_EQ(update.results.Count(), 1u) << "a wrong type reads nothing";

    std::vector<uint8> eight = U32(0x42525442);
    Put(eight, U32(0));
    Put(eight, U32(0));
    BurnerReadyMsg readyMsg;
    EXPECT_THROW(FromBytes(eight).Get(readyMsg), std::runtime_error) << "a ready message of 8 bytes";
    EXPECT_TRUE(ready.Get(readyMsg));
}

TEST(NamedPipe, MessagesKeepTheirBoundariesAcrossBlocks)
{
    const std::string path = NamedPipe::LocalPath(NamedPipe::PipeName);
    EXPECT_NE(path, NamedPipe::LocalPath(NamedPipe::PipeName));
    NamedPipe server(path, NamedPipe::Server);
    ASSERT_TRUE(server.Create());
    auto pClient = std::make_unique<NamedPipe>(path, NamedPipe::Client);
    ASSERT_TRUE(pClient->Create());
    ASSERT_TRUE(server.Connect());
    EXPECT_EQ(::access(path.c_str(), F_OK), -1) << "the socket file goes once the client is in";

    BurnerUpdateMsg big;
    big.results.AddText(1, std::string(1984, 'w').c_str());
    ASSERT_EQ(Encode(big).GetBytes().size(), 2000u);
    EXPECT_FALSE(WriteMessage(*pClient, BurnerMessage{})) << "an empty message is not sent";
    ASSERT_TRUE(SendMessage(*pClient, BurnerReadyMsg{}));
    ASSERT_TRUE(SendMessage(*pClient, big));
    ASSERT_TRUE(SendMessage(*pClient, big));
    const uint8 two[2] = {1, 2};
    ASSERT_TRUE(pClient->Write(two, 2));
    // Up to about 416 KB a message goes whole on any kernel; a message past the socket's buffer is
    // refused at the sending end, and the pipe goes on.
    big.results.AddText(0, std::string(300000, 'x').c_str());
    ASSERT_TRUE(SendMessage(*pClient, big));
    std::vector<uint8> huge(64u << 20, 0);
    EXPECT_FALSE(pClient->Write(huge.data(), uint32(huge.size())));

    BurnerMessage message;
    ASSERT_TRUE(ReadMessage(server, message));
    EXPECT_EQ(message.GetType(), BurnerReadyMsg::MSG_TYPE);
    EXPECT_EQ(message.GetMessageSize(), 4u);

    // The 2000 bytes come as 4, then 1024 and 972, with the more-data flag until the last block.
    uint8 block[1024];
    uint32 read = 0;
    bool more = false;
    ASSERT_TRUE(server.Read(block, 4, read, more));
    EXPECT_TRUE(more);
    ASSERT_TRUE(server.Read(block, 1024, read, more));
    EXPECT_EQ(read, 1024u);
    EXPECT_TRUE(more);
    ASSERT_TRUE(server.Read(block, 1024, read, more));
    EXPECT_EQ(read, 972u);
    EXPECT_FALSE(more);

    BurnerUpdateMsg back;
    ASSERT_TRUE(ReadMessage(server, message));
    ASSERT_TRUE(message.Get(back));
    EXPECT_EQ(back.results[0].text, std::string(1984, 'w'));
    EXPECT_FALSE(ReadMessage(server, message)) << "a message under 4 bytes";
    ASSERT_TRUE(ReadMessage(server, message));
    ASSERT_TRUE(message.Get(back));
    EXPECT_EQ(back.results[1].text.size(), 300000u);

    bool hasData = true;
    EXPECT_TRUE(server.Peek(hasData));
    EXPECT_FALSE(hasData);
    pClient.reset();
    EXPECT_FALSE(server.Peek(hasData)) << "the client has gone";

    NamedPipe stranger(NamedPipe::LocalPath("NoSuchPipe"), NamedPipe::Client);
    EXPECT_FALSE(stranger.Create());
}
