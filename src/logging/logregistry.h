// The log files this process holds open, by full name: the error reporter attaches them to a
// report, and a log port takes a name that is registered here as held by another log.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

namespace LogRegistry
{
// Registers a name and returns its handle, never 0. The same name may be registered twice.
uint32 Register(const char* name);
// Drops a registration; 0 and unknown handles are ignored.
void Unregister(uint32 handle);
// Whether a name is registered, compared exactly.
bool IsRegistered(const char* name);
// The registered names, oldest first.
std::vector<std::string> Names();
} // namespace LogRegistry
