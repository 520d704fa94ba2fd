// The configuration container's rules for adding groups and targets, and the results list's
// wording.
#include "burnconfig/burnerconfig.h"
#include "burnconfig/burnerresults.h"
#include "storage/ramstream.h"

#include <gtest/gtest.h>

TEST(BurnerConfig, AddRefusesNullsEmptyNamesUnknownGroupsAndTwins)
{
    BurnerConfig config;
    ASSERT_TRUE(config.AddTargetGroup("models", ".*\\.sgm$"));
    ASSERT_TRUE(config.AddTargetGroup("copy", ".*"));
    EXPECT_FALSE(config.AddTargetGroup("Models", ".*"));
    EXPECT_FALSE(config.AddTargetGroup(nullptr, ".*"));
    EXPECT_FALSE(config.AddTargetGroup("shaders", nullptr));

    struct Case
    {
        const char* group;
        const char* name;
        const char* destination;
        const char* plugin;
        bool added;
    };
    const Case cases[] = {
        {"models", "final", "DataFinal", "model", true},
        {"MODELS", "preview", "DataPreview", "model", true},
        {"models", "Final", "DataFinal", "model", false},
        {"copy", "final", "DataFinal", "copy", true},
        {"shaders", "final", "DataFinal", "shader", false},
        {"models", "", "DataFinal", "model", false},
        {nullptr, "x", "d", "p", false},
        {"models", nullptr, "d", "p", false},
        {"models", "x", nullptr, "p", false},
        {"models", "x", "d", nullptr, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.added, config.AddTarget(c.group, c.name, c.destination, c.plugin))
            << (c.name ? c.name : "null");

    ASSERT_EQ(2u, config.TargetGroupCount());
    EXPECT_EQ(2u, config.TargetCount(0));
    const BurnerConfig::TargetID preview = config.FindTarget("models", "PREVIEW");
    EXPECT_EQ(config.GetTarget(0, 1), preview);
    EXPECT_EQ("DataPreview", config.GetTargetInfo(preview)->destination);
    EXPECT_EQ(BurnerConfig::TargetID::InvalidID, config.FindTarget("copy", "preview"));
    EXPECT_EQ(BurnerConfig::TargetID::InvalidID, config.GetTarget(1, 1));
    EXPECT_EQ(nullptr, config.GetParams(BurnerConfig::TargetID::InvalidID));

    // Overrides are the parameters whose default flag is clear, by target and group.
    EXPECT_FALSE(config.HasOverrides());
    ASSERT_TRUE(config.SetParam(preview, {"dxtc", "1", true}));
    EXPECT_FALSE(config.HasOverrides());
    ASSERT_TRUE(config.SetParam(preview, {"DXTC", "3", false}));
    EXPECT_EQ(1u, config.GetParams(preview)->size());
    EXPECT_TRUE(config.HasOverrides(preview));
    EXPECT_TRUE(config.HasOverrides(0u));
    EXPECT_FALSE(config.HasOverrides(1u));
    config.SetAllDefault();
    EXPECT_FALSE(config.HasOverrides());
    EXPECT_TRUE(config.RemoveParam(preview, "Dxtc"));
    EXPECT_FALSE(config.RemoveParam(preview, "dxtc"));
}

TEST(BurnerResults, ThreeWordingsAndWholeTextsWrittenAsLines)
{
    BurnerResults results;
    results.Add(BurnerResults::LevelInfo, "Burner", "%d files", 3);
    results.Warning("ConfigIO", "Unable to load configuration %s.", "a.burn");
    results.Add(BurnerResults::LevelError, "Burner", "Burn already in progress");
    results.AddText(BurnerResults::LevelWarning, "as the burner sent it");
    BurnerResults more;
    more.Append(results);
    ASSERT_EQ(4u, more.Count());
    EXPECT_EQ(BurnerResults::LevelError, more[2].level);

    RamStream stream;
    ASSERT_TRUE(stream.Create(16, ByteStream::Mode_Write));
    ASSERT_TRUE(more.Write(stream));
    EXPECT_EQ("Burner -- 3 files\r\n"
              "Warning: ConfigIO -- Unable to load configuration a.burn.\r\n"
              "Error: Burner -- Burn already in progress\r\n"
              "as the burner sent it\r\n",
              std::string(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength()));
}
