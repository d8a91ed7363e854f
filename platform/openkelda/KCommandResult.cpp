#include "openkelda/KCommandResult.h"

namespace {

KStatus otherKind(const char *wanted)
{
    return KStatus::failure(KString("the result is not ") + wanted);
}

} // namespace

KCommandResult::KCommandResult(int value) : m_kind(kInt), m_int(value) {}
KCommandResult::KCommandResult(double value) : m_kind(kDouble), m_double(value) {}
KCommandResult::KCommandResult(const KString &value) : m_kind(kString), m_string(value) {}
KCommandResult::KCommandResult(const KStringArray &value) : m_kind(kStringArray), m_array(value) {}

KStatus KCommandResult::getResult(int &value) const
{
    if (m_kind != kInt)
        return otherKind("an integer");
    value = m_int;
    return KStatus();
}

KStatus KCommandResult::getResult(double &value) const
{
    if (m_kind != kDouble && m_kind != kInt)
        return otherKind("a number");
    value = m_kind == kInt ? m_int : m_double;
    return KStatus();
}

KStatus KCommandResult::getResult(KString &value) const
{
    if (m_kind != kString)
        return otherKind("a text");
    value = m_string;
    return KStatus();
}

KStatus KCommandResult::getResult(KStringArray &value) const
{
    if (m_kind != kStringArray)
        return otherKind("a text array");
    value = m_array;
    return KStatus();
}
