// ConsoleUI: the exporter's dialogs and listener on a console. The options dialog applies the
// command line's flags and is always answered with OK; the errors dialog prints the collected
// messages to standard error; the listener is standard output.
#pragma once

#include "exporter/exportui.h"

#include <cstdio>

class ConsoleUI : public ExportUI
{
public:
    struct Flags
    {
        bool noMeshes = false;    // clears "Export Meshes"
        bool noAnimation = false; // clears "Export Animation Keys"
        bool xrefLocal = false;   // sets "Treat XRef'ed meshes as local"
    };

    ConsoleUI() = default;
    explicit ConsoleUI(const Flags& flags, FILE* pOut = stdout, FILE* pErr = stderr)
        : m_flags(flags), m_pOut(pOut), m_pErr(pErr)
    {
    }

    int OptionsDialog(SGMExportOptions& options) override;
    void ShowMessages(const std::vector<std::string>& cMessage) override;
    void ListenerPrint(const char* text) override;

    // The UI of an exporter nobody gave one.
    static ConsoleUI& Default();

private:
    Flags m_flags;
    FILE* m_pOut = stdout;
    FILE* m_pErr = stderr;
};
