// A console port of the platform shell: something that takes batches of log lines, such as the
// window of a debug console or a log file.
#pragma once

#include "foundation/types.h"

namespace Plat
{
class ConsoleIOPort
{
public:
    virtual ~ConsoleIOPort() = default;
    // One batch of lines, without line ends.
    virtual void WriteBatch(const char* const* lines, uint32 count) = 0;
};
} // namespace Plat
