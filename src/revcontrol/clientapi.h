// The few calls of the Perforce client that the revision control back end makes: a connection
// (`ClientApi`) that runs one command at a time and calls back a `ClientUser` with what the server
// says. The real connection runs the `p4` command-line client; tests put a scripted one in its place.
#pragma once

#include <string>
#include <utility>
#include <vector>

// A message of the server with its severity; also the error out-parameter of Init and Final.
struct ClientError
{
    enum Severity
    {
        E_EMPTY = 0,
        E_INFO = 1,
        E_WARN = 2,
        E_FAILED = 3,
        E_FATAL = 4
    };

    int severity = E_EMPTY;
    std::string text;

    void Set(int newSeverity, std::string newText)
    {
        severity = newSeverity;
        text = std::move(newText);
    }
    void Clear() { Set(E_EMPTY, std::string()); }
    // True for a warning or worse, as an info message is no failure.
    bool Test() const { return severity > E_INFO; }
};

// One variable of tagged output: name and value.
using StatVars = std::vector<std::pair<std::string, std::string>>;

// Receives the output of one command. The defaults route every message to the output calls,
// which write to standard output and standard error; a tool derives and keeps what it needs.
class ClientUser
{
public:
    virtual ~ClientUser() = default;

    // The text handed to a command that reads its input ("change -i"): appended to `buffer`.
    virtual void InputData(std::string& buffer, ClientError* e);
    // A server message: goes to Message.
    virtual void HandleError(ClientError* err);
    // An info message goes to OutputInfo, any other to OutputError.
    virtual void Message(ClientError* err);
    virtual void OutputError(const char* errBuf);
    // `level` is '0' for a plain line, '1' and up for nested detail.
    virtual void OutputInfo(char level, const char* data);
    virtual void OutputBinary(const char* data, int length);
    virtual void OutputText(const char* data, int length);
    // One OutputInfo per variable, "name value"; the variable "func" is left out.
    virtual void OutputStat(const StatVars& vars);
    virtual void Prompt(const std::string& message, std::string& reply, bool noEcho, ClientError* e);
    virtual void ErrorPause(const char* errBuf, ClientError* e);
    virtual void Finished();
};

// A connection to a server. Run executes the command set up by SetArgv and calls back `user`
// until the command has ended.
class ClientApi
{
public:
    virtual ~ClientApi() = default;

    virtual void SetPort(const char* port) = 0;
    virtual void Init(ClientError* e) = 0;
    // Non-zero when the connection is lost or was never made.
    virtual int Dropped() = 0;
    virtual int Final(ClientError* e) = 0;
    virtual void SetArgv(int argc, const char* const* argv) = 0;
    virtual void Run(const char* command, ClientUser* user) = 0;
    // Client workspace and user name, from the client's own settings.
    virtual std::string GetClient() = 0;
    virtual std::string GetUser() = 0;
};
