#include "revcontrol/revcontrolp4.h"

#include "foundation/debug.h"
#include "revcontrol/p4commandclient.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <regex>
#include <string>
#include <vector>

namespace
{
// The output of one command, kept as the server words it.
class RevClientUser final : public ClientUser
{
public:
    void SetInput(std::string input) { m_input = std::move(input); }

    void InputData(std::string& buffer, ClientError*) override { buffer += m_input; }
    void OutputError(const char* errBuf) override { m_cErrors.emplace_back(errBuf); }
    void OutputInfo(char, const char* data) override { m_cInfo.emplace_back(data); }
    void OutputText(const char* data, int) override { m_cText.emplace_back(data); }

    const std::vector<std::string>& Info() const { return m_cInfo; }
    const std::vector<std::string>& Text() const { return m_cText; }
    const std::vector<std::string>& Errors() const { return m_cErrors; }
    // The first info entry, which is all most judgements read.
    const std::string& First() const { return m_cInfo.front(); }

private:
    std::string m_input;
    std::vector<std::string> m_cInfo;
    std::vector<std::string> m_cText;
    std::vector<std::string> m_cErrors;
};

// The arguments of one command, at most five.
class ArgHelp
{
public:
    static constexpr int MaxArgs = 5;

    void Add(const char* text)
    {
        if (!dbAssert(m_count < MaxArgs))
            return;
        m_cArgs[size_t(m_count)] = text != nullptr ? text : "";
        ++m_count;
    }
    void Add(int number) { Add(std::to_string(number).c_str()); }

    int Count() const { return m_count; }
    // The table of pointers the client takes; valid while this object lives unchanged.
    const char* const* Argv()
    {
        for (int i = 0; i < m_count; ++i)
            m_cPointers[size_t(i)] = m_cArgs[size_t(i)].c_str();
        return m_cPointers.data();
    }

private:
    int m_count = 0;
    std::array<std::string, MaxArgs> m_cArgs;
    std::array<const char*, MaxArgs> m_cPointers{};
};

bool Holds(const std::string& text, const char* word)
{
    return text.find(word) != std::string::npos;
}

// A run of decimal digits as a changelist number; false when it does not fit.
bool ParseNumber(const std::string& digits, int& out)
{
    int value = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || end != digits.data() + digits.size())
        return false;
    out = value;
    return true;
}

// Reads "Change <number> on" the way a scanf pattern does: the word, any blanks, a signed number;
// what follows the number is not examined.
bool ScanChangeNumber(const std::string& entry, int& out)
{
    static const char s_word[] = "Change";
    if (entry.compare(0, sizeof(s_word) - 1, s_word) != 0)
        return false;
    size_t pos = sizeof(s_word) - 1;
    while (pos < entry.size() && std::isspace(static_cast<unsigned char>(entry[pos])))
        ++pos;
    if (pos < entry.size() && entry[pos] == '+')
        ++pos;
    int value = 0;
    const char* first = entry.data() + pos;
    const char* last = entry.data() + entry.size();
    auto [end, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || end == first)
        return false;
    out = value;
    return true;
}

bool StartsWithNoCase(const std::string& text, const char* prefix)
{
    size_t n = std::strlen(prefix);
    if (text.size() < n)
        return false;
    for (size_t i = 0; i < n; ++i)
    {
        if (std::tolower(static_cast<unsigned char>(text[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    }
    return true;
}

// fstat entries that carry a path, which may hold any of the words looked for.
bool IsPathEntry(const std::string& entry)
{
    return StartsWithNoCase(entry, "depotFile") || StartsWithNoCase(entry, "clientFile");
}

// Opens every file of the list with `open`; at the first failure the files opened before it are
// reverted (unchanged ones only) and the answer is false.
template <class OpenFn>
bool OpenAllOrRevert(RevControlAPI& revControl, const RevControlAPI::FileList& files, int changelist, OpenFn open)
{
    for (size_t i = 0; i < files.size(); ++i)
    {
        if (!open(files[i].c_str(), changelist))
        {
            for (size_t j = 0; j < i; ++j)
                revControl.Revert(files[j].c_str(), changelist, true);
            return false;
        }
    }
    return true;
}

// A file reverted from delete is opened anew; a server that keeps answering "opened for delete"
// after each revert must not keep the tool in this loop for ever.
constexpr int MaxOpenOrAddPasses = 4;
} // namespace

struct RevControlP4::Impl
{
    bool connected = false;
    std::unique_ptr<ClientApi> pClient;
    RevClientUser user;
    std::string m_errorStr;
    bool errorSet = false;

    void Run(const char* command, ArgHelp& args, RevClientUser& output)
    {
        if (!connected)
            return;
        if (pClient->Dropped())
        {
            // The server went away since the last command: one more try to reach it.
            ClientError e;
            pClient->Init(&e);
            connected = pClient->Dropped() == 0;
            if (!connected)
                return;
        }
        pClient->SetArgv(args.Count(), args.Argv());
        pClient->Run(command, &output);
    }

    void SetError(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        va_list args;
        va_start(args, format);
        va_list copy;
        va_copy(copy, args);
        int n = std::vsnprintf(nullptr, 0, format, copy);
        va_end(copy);
        if (n < 0)
            n = 0;
        m_errorStr.clear();
        size_t oldsize = m_errorStr.size();
        m_errorStr.resize(size_t(n) + 1);
        std::vsnprintf(m_errorStr.data(), m_errorStr.size(), format, args);
        va_end(args);
        m_errorStr.resize(size_t(n));
        errorSet = true;
        dbAssert(m_errorStr.size() == std::strlen(m_errorStr.c_str()));
        dbAssert(m_errorStr.size() == size_t(n) + oldsize);
    }

    // Runs `command` on one file, with "-c N" when a changelist is named and `option` ahead of
    // it when given, and judges the first reply line: true when it holds one of `accepted`.
    // Otherwise the error is "<failure>: '<file>'", with ", error: '<reply>'" when there was one.
    bool RunOnFile(const char* command, const char* option, const char* file, int changelist,
                   std::initializer_list<const char*> accepted, const char* failure)
    {
        RevClientUser output;
        ArgHelp args;
        if (option != nullptr)
            args.Add(option);
        if (changelist != 0)
        {
            args.Add("-c");
            args.Add(changelist);
        }
        args.Add(file);
        Run(command, args, output);

        if (output.Info().empty())
        {
            SetError("%s: '%s'", failure, file);
            return false;
        }
        const std::string& first = output.First();
        for (const char* text : accepted)
        {
            if (Holds(first, text))
                return true;
        }
        SetError("%s: '%s', error: '%s'", failure, file, first.c_str());
        return false;
    }
};

RevControlP4::RevControlP4() : RevControlP4(std::make_unique<P4CommandClient>()) {}

RevControlP4::RevControlP4(std::unique_ptr<ClientApi> pClient) : m_pImpl(std::make_unique<Impl>())
{
    m_pImpl->pClient = std::move(pClient);
}

RevControlP4::~RevControlP4()
{
    if (m_pImpl->connected)
    {
        ClientError e;
        m_pImpl->pClient->Final(&e);
    }
}

bool RevControlP4::Initialize(const char* port)
{
    if (!dbAssert(m_pImpl->pClient != nullptr))
        return false;
    ClientError e;
    m_pImpl->pClient->SetPort(port != nullptr ? port : "");
    m_pImpl->pClient->Init(&e);
    m_pImpl->connected = m_pImpl->pClient->Dropped() == 0;
    if (!m_pImpl->connected && !e.text.empty())
        m_pImpl->SetError("%s", e.text.c_str());
    return m_pImpl->connected;
}

std::string RevControlP4::GetLastError()
{
    if (!m_pImpl->errorSet)
        m_pImpl->m_errorStr.clear();
    m_pImpl->errorSet = false;
    return m_pImpl->m_errorStr;
}

bool RevControlP4::CreateChangelist(const char* description, int& number)
{
    if (!dbAssert(description != nullptr))
        return false;
    std::string client = m_pImpl->pClient->GetClient();
    std::string userName = m_pImpl->pClient->GetUser();
    std::string input = "Change: new\nClient: " + client + "\nUser: " + userName +
                        "\nStatus: new\nDescription: " + description;
    if (input.size() > 2048)
        input.resize(2048);

    RevClientUser output;
    output.SetInput(std::move(input));
    ArgHelp args;
    args.Add("-i");
    m_pImpl->Run("change", args, output);

    if (output.Info().empty())
    {
        m_pImpl->SetError("Failed to create changlist: '%s'", description);
        return false;
    }
    // The point is the pattern's wildcard: the server's full stop, or whatever stands there.
    static const std::regex s_created("Change ([0-9]+) created.");
    std::smatch match;
    int parsed = 0;
    if (!std::regex_search(output.First(), match, s_created) || match[1].length() == 0 ||
        !ParseNumber(match[1].str(), parsed))
    {
        m_pImpl->SetError("Failed to parse changlist # for changelist: '%s'", description);
        return false;
    }
    number = parsed;
    return true;
}

bool RevControlP4::FindChangelist(const char* description, int& number)
{
    if (!dbAssert(description != nullptr))
        return false;
    std::string client = m_pImpl->pClient->GetClient();
    RevClientUser output;
    ArgHelp args;
    args.Add("-c");
    args.Add(client.c_str());
    args.Add("-s");
    args.Add("pending");
    args.Add("-l");
    m_pImpl->Run("changes", args, output);

    for (const std::string& entry : output.Info())
    {
        int found = 0;
        if (Holds(entry, description) && ScanChangeNumber(entry, found))
        {
            number = found;
            return true;
        }
    }
    m_pImpl->SetError("Failed to find pending changelist: '%s'", description);
    return false;
}

bool RevControlP4::DeleteChangelist(int number)
{
    RevClientUser output;
    ArgHelp args;
    args.Add("-d");
    args.Add(number);
    m_pImpl->Run("change", args, output);

    if (output.Info().empty())
    {
        m_pImpl->SetError("Failed to delete empty changelist #: '%i'", number);
        return false;
    }
    // "... can't be deleted." also holds "deleted.": the refusal is looked for as well.
    const std::string& first = output.First();
    if (Holds(first, "deleted.") && !Holds(first, "can't be deleted."))
        return true;
    m_pImpl->SetError("Failed to delete empty changelist #: '%i', error: '%s'", number, first.c_str());
    return false;
}

bool RevControlP4::RevertChangelist(int number, bool onlyUnchanged)
{
    std::string changelist = number == 0 ? std::string("default") : std::to_string(number);
    {
        RevClientUser opened;
        ArgHelp args;
        args.Add("-c");
        args.Add(changelist.c_str());
        m_pImpl->Run("opened", args, opened);
        // Nothing opened there: nothing to revert.
        if (opened.Info().empty())
            return true;
    }
    RevClientUser output;
    ArgHelp args;
    if (onlyUnchanged)
        args.Add("-a");
    args.Add("-c");
    args.Add(changelist.c_str());
    args.Add("//...");
    m_pImpl->Run("revert", args, output);

    if (output.Info().empty())
    {
        m_pImpl->SetError("Failed to revert changlist #: '%i'", number);
        return false;
    }
    for (const std::string& entry : output.Info())
    {
        if (!Holds(entry, "reverted") && !Holds(entry, "abandoned"))
        {
            m_pImpl->SetError("Failed to revert changlist #: '%i', error: '%s'", number, entry.c_str());
            return false;
        }
    }
    return true;
}

bool RevControlP4::OpenForEdit(const FileList& files, int changelist)
{
    return OpenAllOrRevert(*this, files, changelist,
                           [this](const char* file, int number) { return OpenForEdit(file, number); });
}

bool RevControlP4::OpenForEdit(const char* file, int changelist)
{
    if (!dbAssert(file != nullptr))
        return false;
    return m_pImpl->RunOnFile("edit", nullptr, file, changelist, {"opened for edit", "reopened for add"}, "Failed to open for edit file");
}

bool RevControlP4::Integrate(const char* from, const char* to, int changelist)
{
    if (!dbAssert(from != nullptr && to != nullptr))
        return false;
    RevClientUser output;
    ArgHelp args;
    // The option stays even for the default changelist, which goes as the number 0.
    args.Add("-c");
    args.Add(changelist);
    args.Add(from);
    args.Add(to);
    m_pImpl->Run("integrate", args, output);

    if (output.Info().empty())
    {
        m_pImpl->SetError("Failed to integrate file: '%s' to: '%s'", from, to);
        return false;
    }
    const std::string& first = output.First();
    if (Holds(first, "branch/sync from"))
        return true;
    m_pImpl->SetError("Failed to Integrate file: '%s', error: '%s'", from, first.c_str());
    return false;
}

bool RevControlP4::Rename(const char* from, const char* to, int changelist)
{
    if (!dbAssert(from != nullptr && to != nullptr))
        return false;
    // The depot has no rename: branch to the new name, then delete the old one.
    if (!Integrate(from, to, changelist))
    {
        m_pImpl->SetError("Failed to integrate file: '%s' to: '%s' during rename operation", from, to);
        return false;
    }
    if (!OpenForDelete(from, changelist))
    {
        m_pImpl->SetError("Failed to delete file: '%s' during rename operation", from);
        return false;
    }
    return true;
}

bool RevControlP4::OpenForAdd(const FileList& files, int changelist)
{
    return OpenAllOrRevert(*this, files, changelist,
                           [this](const char* file, int number) { return OpenForAdd(file, number); });
}

bool RevControlP4::OpenForAdd(const char* file, int changelist)
{
    if (!dbAssert(file != nullptr))
        return false;
    return m_pImpl->RunOnFile("add", nullptr, file, changelist, {"opened for add"}, "Failed to open for Add file");
}

bool RevControlP4::OpenForDelete(const char* file, int changelist)
{
    if (!dbAssert(file != nullptr))
        return false;
    return m_pImpl->RunOnFile("delete", nullptr, file, changelist, {"opened for delete"}, "Failed to open for Delete file");
}

int RevControlP4::GetFileStatus(const char* file)
{
    if (!dbAssert(file != nullptr))
        return FileStatusNotControlled;
    RevClientUser output;
    ArgHelp args;
    args.Add(file);
    m_pImpl->Run("fstat", args, output);

    if (!output.Errors().empty())
        return FileStatusNotControlled;

    int status = FileStatusNotOpened;
    bool exclusive = false;
    bool decided = false;
    for (const std::string& entry : output.Info())
    {
        if (IsPathEntry(entry))
            continue;
        // Case-sensitive on purpose: "headAction" and "otherAction0" are not this one.
        if (Holds(entry, "action"))
        {
            if (Holds(entry, "edit"))
                status = FileStatusOpenForEdit;
            else if (Holds(entry, "add") || Holds(entry, "branch"))
                status = FileStatusOpenForAdd;
            else if (Holds(entry, "delete"))
                status = FileStatusOpenForDelete;
            else
                continue;
            decided = true;
        }
        else if (Holds(entry, "headType"))
        {
            // "+l": only one user may have the file open at a time.
            exclusive = Holds(entry, "+l");
        }
        else if (Holds(entry, "otherAction0"))
        {
            if (exclusive)
            {
                status = FileStatusHeldByOther;
                decided = true;
            }
        }
        else if (Holds(entry, "otherLock"))
        {
            status = FileStatusHeldByOther;
            decided = true;
        }
        if (decided)
            break;
    }

    if (status == FileStatusNotOpened)
    {
        for (const std::string& entry : output.Info())
        {
            if (IsPathEntry(entry))
                continue;
            if (Holds(entry, "headAction") && Holds(entry, "delete"))
                return FileStatusNotControlled;
        }
    }
    return status;
}

bool RevControlP4::IsOpenedIn(const char* file, int changelist)
{
    if (!dbAssert(file != nullptr))
        return false;
    RevClientUser output;
    ArgHelp args;
    args.Add("-c");
    if (changelist == 0)
        args.Add("default");
    else
        args.Add(changelist);
    args.Add(file);
    m_pImpl->Run("opened", args, output);
    return output.Errors().empty();
}

bool RevControlP4::GetOpenedChangelist(const char* file, int& number)
{
    if (!dbAssert(file != nullptr))
        return false;
    RevClientUser output;
    ArgHelp args;
    args.Add(file);
    m_pImpl->Run("opened", args, output);

    if (!output.Info().empty())
    {
        const std::string& first = output.First();
        if (Holds(first, "default change"))
        {
            number = 0;
        }
        else
        {
            static const std::regex s_change(".* change ([0-9]+).*");
            std::smatch match;
            if (std::regex_search(first, match, s_change))
            {
                int parsed = 0;
                if (match[1].length() == 0 || !ParseNumber(match[1].str(), parsed))
                    return false;
                number = parsed;
            }
        }
    }
    return output.Errors().empty();
}

bool RevControlP4::Revert(const char* file, int changelist, bool onlyUnchanged)
{
    if (!dbAssert(file != nullptr))
        return false;
    return m_pImpl->RunOnFile("revert", onlyUnchanged ? "-a" : nullptr, file, changelist, {"reverted", "abandoned", "was branch, deleted"}, "Failed to Revert file");
}

int RevControlP4::Sync(const char* file, int mode)
{
    if (!dbAssert(file != nullptr))
        return SyncFailed;
    std::string name = file;
    if (mode == SyncModeFolder)
    {
        if (name.empty() || (name.back() != '\\' && name.back() != '/'))
            name += '\\';
        name += "...";
    }
    RevClientUser output;
    ArgHelp args;
    args.Add(name.c_str());
    m_pImpl->Run("sync", args, output);

    if (!output.Errors().empty())
    {
        const std::string& error = output.Errors().front();
        if (Holds(error, "file(s) up-to-date"))
            return SyncUpToDate;
        // A writable file that is not opened stands in the way: the artist's own work, no error text.
        if (Holds(error, "clobber"))
            return SyncFailed;
        if (Holds(error, "no such file(s)"))
            return SyncNoSuchFile;
    }
    if (!output.Info().empty())
    {
        const std::string& first = output.First();
        if (Holds(first, "updating") || Holds(first, "added as"))
            return SyncUpdated;
    }
    if (!output.Errors().empty())
        m_pImpl->SetError("Failed to sync file: '%s', error: '%s'", name.c_str(),
                          output.Errors().front().c_str());
    else
        m_pImpl->SetError("Failed to sync file: '%s'", name.c_str());
    return SyncFailed;
}

int RevControlP4::OpenOrAdd(const char* file, int changelist)
{
    if (!dbAssert(file != nullptr))
        return OpenResultFailed;
    for (int pass = 0; pass < MaxOpenOrAddPasses; ++pass)
    {
        if (OpenForAdd(file, changelist))
            return OpenResultOpened;

        int status = GetFileStatus(file);
        if (status == FileStatusOpenForEdit || status == FileStatusOpenForAdd)
            return IsOpenedIn(file, changelist) ? OpenResultInThisChangelist : OpenResultInOtherChangelist;

        if (status == FileStatusOpenForDelete)
        {
            // Opened for delete elsewhere: left as it is, and reported as opened.
            if (!IsOpenedIn(file, changelist))
                return OpenResultOpened;
            if (!Revert(file, changelist, false))
                return OpenResultFailed;
            continue; // reverted from delete, the file can be opened anew
        }

        return OpenForEdit(file, changelist) ? OpenResultOpened : OpenResultFailed;
    }
    m_pImpl->SetError("Failed to open file: '%s', still opened for delete after revert", file);
    return OpenResultFailed;
}

bool RevControlP4::FindOrCreateChangelist(const char* description, int& number)
{
    // One pending changelist per description and client, shared by the tools across sessions.
    if (FindChangelist(description, number))
        return true;
    return CreateChangelist(description, number);
}
