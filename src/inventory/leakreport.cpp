#include "inventory/leakreport.h"

#include "logging/logfile.h"

#include "foundation/callstack.h"

#include <cstdio>

namespace Inv
{
namespace
{
struct ReportFile
{
    LogFile log;
    // The name of the last report opened; kept after it closes.
    std::string name;
};

ReportFile& Report()
{
    static ReportFile s_report;
    return s_report;
}
} // namespace

std::string FormatLeakHeader()
{
    std::string line = "Inventory Item,";
    for (int i = 0; i < dbg::MaxStackFrames; ++i)
    {
        char column[32];
        std::snprintf(column, sizeof(column), "Stack%d, ", i);
        line += column;
    }
    return line;
}

std::string FormatLeakLine(const char* name, const Resource::LeakRecord& record)
{
    std::string line = std::string(name ? name : "") + ",";
    for (const dbg::StackFrame& frame : record.cFrame)
    {
        line += frame.symbol;
        line += " : Line ";
        line += std::to_string(frame.line);
        line += ", ";
    }
    return line;
}

void WriteLeakReport(const char* name, const std::vector<Resource::LeakRecord>& cRecord)
{
    ReportFile& report = Report();
    if (!report.log.IsOpen())
    {
        if (!report.log.Open("InventoryLeaks", ".csv", false, false))
            return;
        report.name = report.log.GetName();
        report.log.WriteLine(FormatLeakHeader().c_str());
    }
    for (const Resource::LeakRecord& record : cRecord)
        report.log.WriteLine(FormatLeakLine(name, record).c_str());
}

void CloseLeakReport()
{
    Report().log.Close();
}

std::string GetLeakReportName()
{
    return Report().name;
}
} // namespace Inv
