// The two revision control steps of an export: open the output in the burn's changelist, then burn
// it. By default they are the burn front end's; a caller that must not touch revision control or
// start a burner (a dry run, a test) puts others in for a while.
#pragma once

#include "foundation/types.h"

#include <functional>
#include <string>

namespace TeamColour
{
struct BurnSteps
{
    // Opens `filename` for the burn's output; `changelist` receives the changelist.
    std::function<bool(uint32& changelist, const char* filename)> open;
    // Burns `path` in `changelist`.
    std::function<bool(const std::string& path, uint32 changelist)> burn;
};

// The steps in use.
const BurnSteps& GetBurnSteps();

// Puts `steps` in for its lifetime and the previous ones back after it.
class ScopedBurnSteps
{
public:
    explicit ScopedBurnSteps(BurnSteps steps);
    ~ScopedBurnSteps();
    ScopedBurnSteps(const ScopedBurnSteps&) = delete;
    ScopedBurnSteps& operator=(const ScopedBurnSteps&) = delete;

private:
    BurnSteps m_previous;
};
} // namespace TeamColour
