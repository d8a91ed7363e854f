#include "openkelda/KString.h"

#include <charconv>
#include <cmath>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isScalar(char32_t point)
{
    return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF);
}

/// Returns the code point at \p at and moves \p at to the next one. A malformed sequence becomes one replacement
/// character and ends before the first byte that cannot continue it.
char32_t decode(const std::string &text, std::size_t &at)
{
    const auto lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80)
        return lead;
    const int following = lead >= 0xF0 && lead < 0xF5   ? 3
                          : lead >= 0xE0 && lead < 0xF0 ? 2
                          : lead >= 0xC2 && lead < 0xE0 ? 1
                                                        : 0;
    if (following == 0)
        return kReplacement;

    static constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    char32_t point = lead & (0x3Fu >> following);
    for (int i = 0; i < following; ++i) {
        if (at >= text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80)
            return kReplacement;
        point = (point << 6) | (static_cast<unsigned char>(text[at++]) & 0x3F);
    }
    return point >= kSmallest[following] && isScalar(point) ? point : kReplacement;
}

void encode(char32_t point, std::string &text)
{
    const auto add = [&text](char32_t byte) { text.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (!isScalar(point))
        point = kReplacement;
    if (point < 0x80) {
        add(point);
    } else if (point < 0x800) {
        add(0xC0 | (point >> 6));
        add(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        add(0xE0 | (point >> 12));
        add(0x80 | ((point >> 6) & 0x3F));
        add(0x80 | (point & 0x3F));
    } else {
        add(0xF0 | (point >> 18));
        add(0x80 | ((point >> 12) & 0x3F));
        add(0x80 | ((point >> 6) & 0x3F));
        add(0x80 | (point & 0x3F));
    }
}

} // namespace

KString::KString(const char *utf8) : m_utf8(utf8 ? utf8 : "") {}

KString::KString(const wchar_t *wide)
{
    for (; wide && *wide; ++wide)
        encode(static_cast<char32_t>(*wide), m_utf8);
}

KString::KString(const std::string &utf8) : m_utf8(utf8) {}

std::wstring KString::wide() const
{
    std::wstring text;
    text.reserve(m_utf8.size());
    for (std::size_t at = 0; at < m_utf8.size();)
        text.push_back(static_cast<wchar_t>(decode(m_utf8, at)));
    return text;
}

unsigned KString::length() const
{
    unsigned count = 0;
    for (std::size_t at = 0; at < m_utf8.size(); ++count)
        decode(m_utf8, at);
    return count;
}

KString &KString::operator+=(const KString &other)
{
    m_utf8 += other.m_utf8;
    return *this;
}

KString &KString::operator+=(const char *utf8)
{
    if (utf8)
        m_utf8 += utf8;
    return *this;
}

KString &KString::operator+=(int value)
{
    return *this += static_cast<long long>(value);
}

KString &KString::operator+=(unsigned value)
{
    return *this += static_cast<unsigned long long>(value);
}

KString &KString::operator+=(long value)
{
    return *this += static_cast<long long>(value);
}

KString &KString::operator+=(unsigned long value)
{
    return *this += static_cast<unsigned long long>(value);
}

KString &KString::operator+=(long long value)
{
    m_utf8 += std::to_string(value);
    return *this;
}

KString &KString::operator+=(unsigned long long value)
{
    m_utf8 += std::to_string(value);
    return *this;
}

KString &KString::operator+=(double value)
{
    char digits[512]; // the largest double has 309 digits
    const bool integral = std::isfinite(value) && value == std::trunc(value);
    if (value == 0)
        value = 0; // removes the sign of -0
    const auto end = integral ? std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed)
                              : std::to_chars(digits, digits + sizeof digits, value);
    m_utf8.append(digits, end.ptr);
    return *this;
}
