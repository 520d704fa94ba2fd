#include "exporter/consoleui.h"

#include "exporter/sgmexportoptions.h"
#include "storage/userpath.h"

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
    // Messages name the output in the system's form ("Unable to write 'TOOL:\\...'"); the console
    // shows names as the user typed them.
    for (const std::string& message : cMessage)
        std::fprintf(m_pErr, "%s\n", UserPath::InText(message.c_str()).c_str());
    std::fflush(m_pErr);
}

void ConsoleUI::ListenerPrint(const char* text)
{
    if (text == nullptr)
        return;
    std::fputs(UserPath::InText(text).c_str(), m_pOut);
    std::fflush(m_pOut);
}

ConsoleUI& ConsoleUI::Default()
{
    static ConsoleUI s_console;
    return s_console;
}
