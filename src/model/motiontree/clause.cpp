#include "model/motiontree/clause.h"

#include "foundation/debug.h"

#include <cstdio>
#include <type_traits>

namespace ra
{
std::unique_ptr<Clause> Clause::Create(int type)
{
    switch (type)
    {
    case VARIABLE_FLOAT:
        return std::make_unique<ClauseFloat>();
    case VARIABLE_BOOL:
        return std::make_unique<ClauseBool>();
    case VARIABLE_STRING:
        return std::make_unique<ClauseString>();
    default:
        dbBreak();
        return nullptr;
    }
}

const char* Clause::GetComparisonText(int comparison)
{
    static const char* const s_texts[COMPARE_COUNT] = {" = ", " != ", "  < ", " <= ", "  > ", " >= "};
    if (comparison < 0 || comparison >= COMPARE_COUNT)
        return "";
    return s_texts[comparison];
}

void Clause::Copy(const Clause* pClause)
{
    if (!dbAssert(pClause))
        return;
    m_name = pClause->m_name;
    m_variableName = pClause->m_variableName;
    m_comparison = pClause->m_comparison;
}

void Clause::SetComparison(int comparison)
{
    if (!dbAssert(comparison >= 0 && comparison < COMPARE_COUNT))
        return;
    m_comparison = comparison;
}

// The base answers no type: whoever reaches it asked a clause for a type it does not hold.
void Clause::SetValue(float)
{
    dbBreak();
}
void Clause::GetValue(float& out) const
{
    dbBreak();
    out = 0.0f;
}
void Clause::SetDefault(float)
{
    dbBreak();
}
void Clause::GetDefault(float& out) const
{
    dbBreak();
    out = 0.0f;
}
bool Clause::Evaluate(float) const
{
    dbBreak();
    return false;
}
void Clause::SetValue(bool)
{
    dbBreak();
}
void Clause::GetValue(bool& out) const
{
    dbBreak();
    out = false;
}
void Clause::SetDefault(bool)
{
    dbBreak();
}
void Clause::GetDefault(bool& out) const
{
    dbBreak();
    out = false;
}
bool Clause::Evaluate(bool) const
{
    dbBreak();
    return false;
}
void Clause::SetValue(ra::Name)
{
    dbBreak();
}
void Clause::GetValue(ra::Name& out) const
{
    dbBreak();
    out = ra::Name::INVALID;
}
void Clause::SetDefault(ra::Name)
{
    dbBreak();
}
void Clause::GetDefault(ra::Name& out) const
{
    dbBreak();
    out = ra::Name::INVALID;
}
bool Clause::Evaluate(ra::Name) const
{
    dbBreak();
    return false;
}

bool Clause::Evaluate(const VariableSource& variables) const
{
    switch (m_type)
    {
    case VARIABLE_FLOAT:
    {
        float value = 0.0f;
        if (!variables.GetFloat(m_variableName, value))
            GetDefault(value);
        return Evaluate(value);
    }
    case VARIABLE_BOOL:
    {
        bool value = false;
        if (!variables.GetBool(m_variableName, value))
            GetDefault(value);
        return Evaluate(value);
    }
    case VARIABLE_STRING:
    {
        ra::Name value = ra::Name::INVALID;
        if (!variables.GetString(m_variableName, value))
            GetDefault(value);
        return Evaluate(value);
    }
    default:
        dbBreak();
        return false;
    }
}

std::string Clause::GetDescription() const
{
    const char* name = ra::GetNameText(m_name);
    const char* variable = ra::GetNameText(m_variableName);
    std::string text = name ? name : "";
    text += " [ ";
    text += variable ? variable : "";
    text += GetComparisonText(m_comparison);
    switch (m_type)
    {
    case VARIABLE_FLOAT:
    {
        float value = 0.0f;
        GetValue(value);
        char buf[64];
        std::snprintf(buf, sizeof(buf), "%.2f", value);
        text += buf;
        break;
    }
    case VARIABLE_BOOL:
    {
        bool value = false;
        GetValue(value);
        text += value ? "true" : "false";
        break;
    }
    case VARIABLE_STRING:
    {
        ra::Name value = ra::Name::INVALID;
        GetValue(value);
        const char* valueText = ra::GetNameText(value);
        text += valueText ? valueText : "";
        break;
    }
    default:
        break;
    }
    text += " ]";
    return text;
}

namespace
{
// A typed clause copies only from a clause of its own type, and takes its value and default too.
template <class ValueT> void CopySameType(Clause& to, const Clause* pFrom)
{
    if (!dbAssert(pFrom) || !dbAssert(pFrom->GetType() == to.GetType()))
        return;
    to.Clause::Copy(pFrom);
    ValueT value{};
    pFrom->GetValue(value);
    to.SetValue(value);
    pFrom->GetDefault(value);
    to.SetDefault(value);
}

// The clause's value is on the right: variable < value. Every type answers equal and not equal;
// only floats are ordered, so an ordering asked of another type is an assertion.
template <class ValueT> bool Compare(int comparison, const ValueT& variable, const ValueT& value)
{
    switch (comparison)
    {
    case Clause::COMPARE_EQUAL:
        return variable == value;
    case Clause::COMPARE_NOT_EQUAL:
        return variable != value;
    default:
        break;
    }
    if constexpr (std::is_floating_point_v<ValueT>)
    {
        switch (comparison)
        {
        case Clause::COMPARE_LESS:
            return variable < value;
        case Clause::COMPARE_LESS_EQUAL:
            return variable <= value;
        case Clause::COMPARE_GREATER:
            return variable > value;
        case Clause::COMPARE_GREATER_EQUAL:
            return variable >= value;
        default:
            break;
        }
    }
    dbBreak();
    return false;
}
} // namespace

void ClauseFloat::Copy(const Clause* pClause)
{
    CopySameType<float>(*this, pClause);
}

bool ClauseFloat::Evaluate(float variable) const
{
    return Compare(GetComparison(), variable, m_value);
}

void ClauseBool::Copy(const Clause* pClause)
{
    CopySameType<bool>(*this, pClause);
}

bool ClauseBool::Evaluate(bool variable) const
{
    return Compare(GetComparison(), variable, m_value);
}

void ClauseString::Copy(const Clause* pClause)
{
    CopySameType<ra::Name>(*this, pClause);
}

bool ClauseString::Evaluate(ra::Name variable) const
{
    return Compare(GetComparison(), variable, m_value);
}

ClauseList::~ClauseList()
{
    Clear();
}

Clause* ClauseList::GetClause(int index) const
{
    if (!dbAssert(index >= 0) || !dbAssert(index < GetClauseCount()))
        return nullptr;
    if (!dbAssert(m_pClauses[index].pClause))
        return nullptr;
    return m_pClauses[index].pClause;
}

int ClauseList::FindClause(ra::Name name) const
{
    for (size_t i = 0; i < m_pClauses.size(); ++i)
        if (m_pClauses[i].pClause && m_pClauses[i].pClause->GetName() == name)
            return int(i);
    return InvalidIndex;
}

int ClauseList::AddClause(Clause* pClause, bool owned)
{
    if (!dbAssert(pClause))
        return InvalidIndex;
    m_pClauses.push_back({pClause, owned});
    return int(m_pClauses.size()) - 1;
}

int ClauseList::AddClause(std::unique_ptr<Clause> pClause)
{
    return AddClause(pClause.release(), true);
}

void ClauseList::Clear()
{
    for (Entry& entry : m_pClauses)
        if (entry.owned)
            delete entry.pClause;
    m_pClauses.clear();
}
} // namespace ra
