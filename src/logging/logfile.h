// A log file named by the date and time of its opening ("Name.2024-05-01.13-45-09.csv"), for
// reports that a run writes beside its other output, such as the inventory's leak table. Lines end
// in CR LF. Names may carry an alias ("TOOL:...") or be plain paths on disk.
#pragma once

#include "names/fixedstring.h"
#include "storage/filepath.h"

#include <memory>

class ByteStream;

class LogFile
{
public:
    // Names tried: the dated name, then the same with ".1" to ".9" before the extension.
    static constexpr int Tries = 10;

    LogFile() = default;
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    // Opens the first of the ten names under which no file exists and which opens for writing,
    // making its folder when missing. `extension` goes behind the dated name, with its '.' added
    // when missing; an empty one gives ".log". A null or empty name or a null extension is an
    // assertion. With `timestamps` each line starts with the time; with `echo` each line also
    // goes to the output layer. False when all ten names fail; an open log is closed first.
    bool Open(const char* name, const char* extension, bool timestamps, bool echo);
    void Close();

    bool IsOpen() const { return m_pStream != nullptr; }
    // The name opened, as formed (with its alias, or the plain path made absolute).
    const char* GetName() const { return m_name.c_str(); }
    bool GetTimestamps() const { return m_timestamps; }
    bool GetEcho() const { return m_echo; }

    // One line (line ends in the text make further lines). False when no log is open or the
    // write fell short.
    bool WriteLine(const char* text);
    bool Printf(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    std::shared_ptr<ByteStream> m_pStream;
    FixedString<FilePath::MAXPATH> m_name;
    bool m_timestamps = false;
    bool m_echo = false;
};
