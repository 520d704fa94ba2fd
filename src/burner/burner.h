// Burner: the front end through which tools ask for a burn. It holds the burner path of
// pipeline.ini and hides the burner process: a path is split into a folder and a regular
// expression of file names, and the burn runs through BurnerSpawn. One instance per process.
#pragma once

#include "burnconfig/burnerresults.h"
#include "foundation/types.h"

#include <memory>
#include <string>

class Burner
{
public:
    // The pending changelist of every burn.
    static constexpr const char* ChangelistDescription = "SGM Export Changes";

    // Makes the instance; asserts that there is none.
    static bool Initialize(const std::string& burnerPath);
    // Destroys the instance, when there is one.
    static void Shutdown();
    // Null before Initialize.
    static Burner* Instance();

    // Splits a burn path: an existing folder gives itself and ".*$"; otherwise the folder part (an
    // alias form joined as "ALIAS\\folder") made full when that fits 260 characters, and the file
    // part as a regular expression (FilePatternToRegex). An empty path leaves both empty.
    static void SplitPath(const std::string& path, std::string& folder, std::string& pattern);
    // A wildcard file pattern as a regular expression: "*.*" as a whole is ".*"; otherwise each of
    // . + ( ) { } [ ] ^ $ is escaped, each * becomes .*, each ? a point; then "$" ends it.
    static std::string FilePatternToRegex(const std::string& filePattern);

    // Burns the files `path` names with flags flagA, 0 and 1, and waits for the end.
    bool Burn(uint32 changelist, const std::string& path, bool flagA, uint32& filesBurned,
              BurnerResults& results);
    bool Burn(uint32 changelist, const std::string& folder, const std::string& pattern, bool flagA,
              bool flagB, bool flagC, uint32& filesBurned, BurnerResults& results);
    // Starts the burn; Poll then steps it until `done`.
    bool BurnAsync(uint32 changelist, const std::string& path, bool flagA, bool flagB, bool flagC,
                   BurnerResults& results);
    bool BurnAsync(uint32 changelist, const std::string& folder, const std::string& pattern, bool flagA,
                   bool flagB, bool flagC, BurnerResults& results);
    bool Poll(bool& done, uint32& filesBurned, BurnerResults& results);

    // Opens `filename` for the burn's output in the pending changelist "SGM Export Changes"
    // (revision control of the [p4] port of pipeline.ini). False with no text of its own.
    static bool OpenForBurn(uint32& changelist, const char* filename);
    // Burns `path` with a burner of its own, from the burner path of pipeline.ini. No files burned
    // is no failure here.
    static bool BurnOne(const std::string& path, uint32 changelist);

    const std::string& GetBurnerPath() const { return m_burnerPath; }

    ~Burner() = default;

private:
    explicit Burner(std::string burnerPath) : m_burnerPath(std::move(burnerPath)) {}

    static std::unique_ptr<Burner> s_pBurner;
    std::string m_burnerPath;
};
