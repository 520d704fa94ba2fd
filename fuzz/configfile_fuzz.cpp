// Feeds arbitrary bytes to the ini reader of pipeline.ini, then reads every section and key back
// through each typed read, as the pipeline does.
#include "fuzzsupport.h"
#include "pipeline/configfile.h"
#include "storage/ramstream.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size > (1u << 20))
        return 0;

    std::vector<uint8_t> bytes(data, data + size);
    RamStream stream;
    if (size > 0 && !stream.Attach(bytes.data(), uint32(size), false, ByteStream::Mode_Read))
        return 0;
    ConfigFile config;
    if (!config.Load(stream, "fuzz.ini"))
        return 0;

    std::vector<std::string> cSections;
    for (uint32 i = 0; i < config.SectionCount(); ++i)
        cSections.emplace_back(config.SectionName(i));
    for (const std::string& section : cSections)
    {
        if (!config.SelectSection(section.c_str()))
            continue;
        for (uint32 k = 0; k < config.KeyCount(); ++k)
        {
            const std::string key = config.KeyName(k);
            if (key.empty())
                continue;
            char small[16];
            std::string text;
            int number = 0;
            wchar16 wide[64];
            config.GetString(key.c_str(), small, sizeof(small));
            config.GetString(key.c_str(), text);
            config.GetInt(key.c_str(), number);
            config.GetWideString(key.c_str(), wide, 64);
        }
        // The writer's side of the tables, in every section the reader made.
        config.SetString("fuzz", "value");
        config.RemoveKey("fuzz");
    }
    return 0;
}
