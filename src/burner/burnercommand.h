// The burn command's bracket: what `tq7z_burner` and `tq7z burn` set up around a burn (pipeline,
// the aliases "TOOL" and "DATA", the command's revision control, the burner, the null render device
// and the inventory) and take down after it. The revision control lives here from set-up to
// tear-down, apart from the one of single-file commands.
#pragma once

#include <string>

class RevControlAPI;

namespace BurnerCommand
{
// Sets up for a burn of `file` (a full path in a project's generic tree). Each failing step throws
// std::runtime_error with the burner's text for it ("Burner: Unable to find associated
// project.\n" ...); what came up before stays until TearDown.
void SetUp(const std::string& file);

// The command's revision control; null outside a set-up.
RevControlAPI* GetRevCtrl();

// Takes down what exists, in this order: inventory, device, burner, revision control, the aliases,
// the pipeline. Safe to run twice.
void TearDown();

// The same for a command left half done; as each step does, it reports what is absent, the
// pipeline by an assertion.
void Reset();
} // namespace BurnerCommand
