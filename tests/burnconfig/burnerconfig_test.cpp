// The container's rules for adding groups and targets, and the results list's wording.
#include "burnconfig/burnerconfig.h"
#include "burnconfig/burnerresults.h"
#include "storage/ramstream.h"
#include <gtest/gtest.h>

TEST(BurnerConfig, AddRefusesNullsEmptyNamesUnknownGroupsAndTwins)
{
    BurnerConfig config;
    EXPECT_TRUE(config.AddTargetGroup("models", ".*\\.sgm$"));
    EXPECT_FALSE(config.AddTargetGroup("Models", ".*") || config.AddTargetGroup(nullptr, ".*") || config.AddTargetGroup("copy", nullptr));
    // group, name, destination, plugin, added
    const std::tuple<const char*, const char*, const char*, const char*, bool> cases[] = {
        {"models", "final", "DataFinal", "model", true}, {"MODELS", "preview", "DataPreview", "model", true},
        {"models", "Final", "DataFinal", "model", false}, {"copy", "final", "DataFinal", "copy", false},
        {"models", "", "DataFinal", "model", false}, {nullptr, "x", "d", "p", false}, {"models", nullptr, "d", "p", false},
        {"models", "x", nullptr, "p", false}, {"models", "x", "d", nullptr, false},
    };
    for (const auto& [group, name, destination, plugin, added] : cases)
        EXPECT_EQ(added, config.AddTarget(group, name, destination, plugin)) << (name ? name : "null");
    EXPECT_TRUE(config.GetTarget(0, 1) == config.FindTarget("models", "PREVIEW") && config.GetTarget(0, 2) == BurnerConfig::TargetID::InvalidID);
    // Assigned a config of fewer groups, the group one past its last has no targets.
    BurnerConfig wider = config;
    EXPECT_TRUE(wider.AddTargetGroup("copy", ".*") && wider.AddTarget("copy", "final", "DataFinal", "copy"));
    wider = config;
    EXPECT_EQ(0u, wider.TargetCount(1));
}

TEST(BurnerResults, ThreeWordingsAndWholeTextsWrittenAsLines)
{
    BurnerResults results;
    results.Add(BurnerResults::LevelInfo, "Burner", "%d files", 3);
    results.Warning("ConfigIO", "Unable to load configuration %s.", "a.burn");
    results.Add(BurnerResults::LevelError, "Burner", "Burn already in progress");
    results.AddText(BurnerResults::LevelWarning, "as the burner sent it");
    RamStream stream;
    ASSERT_TRUE(stream.Create(16, ByteStream::Mode_Write) && results.Write(stream));
    EXPECT_EQ("Burner -- 3 files\r\nWarning: ConfigIO -- Unable to load configuration a.burn.\r\n"
              "Error: Burner -- Burn already in progress\r\nas the burner sent it\r\n",
              std::string(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetLength()));
    EXPECT_EQ(BurnerResults::LevelError, results[2].level);
}
