// openkelda/KCommandResult.h

#pragma once

#include "openkelda/KStatus.h"
#include "openkelda/KString.h"
#include "openkelda/KStringArray.h"

/// The typed result of a host command.
class KCommandResult
{
public:
    enum Kind { kNone, kInt, kDouble, kString, kStringArray };

    KCommandResult() = default;
    explicit KCommandResult(int value);
    explicit KCommandResult(double value);
    explicit KCommandResult(const KString &value);
    explicit KCommandResult(const KStringArray &value);

    Kind kind() const { return m_kind; }
    /// Fails and does not change \p value if the result is of another kind. An integer is also a double.
    KStatus getResult(int &value) const;
    KStatus getResult(double &value) const;
    KStatus getResult(KString &value) const;
    KStatus getResult(KStringArray &value) const;

private:
    Kind m_kind = kNone;
    int m_int = 0;
    double m_double = 0;
    KString m_string;
    KStringArray m_array;
};
