#include "exporter/consoleui.h"

#include "exporter/sgmexportoptions.h"

int ConsoleUI::OptionsDialog(SGMExportOptions& options)
{
    if (m_flags.noMeshes)
        options.exportMeshes = false;
    if (m_flags.noAnimation)
        options.exportAnimation = false;
    if (m_flags.xrefLocal)
        options.xrefLocal = true;
    return 1;
}

void ConsoleUI::ShowMessages(const std::vector<std::string>& cMessage)
{
    for (const std::string& message : cMessage)
        std::fprintf(m_pErr, "%s\n", message.c_str());
    std::fflush(m_pErr);
}

void ConsoleUI::ListenerPrint(const char* text)
{
    if (text == nullptr)
        return;
    std::fputs(text, m_pOut);
    std::fflush(m_pOut);
}

ConsoleUI& ConsoleUI::Default()
{
    static ConsoleUI s_console;
    return s_console;
}
