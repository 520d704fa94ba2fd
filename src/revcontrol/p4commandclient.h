// The Perforce connection of a workstation: each command runs the `p4` command-line client with
// "-s", whose tagged lines ("info:", "error:", "text:", "exit:") become the ClientUser calls.
#pragma once

#include "revcontrol/clientapi.h"

#include <string>
#include <string_view>
#include <vector>

// Hands the output of "p4 -s" to `user`, message by message, and returns the number of the
// "exit:" line (-1 when there is none). A line without a tag continues the message before it, as a
// changelist description does; one with nothing before it is an error message.
int DeliverTaggedOutput(std::string_view output, ClientUser& user);

class P4CommandClient final : public ClientApi
{
public:
    // `program` is the client to run, searched on PATH when it has no '/'.
    explicit P4CommandClient(std::string program = "p4");

    void SetPort(const char* port) override;
    // Finds the client program and asks the server "info": connected when that answers with no error.
    void Init(ClientError* e) override;
    int Dropped() override;
    int Final(ClientError* e) override;
    void SetArgv(int argc, const char* const* argv) override;
    void Run(const char* command, ClientUser* user) override;
    // P4CLIENT / P4USER, else what "p4 set" reports, else the host and login names.
    std::string GetClient() override;
    std::string GetUser() override;

private:
    // Runs the client with `args` behind the program name; false when it could not be started.
    bool RunProgram(const std::vector<std::string>& args, const std::string& input, std::string& output,
                    int& exitStatus);
    std::string FromSettings(const char* variable);
    std::vector<std::string> GlobalOptions() const;

    std::string m_program;
    std::string m_programPath;
    std::string m_port;
    std::vector<std::string> m_cArgs;
    bool m_dropped = true;
};
