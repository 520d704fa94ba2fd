#include "teamcolour/burnsteps.h"

#include "burner/burner.h"

namespace TeamColour
{
namespace
{
BurnSteps& Steps()
{
    static BurnSteps s_steps{&Burner::OpenForBurn, &Burner::BurnOne};
    return s_steps;
}
} // namespace

const BurnSteps& GetBurnSteps()
{
    return Steps();
}

ScopedBurnSteps::ScopedBurnSteps(BurnSteps steps) : m_previous(std::move(Steps()))
{
    Steps() = std::move(steps);
}

ScopedBurnSteps::~ScopedBurnSteps()
{
    Steps() = std::move(m_previous);
}
} // namespace TeamColour
