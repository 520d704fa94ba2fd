#include "revcontrol/p4commandclient.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
enum class Tag
{
    None,
    Info,
    Error,
    Warning,
    Text,
    Exit
};

// Reads the tag of a "-s" line: "info:", "info1:" (a nesting level), "error:", "warning:",
// "text:", "exit:". `rest` is what follows the tag and its one blank.
Tag ReadTag(std::string_view line, char& level, std::string_view& rest)
{
    size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return Tag::None;
    std::string_view tag = line.substr(0, colon);
    rest = line.substr(colon + 1);
    if (!rest.empty() && rest.front() == ' ')
        rest.remove_prefix(1);

    level = '0';
    if (tag.substr(0, 4) == "info")
    {
        std::string_view digits = tag.substr(4);
        if (digits.size() > 1)
            return Tag::None;
        if (digits.size() == 1)
        {
            if (digits[0] < '0' || digits[0] > '9')
                return Tag::None;
            level = digits[0];
        }
        return Tag::Info;
    }
    if (tag == "error")
        return Tag::Error;
    if (tag == "warning")
        return Tag::Warning;
    if (tag == "text")
        return Tag::Text;
    if (tag == "exit")
        return Tag::Exit;
    return Tag::None;
}

void Deliver(Tag tag, char level, std::string& text, ClientUser& user)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    switch (tag)
    {
    case Tag::Info:
        user.OutputInfo(level, text.c_str());
        break;
    case Tag::Error:
    case Tag::Warning:
    {
        ClientError e;
        e.Set(tag == Tag::Error ? ClientError::E_FAILED : ClientError::E_WARN, text);
        user.HandleError(&e);
        break;
    }
    case Tag::Text:
        user.OutputText(text.c_str(), int(text.size()));
        break;
    case Tag::None:
    case Tag::Exit:
        break;
    }
    text.clear();
}

// Collects the errors of the "info" command that Init sends.
class ProbeUser final : public ClientUser
{
public:
    void OutputError(const char* errBuf) override { m_cErrors.emplace_back(errBuf); }
    void OutputInfo(char, const char*) override {}
    void OutputText(const char*, int) override {}

    std::vector<std::string> m_cErrors;
};

// A setting line of "p4 set": "P4CLIENT=name (set)" or "P4CLIENT=name".
bool ReadSetting(std::string_view line, const char* variable, std::string& value)
{
    size_t n = std::strlen(variable);
    if (line.size() <= n || line.substr(0, n) != variable || line[n] != '=')
        return false;
    std::string_view v = line.substr(n + 1);
    if (!v.empty() && v.back() == ')')
    {
        size_t open = v.rfind(" (");
        if (open != std::string_view::npos)
            v = v.substr(0, open);
    }
    value.assign(v);
    return !value.empty();
}

const char* NonEmptyEnv(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}
} // namespace

int DeliverTaggedOutput(std::string_view output, ClientUser& user)
{
    Tag current = Tag::None;
    char level = '0';
    std::string text;
    int exitCode = -1;

    while (!output.empty())
    {
        size_t end = output.find('\n');
        std::string_view line = output.substr(0, end);
        output = end == std::string_view::npos ? std::string_view() : output.substr(end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);

        char lineLevel = '0';
        std::string_view rest;
        Tag tag = ReadTag(line, lineLevel, rest);
        if (tag == Tag::None)
        {
            if (current != Tag::None)
            {
                text += '\n';
                text.append(line);
            }
            else if (!line.empty())
            {
                // Text with no tag before it: the client said something outside its protocol.
                current = Tag::Error;
                text.assign(line);
            }
            continue;
        }
        if (current != Tag::None)
            Deliver(current, level, text, user);
        current = Tag::None;
        if (tag == Tag::Exit)
        {
            exitCode = std::atoi(std::string(rest).c_str());
            continue;
        }
        current = tag;
        level = lineLevel;
        text.assign(rest);
    }
    if (current != Tag::None)
        Deliver(current, level, text, user);
    return exitCode;
}

P4CommandClient::P4CommandClient(std::string program) : m_program(std::move(program)) {}

void P4CommandClient::SetPort(const char* port)
{
    m_port = port != nullptr ? port : "";
}

std::vector<std::string> P4CommandClient::GlobalOptions() const
{
    std::vector<std::string> args{"-s"};
    if (!m_port.empty())
    {
        args.emplace_back("-p");
        args.push_back(m_port);
    }
    return args;
}

void P4CommandClient::Init(ClientError* e)
{
    m_dropped = true;
    std::vector<std::string> args = GlobalOptions();
    args.emplace_back("info");
    std::string output;
    int exitStatus = 0;
    if (!RunProgram(args, std::string(), output, exitStatus))
    {
        if (e != nullptr)
            e->Set(ClientError::E_FATAL, "Perforce client '" + m_program + "' could not be run: " +
                                             std::strerror(errno) + " (is it on PATH?)");
        return;
    }
    ProbeUser probe;
    DeliverTaggedOutput(output, probe);
    if (!probe.m_cErrors.empty() || exitStatus != 0)
    {
        if (e != nullptr)
        {
            std::string reason = probe.m_cErrors.empty() ? "'" + m_program + " info' ended with status " +
                                                               std::to_string(exitStatus)
                                                         : probe.m_cErrors.front();
            e->Set(ClientError::E_FATAL, "Perforce server " +
                                             (m_port.empty() ? std::string("(P4PORT)") : m_port) +
                                             " did not answer: " + reason);
        }
        return;
    }
    m_dropped = false;
}

int P4CommandClient::Dropped()
{
    return m_dropped ? 1 : 0;
}

int P4CommandClient::Final(ClientError*)
{
    m_dropped = true;
    return 0;
}

void P4CommandClient::SetArgv(int argc, const char* const* argv)
{
    m_cArgs.clear();
    for (int i = 0; i < argc; ++i)
        m_cArgs.emplace_back(argv[i] != nullptr ? argv[i] : "");
}

void P4CommandClient::Run(const char* command, ClientUser* user)
{
    if (command == nullptr || user == nullptr)
        return;
    std::vector<std::string> args = GlobalOptions();
    args.emplace_back(command);
    bool readsInput = false;
    for (std::string arg : m_cArgs)
    {
        readsInput = readsInput || arg == "-i";
        // Local names carry the system's separator; the client on this machine wants '/'.
        for (char& c : arg)
        {
            if (c == '\\')
                c = '/';
        }
        args.push_back(std::move(arg));
    }
    std::string input;
    if (readsInput)
    {
        ClientError e;
        user->InputData(input, &e);
    }

    std::string output;
    int exitStatus = 0;
    if (!RunProgram(args, input, output, exitStatus))
    {
        ClientError e;
        e.Set(ClientError::E_FATAL,
              "Perforce client '" + m_program + "' could not be run: " + std::strerror(errno));
        user->HandleError(&e);
        m_dropped = true;
        user->Finished();
        return;
    }
    DeliverTaggedOutput(output, *user);
    // The client words a lost server so; the next command connects anew.
    if (output.find("Connect to server failed") != std::string::npos)
        m_dropped = true;
    user->Finished();
}

std::string P4CommandClient::FromSettings(const char* variable)
{
    if (const char* value = NonEmptyEnv(variable))
        return value;
    std::string output;
    int exitStatus = 0;
    if (!RunProgram({"set"}, std::string(), output, exitStatus))
        return std::string();
    std::string_view rest = output;
    while (!rest.empty())
    {
        size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        std::string value;
        if (ReadSetting(line, variable, value))
            return value;
    }
    return std::string();
}

std::string P4CommandClient::GetClient()
{
    std::string client = FromSettings("P4CLIENT");
    if (!client.empty())
        return client;
    // The client's own default: the workstation's name.
    char host[256] = {};
    if (gethostname(host, sizeof(host) - 1) == 0)
        return host;
    return std::string();
}

std::string P4CommandClient::GetUser()
{
    std::string user = FromSettings("P4USER");
    if (!user.empty())
        return user;
    if (const char* login = NonEmptyEnv("USER"))
        return login;
    if (const char* login = NonEmptyEnv("LOGNAME"))
        return login;
    return std::string();
}

bool P4CommandClient::RunProgram(const std::vector<std::string>& args, const std::string& input,
                                 std::string& output, int& exitStatus)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(m_program.c_str()));
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    // Standard input is a socket, so that a client that quits before reading it gives us an
    // error to handle rather than a signal; standard output and error share one pipe.
    int inPair[2] = {-1, -1};
    int outPipe[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, inPair) != 0)
        return false;
    if (pipe2(outPipe, O_CLOEXEC) != 0)
    {
        int saved = errno;
        close(inPair[0]);
        close(inPair[1]);
        errno = saved;
        return false;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inPair[1], 0);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 2);
    pid_t pid = 0;
    int spawnError = posix_spawnp(&pid, m_program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(inPair[1]);
    close(outPipe[1]);
    if (spawnError != 0)
    {
        close(inPair[0]);
        close(outPipe[0]);
        errno = spawnError;
        return false;
    }

    size_t written = 0;
    int inFd = inPair[0];
    if (input.empty())
    {
        close(inFd);
        inFd = -1;
    }
    char buffer[4096];
    bool outOpen = true;
    while (outOpen)
    {
        pollfd fds[2];
        nfds_t count = 0;
        fds[count++] = {outPipe[0], POLLIN, 0};
        if (inFd >= 0)
            fds[count++] = {inFd, POLLOUT, 0};
        if (poll(fds, count, -1) < 0)
        {
            if (errno == EINTR)
                continue;
            break;
        }
        if (fds[0].revents != 0)
        {
            ssize_t n = read(outPipe[0], buffer, sizeof(buffer));
            if (n > 0)
                output.append(buffer, size_t(n));
            else if (n == 0 || errno != EINTR)
                outOpen = false;
        }
        if (inFd >= 0 && count > 1 && fds[1].revents != 0)
        {
            ssize_t n = (fds[1].revents & POLLOUT) != 0
                            ? send(inFd, input.data() + written, input.size() - written, MSG_NOSIGNAL)
                            : -1;
            if (n > 0)
                written += size_t(n);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0 || written == input.size())
            {
                close(inFd);
                inFd = -1;
            }
        }
    }
    if (inFd >= 0)
        close(inFd);
    close(outPipe[0]);

    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
    {
        if (errno != EINTR)
        {
            status = 0;
            break;
        }
    }
    exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    return true;
}
