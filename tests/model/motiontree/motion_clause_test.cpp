#include "model/motiontree/clause.h"
#include "model/motiontree/condition.h"

#include "foundation/debug.h"
#include "model/motiontree/motion_test_util.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using motion_test::Variables;

namespace
{
std::unique_ptr<ra::Clause> FloatClause(const char* variable, int comparison, float value,
                                        float fallback = 0.0f)
{
    auto pClause = ra::Clause::Create(ra::Clause::VARIABLE_FLOAT);
    pClause->SetName(ra::MakeName("c"));
    pClause->SetVariableName(ra::MakeName(variable));
    pClause->SetComparison(comparison);
    pClause->SetValue(value);
    pClause->SetDefault(fallback);
    return pClause;
}

std::unique_ptr<ra::Clause> BoolClause(const char* variable, int comparison, bool value)
{
    auto pClause = ra::Clause::Create(ra::Clause::VARIABLE_BOOL);
    pClause->SetVariableName(ra::MakeName(variable));
    pClause->SetComparison(comparison);
    pClause->SetValue(value);
    return pClause;
}
} // namespace

TEST(MotionClause, FloatComparisonsPutTheClauseValueOnTheRight)
{
    struct Case
    {
        int comparison;
        float variable;
        bool expected;
    };
    // Value 2: each comparison at, below and above it.
    const Case cases[] = {
        {ra::Clause::COMPARE_EQUAL, 2.0f, true},         {ra::Clause::COMPARE_EQUAL, 2.5f, false},
        {ra::Clause::COMPARE_NOT_EQUAL, 2.0f, false},    {ra::Clause::COMPARE_NOT_EQUAL, 1.0f, true},
        {ra::Clause::COMPARE_LESS, 1.0f, true},          {ra::Clause::COMPARE_LESS, 2.0f, false},
        {ra::Clause::COMPARE_LESS_EQUAL, 2.0f, true},    {ra::Clause::COMPARE_LESS_EQUAL, 3.0f, false},
        {ra::Clause::COMPARE_GREATER, 3.0f, true},       {ra::Clause::COMPARE_GREATER, 2.0f, false},
        {ra::Clause::COMPARE_GREATER_EQUAL, 2.0f, true}, {ra::Clause::COMPARE_GREATER_EQUAL, 1.0f, false},
    };
    for (const Case& c : cases)
    {
        auto pClause = FloatClause("speed", c.comparison, 2.0f);
        EXPECT_EQ(pClause->Evaluate(c.variable), c.expected)
            << "comparison " << c.comparison << " of " << c.variable;
        Variables variables;
        variables.Float("speed", c.variable);
        EXPECT_EQ(pClause->Evaluate(variables), c.expected);
    }
}

TEST(MotionClause, UnsetVariableComparesTheClauseDefault)
{
    auto pClause = FloatClause("speed", ra::Clause::COMPARE_GREATER, 2.0f, 5.0f);
    Variables variables;
    EXPECT_TRUE(pClause->Evaluate(variables));
    variables.Float("speed", 1.0f);
    EXPECT_FALSE(pClause->Evaluate(variables));

    auto pString = ra::Clause::Create(ra::Clause::VARIABLE_STRING);
    pString->SetVariableName(ra::MakeName("stance"));
    pString->SetValue(ra::MakeName("Crouch"));
    pString->SetDefault(ra::MakeName("stand"));
    EXPECT_FALSE(pString->Evaluate(variables));
    variables.String("stance", "CROUCH");
    EXPECT_TRUE(pString->Evaluate(variables)) << "names compare without regard to case";
}

TEST(MotionClause, BoolAndStringHonourOnlyEqualAndNotEqual)
{
    auto pBool = BoolClause("moving", ra::Clause::COMPARE_NOT_EQUAL, true);
    EXPECT_TRUE(pBool->Evaluate(false));
    EXPECT_FALSE(pBool->Evaluate(true));

    dbg::ScopedThrowOnAssert throwing;
    pBool->SetComparison(ra::Clause::COMPARE_LESS);
    EXPECT_THROW(pBool->Evaluate(true), std::runtime_error);

    auto pString = ra::Clause::Create(ra::Clause::VARIABLE_STRING);
    pString->SetComparison(ra::Clause::COMPARE_GREATER_EQUAL);
    EXPECT_THROW(pString->Evaluate(ra::MakeName("x")), std::runtime_error);
}

TEST(MotionCondition, TrueWhenEveryClauseHoldsAndWhenEmpty)
{
    ra::ClauseList clauses;
    clauses.AddClause(FloatClause("speed", ra::Clause::COMPARE_GREATER, 1.0f));
    clauses.AddClause(BoolClause("moving", ra::Clause::COMPARE_EQUAL, true));
    ra::Condition condition(ra::MakeName("running"));
    Variables variables;
    EXPECT_TRUE(condition.Evaluate(variables));
    condition.AddClause(clauses.GetClause(0), false);
    condition.AddClause(clauses.GetClause(1), false);
    variables.Float("speed", 3.0f);
    variables.Bool("moving", false);
    EXPECT_FALSE(condition.Evaluate(variables));
    variables.Bool("moving", true);
    EXPECT_TRUE(condition.Evaluate(variables));
    variables.Float("speed", 0.5f);
    EXPECT_FALSE(condition.Evaluate(variables));
}

TEST(MotionCondition, RunningFlagChainsIfElseIfElseAndAlways)
{
    ra::ClauseList clauses;
    clauses.AddClause(BoolClause("a", ra::Clause::COMPARE_EQUAL, true));
    clauses.AddClause(BoolClause("b", ra::Clause::COMPARE_EQUAL, true));
    ra::Condition condA(ra::MakeName("a"));
    condA.AddClause(clauses.GetClause(0), false);
    ra::Condition condB(ra::MakeName("b"));
    condB.AddClause(clauses.GetClause(1), false);

    // if a / else if b / else / always / else: the outcome of each entry in turn.
    auto run = [&](bool a, bool b)
    {
        Variables variables;
        variables.Bool("a", a);
        variables.Bool("b", b);
        bool running = false;
        std::string outcome;
        outcome += ra::Condition::EvaluateType(0, &condA, running, variables) ? '1' : '0';
        outcome += ra::Condition::EvaluateType(1, &condB, running, variables) ? '1' : '0';
        outcome += ra::Condition::EvaluateType(2, nullptr, running, variables) ? '1' : '0';
        outcome += ra::Condition::EvaluateType(3, nullptr, running, variables) ? '1' : '0';
        outcome += ra::Condition::EvaluateType(2, nullptr, running, variables) ? '1' : '0';
        return outcome;
    };
    EXPECT_EQ(run(true, true), "10011");
    EXPECT_EQ(run(false, true), "01011");
    EXPECT_EQ(run(false, false), "00111");

    // "if" overwrites the flag with its own outcome, so a false "if" reopens the "else".
    Variables none;
    bool running = true;
    EXPECT_FALSE(ra::Condition::EvaluateType(0, &condA, running, none));
    EXPECT_FALSE(running);
}
