// The burner program's side of the burner pipe: it reads BurnerSetupMsg, answers BurnerReadyMsg
// (or BurnerErrorMsg when the pipeline.ini cannot be used or the protocol version is not its own),
// then serves requests until the tool closes the pipe. For each request it sends one
// BurnerUpdateMsg per file done and then one BurnerResultMsg: the files burned or up to date, the
// flag (1 when no file failed) and the records in the order of the files' names.
//
// The messages and what the burner makes of their flags:
//   BurnRequestMsg         the folder's files matching the pattern; flagA 1 burns every target
//                          again (no record is trusted), flagB is not used, flagC 1 takes the
//                          subfolders too (the tool always sends 1)
//   BurnFileListMsg        the listed files, every target burned again
//   BurnUpdateFileListMsg  the listed files, only the targets whose inputs changed
//
// The burner stays alive after its result until the tool closes the pipe: the tool takes a burner
// that has exited as a failure, even when the result is waiting in the pipe.
#pragma once

#include "foundation/types.h"

class NamedPipe;

// Runs one connection to its end; gives the program's exit code (0 when the tool closed the pipe
// after a good set-up).
int RunBurnerSession(NamedPipe& pipe, uint32 threads);
