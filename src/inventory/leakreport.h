// The inventory leak report: with "invleaks" on, every resource that dies still referenced writes
// one line per live reference, with the call stack where it was taken, to the log "InventoryLeaks"
// with the extension ".csv", named by the date and time of the first leak.
#pragma once

#include "inventory/resource.h"

#include <string>
#include <vector>

namespace Inv
{
// "Inventory Item," and a column head "Stack%d, " for each of the 32 frames.
std::string FormatLeakHeader();
// "%s," with the resource name, then "%s : Line %d, " for each frame of the record.
std::string FormatLeakLine(const char* name, const Resource::LeakRecord& record);

// Writes the records of one leaked resource; the report file is opened by the first leak.
void WriteLeakReport(const char* name, const std::vector<Resource::LeakRecord>& cRecord);
// Closes the report file, so that the next leak starts a new one.
void CloseLeakReport();
// The name of the last report file opened, or "" when no leak has been written yet.
std::string GetLeakReportName();
} // namespace Inv
