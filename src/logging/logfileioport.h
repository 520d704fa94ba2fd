// A log file as a console port: every batch of the output layer goes into one file, each line
// ended by CR LF and, when asked, stamped with the time. The process logger holds one.
//
// A port opens its file as a plain create (existing file replaced) and opens with a header of six
// lines. Without a name it takes the first of "warnings.log", "warnings1.log" .. "warnings9.log"
// that no other log holds; a failure of any other kind ends the walk and the port writes nothing.
// A log is held while a port has it open: the name is registered with this process's error
// reporter, which other ports of this process consult.
#pragma once

#include "logging/consoleioport.h"
#include "storage/osfile.h"

#include <mutex>
#include <string>

class LogFileIOPort : public Plat::ConsoleIOPort
{
public:
    // Number of names the walk tries without a name: "warnings.log" and nine numbered ones.
    static constexpr int WarningsTries = 10;

    LogFileIOPort(const char* name, bool timestamps);
    // Closes the file without an exit line.
    ~LogFileIOPort() override;
    LogFileIOPort(const LogFileIOPort&) = delete;
    LogFileIOPort& operator=(const LogFileIOPort&) = delete;

    // Writes each line with the batch's prefix and CR LF; nothing when no file is open.
    void WriteBatch(const char* const* lines, uint32 count) override;

    // Writes the exit line ("Application closed without errors" for 0, otherwise "Application
    // closed with error code N", behind an empty line), drops the registered name and closes.
    void Close(int exitCode);

    bool IsOpen() const { return m_file != 0; }
    // The full name of the open file; empty when none opened.
    const std::string& GetFileName() const { return m_fileName; }
    bool GetTimestamps() const { return timestamps; }

    // The six header lines, as the port writes them at the start of a log: the program's name in
    // upper case with the start date and time, the system and memory, the run options, the
    // working folder, the user, and an empty line. For the tools that print the same header.
    static void FormatHeader(std::string (&out)[6]);

private:
    enum class OpenResult
    {
        Opened,
        Held,   // another log has it: the walk goes on
        Failed, // any other failure: the walk ends
    };

    OpenResult TryOpen(const char* name);
    void WriteHeader();

    std::mutex m_lock;
    OSFile::Handle m_file = 0;
    uint32 m_registered = 0; // handle of the name with the error reporter
    bool timestamps;
    std::string m_fileName;
};
