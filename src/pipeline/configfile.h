// Reader and writer of the system's ini text files (pipeline.ini): sections of "key=value" lines.
// Section and key names are case-insensitive and held in lower case; safe for untrusted input.
#pragma once

#include "foundation/types.h"

#include <cstddef>
#include <map>
#include <string>

class ByteStream;

class ConfigFile
{
public:
    // The longest section name SelectSection takes, exclusive.
    static constexpr size_t MaxSectionName = 256;
    // Each line is read as at most this many bytes; the rest of a longer one is the next line.
    static constexpr uint32 MaxLine = 1023;

    // Stores the name and reads the file; true only after a complete read.
    bool Load(const char* name);
    // Reads from `stream`; `name` is for the messages. Load comes here.
    bool Load(ByteStream& stream, const char* name);
    // Writes every section in sorted order; a null name means the one given to Load.
    bool Save(const char* name = nullptr);

    bool IsLoaded() const { return m_loaded; }
    const char* GetFileName() const { return m_fileName.c_str(); }

    // Sections in lower-case byte order; keys of the current section likewise. An index out of
    // range asserts and gives the empty text.
    uint32 SectionCount() const;
    const char* SectionName(uint32 index) const;
    uint32 KeyCount() const;
    const char* KeyName(uint32 index) const;

    // Copies the current section's name to `previousOut` when given, then makes `name` current.
    // A section that does not exist may be selected: reads then find nothing.
    bool SelectSection(const char* name, char* previousOut = nullptr, size_t previousOutLength = 0);
    const char* CurrentSection() const { return m_currentSection.c_str(); }

    // False when the section or key is missing, or the value has `outLength` or more characters;
    // `out` is cleared first.
    bool GetString(const char* key, char* out, size_t outLength) const;
    // The same through a buffer of 2048 characters.
    bool GetString(const char* key, std::string& out) const;
    // Base 10; false unless the whole value is a number, and `out` is 0 then.
    bool GetInt(const char* key, int& out) const;
    // The UTF-8 value as 16-bit characters; `outLength` counts them, terminator included.
    bool GetWideString(const char* key, wchar16* out, size_t outLength) const;

    // Replaces or adds in the current section. Neither key nor value may hold '=' or ';'.
    bool SetString(const char* key, const char* value);
    bool SetInt(const char* key, int value);
    // False when the key is not there.
    bool RemoveKey(const char* key);

private:
    using Keys = std::map<std::string, std::string>;

    const Keys* CurrentKeys() const;

    std::string m_fileName;
    bool m_loaded = false;
    std::string m_currentSection;
    std::map<std::string, Keys> m_cSections;
};
