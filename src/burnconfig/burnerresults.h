// The results list of a burn: the ordered messages that the configuration loader, the burner front
// end and the burner process report, each a level and a whole text. Texts added with a module
// name read "%s -- ", "Warning: %s -- " or "Error: %s -- " and then the message.
#pragma once

#include "foundation/types.h"

#include <cstdarg>
#include <string>
#include <vector>

class ByteStream;

class BurnerResults
{
public:
    enum Level : uint32
    {
        LevelInfo = 0,
        LevelWarning = 1,
        LevelError = 2,
    };

    struct Record
    {
        uint32 level = LevelInfo;
        std::string text;
    };

    // A record of `level` whose text is the level's prefix with `module`, then the formatted message.
    void Add(Level level, const char* module, const char* format, ...) __attribute__((format(printf, 4, 5)));
    void Warning(const char* module, const char* format, ...) __attribute__((format(printf, 3, 4)));
    // A record with a given level and a whole text, as another list or the wire gives it.
    void AddText(uint32 level, const char* text);
    void Append(const BurnerResults& other);
    void Clear() { m_cRecords.clear(); }

    size_t Count() const { return m_cRecords.size(); }
    bool IsEmpty() const { return m_cRecords.empty(); }
    const Record& operator[](size_t index) const { return m_cRecords[index]; }
    std::vector<Record>::const_iterator begin() const { return m_cRecords.begin(); }
    std::vector<Record>::const_iterator end() const { return m_cRecords.end(); }

    // Each text and CR LF, in order; false when the stream takes fewer bytes.
    bool Write(ByteStream& stream) const;

private:
    void AddV(Level level, const char* module, const char* format, va_list args);

    std::vector<Record> m_cRecords;
};
