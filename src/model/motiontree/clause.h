// Clauses of the motion tree: one comparison of a game variable against a value, and the list of
// them that a model owns and that each condition borrows from.
#pragma once

#include "foundation/types.h"
#include "names/name.h"

#include <memory>
#include <string>
#include <vector>

namespace ra
{
// Where a clause finds the current value of its variable. A variable that is absent or not set
// gives false: the clause then compares its own default instead.
class VariableSource
{
public:
    virtual ~VariableSource() = default;
    virtual bool GetFloat(ra::Name name, float& out) const = 0;
    virtual bool GetBool(ra::Name name, bool& out) const = 0;
    virtual bool GetString(ra::Name name, ra::Name& out) const = 0;
};

class Clause
{
public:
    enum VariableType
    {
        VARIABLE_FLOAT = 0,
        VARIABLE_BOOL = 1,
        VARIABLE_STRING = 2,
        VARIABLE_COUNT = 3,
    };
    enum Comparison
    {
        COMPARE_EQUAL = 0,
        COMPARE_NOT_EQUAL = 1,
        COMPARE_LESS = 2,
        COMPARE_LESS_EQUAL = 3,
        COMPARE_GREATER = 4,
        COMPARE_GREATER_EQUAL = 5,
        COMPARE_COUNT = 6,
    };

    // A clause of the type's class; null (an assertion) for a type out of range.
    static std::unique_ptr<Clause> Create(int type);
    // " = ", " != ", "  < "...; "" for a value out of range.
    static const char* GetComparisonText(int comparison);

    virtual ~Clause() = default;

    // Name, variable and comparison; the value stays that of this clause's own type.
    virtual void Copy(const Clause* pClause);

    // Each type answers only its own five; the others are assertions with a safe return.
    virtual void SetValue(float value);
    virtual void GetValue(float& out) const;
    virtual void SetDefault(float value);
    virtual void GetDefault(float& out) const;
    virtual bool Evaluate(float variable) const;
    virtual void SetValue(bool value);
    virtual void GetValue(bool& out) const;
    virtual void SetDefault(bool value);
    virtual void GetDefault(bool& out) const;
    virtual bool Evaluate(bool variable) const;
    virtual void SetValue(ra::Name value);
    virtual void GetValue(ra::Name& out) const;
    virtual void SetDefault(ra::Name value);
    virtual void GetDefault(ra::Name& out) const;
    virtual bool Evaluate(ra::Name variable) const;

    // The variable's value from `variables`, or this clause's default when it is not set there,
    // compared by the type's Evaluate.
    bool Evaluate(const VariableSource& variables) const;

    int GetType() const { return m_type; }
    ra::Name GetName() const { return m_name; }
    void SetName(ra::Name name) { m_name = name; }
    ra::Name GetVariableName() const { return m_variableName; }
    void SetVariableName(ra::Name name) { m_variableName = name; }
    int GetComparison() const { return m_comparison; }
    // A comparison out of range is an assertion and leaves the old one.
    void SetComparison(int comparison);

    // "name [ variable >= 2.00 ]": for debug displays.
    std::string GetDescription() const;

protected:
    explicit Clause(int type) : m_type(type) {}

private:
    ra::Name m_name = ra::Name::INVALID;
    ra::Name m_variableName = ra::Name::INVALID;
    int m_type;
    int m_comparison = COMPARE_EQUAL;
};

class ClauseFloat final : public Clause
{
public:
    ClauseFloat() : Clause(VARIABLE_FLOAT) {}
    using Clause::Evaluate;
    using Clause::GetDefault;
    using Clause::GetValue;
    using Clause::SetDefault;
    using Clause::SetValue;

    void Copy(const Clause* pClause) override;
    void SetValue(float value) override { m_value = value; }
    void GetValue(float& out) const override { out = m_value; }
    void SetDefault(float value) override { m_default = value; }
    void GetDefault(float& out) const override { out = m_default; }
    // The clause's value is on the right: variable < value.
    bool Evaluate(float variable) const override;

private:
    float m_value = 0.0f;
    float m_default = 0.0f;
};

class ClauseBool final : public Clause
{
public:
    ClauseBool() : Clause(VARIABLE_BOOL) {}
    using Clause::Evaluate;
    using Clause::GetDefault;
    using Clause::GetValue;
    using Clause::SetDefault;
    using Clause::SetValue;

    void Copy(const Clause* pClause) override;
    void SetValue(bool value) override { m_value = value; }
    void GetValue(bool& out) const override { out = m_value; }
    void SetDefault(bool value) override { m_default = value; }
    void GetDefault(bool& out) const override { out = m_default; }
    // Equal and not equal only; the orderings are assertions.
    bool Evaluate(bool variable) const override;

private:
    bool m_value = false;
    bool m_default = false;
};

class ClauseString final : public Clause
{
public:
    ClauseString() : Clause(VARIABLE_STRING) {}
    using Clause::Evaluate;
    using Clause::GetDefault;
    using Clause::GetValue;
    using Clause::SetDefault;
    using Clause::SetValue;

    void Copy(const Clause* pClause) override;
    void SetValue(ra::Name value) override { m_value = value; }
    void GetValue(ra::Name& out) const override { out = m_value; }
    void SetDefault(ra::Name value) override { m_default = value; }
    void GetDefault(ra::Name& out) const override { out = m_default; }
    // Equal and not equal only, by key; the orderings are assertions.
    bool Evaluate(ra::Name variable) const override;

private:
    ra::Name m_value = ra::Name::INVALID;
    ra::Name m_default = ra::Name::INVALID;
};

// A list of clauses, owned or borrowed entry by entry: a model's own list owns its clauses, a
// condition's list points into the model's.
class ClauseList
{
public:
    struct Entry
    {
        Clause* pClause = nullptr;
        bool owned = false;
    };

    ClauseList() = default;
    virtual ~ClauseList();
    ClauseList(const ClauseList&) = delete;
    ClauseList& operator=(const ClauseList&) = delete;

    int GetClauseCount() const { return int(m_pClauses.size()); }
    // Null (an assertion) out of range.
    Clause* GetClause(int index) const;
    // InvalidIndex when absent.
    int FindClause(ra::Name name) const;
    // Appends; with `owned` the list deletes the clause. The new index, or InvalidIndex for null.
    int AddClause(Clause* pClause, bool owned);
    int AddClause(std::unique_ptr<Clause> pClause);
    void Clear();

private:
    std::vector<Entry> m_pClauses;
};
} // namespace ra
