// The burner messages byte by byte, and the pipe's message reads in 1024-byte blocks.
#include "burner/burnermessages.h"
#include "burner/namedpipe.h"
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace
{
std::vector<uint8> U32(uint32 v) { return {uint8(v), uint8(v >> 8), uint8(v >> 16), uint8(v >> 24)}; }

// The parts one after the other.
std::vector<uint8> Cat(std::initializer_list<std::vector<uint8>> parts)
{
    std::vector<uint8> bytes;
    for (const std::vector<uint8>& part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}
// A counted string.
std::vector<uint8> Str(const std::string& s) { return Cat({U32(uint32(s.size())), std::vector<uint8>(s.begin(), s.end())}); }
// A message made, or taken from its bytes; one that cannot be is empty, and so compares unequal.
template <class T> BurnerMessage Encode(const T& msg) { BurnerMessage m; m.Set(msg); return m; }
BurnerMessage FromBytes(const std::vector<uint8>& bytes) { BurnerMessage m; m.Assign(bytes.data(), bytes.size()); return m; }
} // namespace
TEST(BurnerMessages, SetupAndRequestAreTheirFixedLayouts)
{
    // The types are their four characters.
    EXPECT_EQ((std::vector<uint32>{0x42525355, 0x42525442, 0x42455252, 0x42525743, 0x42464c4c, 0x4255464c, 0x42555044, 0x42524553}),
              (std::vector<uint32>{BurnerSetupMsg::MSG_TYPE, BurnerReadyMsg::MSG_TYPE, BurnerErrorMsg::MSG_TYPE, BurnRequestMsg::MSG_TYPE,
                                   BurnFileListMsg::MSG_TYPE, BurnUpdateFileListMsg::MSG_TYPE, BurnerUpdateMsg::MSG_TYPE,
                                   BurnerResultMsg::MSG_TYPE}));
    BurnerSetupMsg setup;
    ASSERT_TRUE(setup.SetConfigPath("/p/pipeline.ini"));
    std::vector<uint8> expected = Cat({U32(0x42525355), Str("/p/pipeline.ini")});
    expected.erase(expected.begin() + 4, expected.begin() + 8), expected.resize(4 + 260, 0);
    EXPECT_EQ(Encode(setup).GetBytes(), Cat({expected, U32(8)}));
    BurnRequestMsg request, back;
    request.changelist = 0x01020304;
    ASSERT_TRUE(request.SetFolder("/p/generic") && request.SetPattern("a\\..*$"));
    request.flagA = 1;
    const BurnerMessage message = Encode(request);
    ASSERT_EQ(message.GetMessageSize(), 528u);
    const uint8* p = message.GetPayload();
    EXPECT_EQ(std::vector<uint8>(p, p + 4), U32(0x01020304));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p + 4)) + " " + reinterpret_cast<const char*>(p + 264), "/p/generic a\\..*$");
    EXPECT_EQ(std::vector<uint8>(p + 524, p + 528), (std::vector<uint8>{1, 0, 1, 0}));
    ASSERT_TRUE(message.Get(back));
    EXPECT_TRUE(back.changelist == request.changelist && std::string(back.folder) == "/p/generic" && back.flagC == 1);
    // 259 characters and the terminator fit; 260 do not, and leave the field empty.
    EXPECT_TRUE(request.SetFolder(std::string(259, 'x')));
    EXPECT_FALSE(request.SetFolder(std::string(260, 'x')) || request.folder[0] != 0);
}

TEST(BurnerMessages, ResultsAndListsAreCountedStrings)
{
    const std::vector<uint8> bytes = Cat({U32(0x42524553), U32(3), {1}, U32(2), U32(0), Str("Burner -- done"), U32(2), Str("")});
    BurnerResultMsg result;
    ASSERT_TRUE(FromBytes(bytes).Get(result) && result.results.Count() == 2u);
    EXPECT_TRUE(result.filesBurned == 3u && result.flag == 1 && result.results[0].text == "Burner -- done" && result.results[1].level == 2u);
    EXPECT_EQ(Encode(result).GetBytes(), bytes);
    BurnFileListMsg list;
    list.changelist = 7;
    list.cFiles = {"a.sgm", "b"};
    std::vector<uint8> listBytes = Cat({U32(0x42464c4c), U32(7), U32(2), Str("a.sgm"), Str("b")});
    EXPECT_EQ(Encode(list).GetBytes(), listBytes);
    BurnUpdateFileListMsg update;
    listBytes[0] = 'L', listBytes[1] = 'F', listBytes[2] = 'U';
    ASSERT_TRUE(FromBytes(listBytes).Get(update));
    EXPECT_EQ(update.cFiles, list.cFiles);
}

TEST(BurnerMessages, MalformedPayloadsAreRefused)
{
    // Empty, a count without records, a huge count, a string past the end, a level past error,
    // bytes after the list.
    for (const std::vector<uint8>& payload : {std::vector<uint8>{}, U32(1), U32(0xFFFFFFFF), Cat({U32(1), U32(0), U32(100)}),
                                              Cat({U32(1), U32(3), U32(0)}), Cat({U32(0), {9}})})
    {
        BurnerUpdateMsg update;
        EXPECT_FALSE(FromBytes(Cat({U32(0x42555044), payload})).Get(update)) << payload.size();
    }
    std::vector<uint8> setup = U32(0x42525355);
    setup.resize(4 + 264, 'x');
    BurnerSetupMsg read;
    EXPECT_FALSE(FromBytes(setup).Get(read)) << "a path without its terminator";
    setup.resize(4 + 263, 0);
    EXPECT_FALSE(FromBytes(setup).Get(read)) << "263 bytes";
    BurnerMessage shortMessage;
    const uint8 three[3] = {'B', 'R', 'T'};
    EXPECT_FALSE(shortMessage.Assign(three, 3) || !shortMessage.IsEmpty());
    // A typed read asserts the type, and a wrong type reads nothing.
    const BurnerMessage ready = Encode(BurnerReadyMsg{});
    BurnerUpdateMsg update;
    update.results.AddText(0, "kept");
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(ready.Get(update), std::runtime_error);
    EXPECT_EQ(update.results.Count(), 1u);
    BurnerReadyMsg readyMsg;
    EXPECT_THROW(FromBytes(Cat({U32(0x42525442), U32(0), U32(0)})).Get(readyMsg), std::runtime_error) << "a ready message of 8 bytes";
    EXPECT_TRUE(ready.Get(readyMsg));
}

TEST(NamedPipe, MessagesKeepTheirBoundariesAcrossBlocks)
{
    const std::string path = NamedPipe::LocalPath(NamedPipe::PipeName);
    EXPECT_NE(path, NamedPipe::LocalPath(NamedPipe::PipeName));
    NamedPipe server(path, NamedPipe::Server);
    ASSERT_TRUE(server.Create());
    auto pClient = std::make_unique<NamedPipe>(path, NamedPipe::Client);
    ASSERT_TRUE(pClient->Create() && server.Connect());
    EXPECT_EQ(::access(path.c_str(), F_OK), -1) << "the socket file goes once the client is in";
    BurnerUpdateMsg big;
    big.results.AddText(1, std::string(1984, 'w').c_str());
    ASSERT_EQ(Encode(big).GetBytes().size(), 2000u);
    EXPECT_FALSE(WriteMessage(*pClient, BurnerMessage{})) << "an empty message is not sent";
    const uint8 two[2] = {1, 2};
    ASSERT_TRUE(SendMessage(*pClient, BurnerReadyMsg{}) && SendMessage(*pClient, big) && SendMessage(*pClient, big) && pClient->Write(two, 2));
    // Up to about 416 KB a message goes whole on any kernel; a message past the socket's buffer is
    // refused at the sending end, and the pipe goes on.
    big.results.AddText(0, std::string(300000, 'x').c_str());
    ASSERT_TRUE(SendMessage(*pClient, big));
    std::vector<uint8> huge(64u << 20, 0);
    EXPECT_FALSE(pClient->Write(huge.data(), uint32(huge.size())));
    BurnerMessage message;
    ASSERT_TRUE(ReadMessage(server, message));
    EXPECT_TRUE(message.GetType() == BurnerReadyMsg::MSG_TYPE && message.GetMessageSize() == 4u);
    // The 2000 bytes come as 4, then 1024 and 972, with the more-data flag until the last block.
    uint8 block[1024];
    uint32 read = 0;
    bool more = false;
    EXPECT_TRUE(server.Read(block, 4, read, more) && more);
    EXPECT_TRUE(server.Read(block, 1024, read, more) && read == 1024u && more);
    EXPECT_TRUE(server.Read(block, 1024, read, more) && read == 972u && !more);
    BurnerUpdateMsg back;
    ASSERT_TRUE(ReadMessage(server, message) && message.Get(back));
    EXPECT_EQ(back.results[0].text, std::string(1984, 'w'));
    EXPECT_FALSE(ReadMessage(server, message)) << "a message under 4 bytes";
    ASSERT_TRUE(ReadMessage(server, message) && message.Get(back));
    EXPECT_EQ(back.results[1].text.size(), 300000u);
    bool hasData = true;
    EXPECT_TRUE(server.Peek(hasData) && !hasData);
    pClient.reset();
    EXPECT_FALSE(server.Peek(hasData)) << "the client has gone";
    NamedPipe stranger(NamedPipe::LocalPath("NoSuchPipe"), NamedPipe::Client);
    EXPECT_FALSE(stranger.Create());
    EXPECT_FALSE(stranger.Read(block, 4, read, more)) << "nothing to read from a pipe never opened";
}

TEST(NamedPipe, TheServerWaitsWhileAskedToAndNoLonger)
{
    // A client that comes after several rounds of waiting is taken; one that never comes is given up on.
    for (const bool comes : {true, false})
    {
        const std::string path = NamedPipe::LocalPath(NamedPipe::PipeName);
        NamedPipe server(path, NamedPipe::Server), client(path, NamedPipe::Client);
        ASSERT_TRUE(server.Create());
        int rounds = 0;
        std::thread late([&] { std::this_thread::sleep_for(std::chrono::milliseconds(300)), comes && client.Create(); });
        EXPECT_EQ(comes, server.Connect([&] { return ++rounds < 10; }));
        late.join();
        EXPECT_TRUE(comes ? rounds > 1 : rounds == 10) << rounds;
    }
}
