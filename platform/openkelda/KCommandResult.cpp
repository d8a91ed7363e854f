#include "openkelda/KCommandResult.h"

namespace {

/// Copies \p from to \p value if \p fits.
template <typename T>
KStatus read(bool fits, const T &from, T &value, const char *wanted)
{
    if (!fits)
        return KStatus::failure(KString("the result is not ") + wanted);
    value = from;
    return KStatus();
}

} // namespace

KCommandResult::KCommandResult(int value) : m_kind(kInt), m_int(value) {}
KCommandResult::KCommandResult(double value) : m_kind(kDouble), m_double(value) {}
KCommandResult::KCommandResult(const KString &value) : m_kind(kString), m_string(value) {}
KCommandResult::KCommandResult(const KStringArray &value) : m_kind(kStringArray), m_array(value) {}

KStatus KCommandResult::getResult(int &value) const
{
    return read(m_kind == kInt, m_int, value, "an integer");
}

KStatus KCommandResult::getResult(double &value) const
{
    return read(m_kind == kDouble || m_kind == kInt, m_kind == kInt ? m_int : m_double, value, "a number");
}

KStatus KCommandResult::getResult(KString &value) const
{
    return read(m_kind == kString, m_string, value, "a text");
}

KStatus KCommandResult::getResult(KStringArray &value) const
{
    return read(m_kind == kStringArray, m_array, value, "a text array");
}
