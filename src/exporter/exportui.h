// ExportUI: what the host's dialogs and script listener become outside the host. The options
// dialog is the command line's flags, the errors dialog a list printed once at the end, and the
// listener standard output.
#pragma once

#include <string>
#include <vector>

struct SGMExportOptions;

class ExportUI
{
public:
    virtual ~ExportUI() = default;
    // The options dialog: may change exportMeshes, exportAnimation and xrefLocal; 1 for OK, 0 for
    // Cancel.
    virtual int OptionsDialog(SGMExportOptions& options) = 0;
    // The errors dialog: the collected messages in the order of arrival.
    virtual void ShowMessages(const std::vector<std::string>& cMessage) = 0;
    // One text to the script listener, as given (it carries its own line end).
    virtual void ListenerPrint(const char* text) = 0;
};
