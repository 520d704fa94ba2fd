#include "revcontrol/clientapi.h"

#include <cstdio>

void ClientUser::InputData(std::string&, ClientError*) {}

void ClientUser::HandleError(ClientError* err)
{
    if (err != nullptr)
        Message(err);
}

void ClientUser::Message(ClientError* err)
{
    if (err == nullptr)
        return;
    if (err->severity == ClientError::E_INFO)
        OutputInfo('0', err->text.c_str());
    else
        OutputError(err->text.c_str());
}

void ClientUser::OutputError(const char* errBuf)
{
    std::fprintf(stderr, "%s\n", errBuf);
}

void ClientUser::OutputInfo(char level, const char* data)
{
    // Nested detail is indented by three dots a level, as the Perforce client prints it.
    for (char l = '0'; l < level; ++l)
        std::fputs("... ", stdout);
    std::printf("%s\n", data);
}

void ClientUser::OutputBinary(const char* data, int length)
{
    if (length > 0)
        std::fwrite(data, 1, size_t(length), stdout);
}

void ClientUser::OutputText(const char* data, int length)
{
    if (length > 0)
        std::fwrite(data, 1, size_t(length), stdout);
}

void ClientUser::OutputStat(const StatVars& vars)
{
    for (const auto& [name, value] : vars)
    {
        if (name == "func")
            continue;
        std::string line = name + " " + value;
        OutputInfo('0', line.c_str());
    }
}

void ClientUser::Prompt(const std::string&, std::string& reply, bool, ClientError*)
{
    reply.clear();
}

void ClientUser::ErrorPause(const char* errBuf, ClientError*)
{
    OutputError(errBuf);
}

void ClientUser::Finished() {}
