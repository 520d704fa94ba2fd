// A Perforce connection that answers from a script of recorded replies, in the tagged form of
// "p4 -s", and keeps the command lines it was given.
#pragma once

#include "revcontrol/clientapi.h"
#include "revcontrol/p4commandclient.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct P4Script
{
    // Expected command line ("edit -c 5 file") and the reply to give.
    std::deque<std::pair<std::string, std::string>> cReplies;
    std::vector<std::string> cCommands;
    std::vector<std::string> cInputs;
    int inits = 0;
    int finals = 0;
    bool initSucceeds = true;
    bool dropped = true;
    std::string port;

    void Expect(std::string command, std::string reply) { cReplies.emplace_back(command, reply); }
};

class ScriptedClient final : public ClientApi
{
public:
    explicit ScriptedClient(std::shared_ptr<P4Script> pScript) : m_pScript(std::move(pScript)) {}

    void SetPort(const char* port) override { m_pScript->port = port; }
    void Init(ClientError* e) override
    {
        ++m_pScript->inits;
        m_pScript->dropped = !m_pScript->initSucceeds;
        if (m_pScript->dropped && e != nullptr)
            e->Set(ClientError::E_FATAL, "Connect to server failed; check $P4PORT.");
    }
    int Dropped() override { return m_pScript->dropped ? 1 : 0; }
    int Final(ClientError*) override
    {
        ++m_pScript->finals;
        return 0;
    }
    void SetArgv(int argc, const char* const* argv) override { m_cArgs.assign(argv, argv + argc); }
    void Run(const char* command, ClientUser* user) override
    {
        std::string line = command;
        bool readsInput = false;
        for (const std::string& arg : m_cArgs)
        {
            line += " " + arg;
            readsInput = readsInput || arg == "-i";
        }
        m_pScript->cCommands.push_back(line);
        if (readsInput)
        {
            std::string input;
            ClientError e;
            user->InputData(input, &e);
            m_pScript->cInputs.push_back(input);
        }
        if (m_pScript->cReplies.empty())
        {
            ADD_FAILURE() << "unexpected command: " << line;
            return;
        }
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
