// The Perforce back end of RevControlAPI: each operation is a fixed command line, and its result is
// judged by searching the server's reply for fixed words.
#pragma once

#include "revcontrol/clientapi.h"
#include "revcontrol/revcontrolapi.h"

#include <memory>

class RevControlP4 final : public RevControlAPI
{
public:
    // Talks through the `p4` command-line client.
    RevControlP4();
    // Talks through `pClient`; tests hand in a scripted connection.
    explicit RevControlP4(std::unique_ptr<ClientApi> pClient);
    ~RevControlP4() override;

    bool Initialize(const char* port) override;
    std::string GetLastError() override;

    bool CreateChangelist(const char* description, int& number) override;
    bool FindChangelist(const char* description, int& number) override;
    bool DeleteChangelist(int number) override;
    bool RevertChangelist(int number, bool onlyUnchanged) override;

    bool OpenForEdit(const FileList& files, int changelist) override;
    bool OpenForEdit(const char* file, int changelist) override;
    bool Integrate(const char* from, const char* to, int changelist) override;
    bool Rename(const char* from, const char* to, int changelist) override;
    bool OpenForAdd(const FileList& files, int changelist) override;
    bool OpenForAdd(const char* file, int changelist) override;
    bool OpenForDelete(const char* file, int changelist) override;

    int GetFileStatus(const char* file) override;
    bool IsOpenedIn(const char* file, int changelist) override;
    bool GetOpenedChangelist(const char* file, int& number) override;
    bool Revert(const char* file, int changelist, bool onlyUnchanged) override;
    int Sync(const char* file, int mode) override;
    int OpenOrAdd(const char* file, int changelist) override;
    bool FindOrCreateChangelist(const char* description, int& number) override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};
