#include "model/event/eventdata.h"

#include <gtest/gtest.h>

TEST(EventName, PathsGoUnderTheEventFolderAndBareNamesStay)
{
    struct Case
    {
        const char* in;
        const char* out;
    };
    const Case cases[] = {
        {"c:\\ART\\Events\\Foo.events", "art/events/foo"}, // the drive letter goes with the colon
        {"foo", "foo"},
        {"Foo", "foo"},
        {"art/events/foo", "art/events/foo"}, // no doubled prefix
        {"foo/bar", "art/events/foo/bar"},
        {"foo\\bar", "art/events/foo/bar"},
        {"DATA:art\\events\\hit.events", "art/events/hit"},
        {"\\art\\events\\hit", "art/events/hit"}, // a leading separator goes
        {"hit.events", "art/events/hit"},         // a full stop alone makes it a path
        {"art/events/v1.2/hit", "art/events/v1"}, // cut at the first full stop, even in a folder
        {"", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ra::EventData::NormalizeName(c.in), c.out) << "'" << c.in << "'";
    EXPECT_EQ(ra::EventData::NormalizeName(nullptr), "");
}

TEST(EventName, NormalisingTwiceChangesNothing)
{
    for (const char* name : {"c:\\ART\\Events\\Foo.events", "foo/bar", "Foo", "x:y"})
    {
        const std::string once = ra::EventData::NormalizeName(name);
        EXPECT_EQ(ra::EventData::NormalizeName(once.c_str()), once) << name;
    }
}
