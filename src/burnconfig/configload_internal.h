// What the load, read and save files of ConfigLoad share.
#pragma once

#include "burnconfig/burnerconfig.h"

#include <string>

namespace ConfigLoad
{
// A message on the channel "BURN", for the operations that have no results list.
void Log(const char* format, ...) __attribute__((format(printf, 1, 2)));
// ValidateAgainstParent, telling also whether there was a level above.
bool Validate(const char* file, BurnerConfig& config, bool& hasParent);
} // namespace ConfigLoad
