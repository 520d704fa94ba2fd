// A Perforce connection that answers from a script of recorded replies, in the tagged form of
// "p4 -s", and keeps the command lines it was given.
#pragma once
#include "revcontrol/clientapi.h"
#include "revcontrol/p4commandclient.h"
#include <gtest/gtest.h>
#include <deque>
#include <memory>

struct P4Script
{
    // Expected command line ("edit -c 5 file") and the reply to give.
    std::deque<std::pair<std::string, std::string>> cReplies;
    std::vector<std::string> cCommands, cInputs;
    int inits = 0, finals = 0;
    bool initSucceeds = true, dropped = true;
    std::string port;
};

class ScriptedClient final : public ClientApi
{
public:
    explicit ScriptedClient(std::shared_ptr<P4Script> pScript) : m_pScript(std::move(pScript)) {}

    void SetPort(const char* port) override { m_pScript->port = port; }
    void Init(ClientError* e) override
    {
        if (++m_pScript->inits, m_pScript->dropped = !m_pScript->initSucceeds)
            e->Set(ClientError::E_FATAL, "Connect to server failed; check $P4PORT.");
    }
    int Dropped() override { return m_pScript->dropped ? 1 : 0; }
    int Final(ClientError*) override { return ++m_pScript->finals, 0; }
    void SetArgv(int argc, const char* const* argv) override { m_cArgs.assign(argv, argv + argc); }
    void Run(const char* command, ClientUser* user) override
    {
        std::string line = command, input;
        for (const std::string& arg : m_cArgs)
            line += " " + arg;
        m_pScript->cCommands.push_back(line);
        if (line.find(" -i") != std::string::npos)
            user->InputData(input, nullptr), m_pScript->cInputs.push_back(input);
        ASSERT_FALSE(m_pScript->cReplies.empty()) << "unexpected command: " << line;
        auto [expected, reply] = m_pScript->cReplies.front();
        m_pScript->cReplies.pop_front();
        EXPECT_EQ(expected, line);
        DeliverTaggedOutput(reply, *user);
    }
    std::string GetClient() override { return "artist-ws"; }
    std::string GetUser() override { return "artist"; }

private:
    std::shared_ptr<P4Script> m_pScript;
    std::vector<std::string> m_cArgs;
};
