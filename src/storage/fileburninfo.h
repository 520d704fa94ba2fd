// FileBurnInfo: the record that the burner writes at the head of a final file, as the data chunk
// "FBIF": two texts, a value and the date of the burn. The container gives the texts and the value
// no meaning: they are written as they are given.
#pragma once

#include "foundation/types.h"

#include <ctime>
#include <string>

class Chunky;
class ByteStreamAdapter;

struct FileBurnInfo
{
    static constexpr uint32 ChunkId = 0x46424946; // "FBIF"
    static constexpr uint32 ChunkVersion = 1;
    static constexpr const char* ChunkName = "FileBurnInfo";

    // Value 0, empty texts, and the date of now in local time.
    FileBurnInfo();

    // "%B %d, %Y, %#I:%M:%S %p": the hour of the 12-hour clock without a leading zero,
    // as in "March 05, 2024, 3:07:09 PM".
    static std::string FormatDate(const std::tm& time);

    // Writes the data chunk at the chunk writer's current place.
    void Write(Chunky& chunky, ByteStreamAdapter& adapter) const;
    // Enters the data chunk (version 1 at most), reads it and closes it. Throws the container's
    // and the stream's exceptions; false when the payload ends early.
    bool Read(Chunky& chunky, ByteStreamAdapter& adapter);
    // Reads the record of a named file, opened through the file path aliases. False, with a
    // warning, when the file doesn't open or holds no readable record.
    static bool ReadFromFile(const char* filename, FileBurnInfo& out);

    std::string m_Label;
    uint32 m_Value = 0;
    std::string m_Text;
    std::string m_Date;
};
