// openkelda/KString.h
//
// A text of the host, stored as UTF-8.

#pragma once

#include <cstddef>
#include <string>

class KString
{
public:
    KString() = default;
    /// Null gives an empty text.
    KString(const char *utf8);
    /// Null gives an empty text. Code points outside Unicode become U+FFFD.
    KString(const wchar_t *wide);
    KString(const std::string &utf8);

    /// Null-terminated UTF-8, valid until this text changes or is deleted.
    const char *utf8() const { return m_utf8.c_str(); }
    /// One wide character per code point; malformed UTF-8 becomes U+FFFD.
    std::wstring wide() const;
    /// Returns the number of characters (code points), not bytes.
    unsigned length() const;
    bool isEmpty() const { return m_utf8.empty(); }

    KString &operator+=(const KString &other);
    KString &operator+=(const char *utf8);
    KString &operator+=(int value);
    KString &operator+=(unsigned value);
    KString &operator+=(long value);
    KString &operator+=(unsigned long value);
    KString &operator+=(long long value);
    KString &operator+=(unsigned long long value);
    /// Appends integral values as digits (1000000), others in the shortest form that is parsed to the same value.
    KString &operator+=(double value);

    friend bool operator==(const KString &left, const KString &right) { return left.m_utf8 == right.m_utf8; }
    friend bool operator!=(const KString &left, const KString &right) { return left.m_utf8 != right.m_utf8; }
    /// Order of the UTF-8 bytes, which is the order of the code points.
    friend bool operator<(const KString &left, const KString &right) { return left.m_utf8 < right.m_utf8; }

private:
    std::string m_utf8;
};

inline bool operator==(const KString &left, const char *right)
{
    return left == KString(right);
}
inline bool operator==(const char *left, const KString &right)
{
    return KString(left) == right;
}
inline bool operator!=(const KString &left, const char *right)
{
    return left != KString(right);
}
inline bool operator!=(const char *left, const KString &right)
{
    return KString(left) != right;
}
inline bool operator<(const KString &left, const char *right)
{
    return left < KString(right);
}
inline bool operator<(const char *left, const KString &right)
{
    return KString(left) < right;
}

/// Concatenation with any type that operator+= accepts.
template <typename T>
KString operator+(KString left, const T &right)
{
    left += right;
    return left;
}

inline KString operator+(const char *left, const KString &right)
{
    KString text(left);
    text += right;
    return text;
}
