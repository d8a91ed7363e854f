// openkelda/KStatus.h

#pragma once

#include "openkelda/KString.h"

/// The result of a host call: success, or a failure with its reason.
class KStatus
{
public:
    /// Success.
    KStatus() = default;
    static KStatus failure(const KString &reason);

    /// True for success.
    explicit operator bool() const { return m_success; }
    /// Empty for success.
    KString errorString() const { return m_reason; }

    friend bool operator==(const KStatus &left, const KStatus &right)
    {
        return left.m_success == right.m_success && left.m_reason == right.m_reason;
    }
    friend bool operator!=(const KStatus &left, const KStatus &right) { return !(left == right); }

private:
    bool m_success = true;
    KString m_reason;
};
