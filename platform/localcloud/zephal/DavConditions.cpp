#include <algorithm>
#include <localcloud/zephal/DavConditions.h>

namespace localcloud {

namespace {

/// The entity tag at \p position, with its quotes and a "W/" before them, and what follows it; empty when there is
/// none.
QByteArray takeTag(const QByteArray &text, int &position)
{
    const int start = position;
    const int quote = text.mid(start, 2) == "W/" ? start + 2 : start;
    const int end = quote < text.size() && text[quote] == '"' ? text.indexOf('"', quote + 1) : -1;
    if (end < 0)
        return {};
    position = end + 1;
    return text.mid(start, position - start);
}

enum class Comparison { Strong, Weak };

/// Whether the list of tags, or "*", names \p entry.
bool matches(const QByteArray &list, const DavEntry &entry, Comparison comparison)
{
    if (list.trimmed() == "*")
        return entry.exists();
    for (int i = 0; i < list.size(); ++i) {
        QByteArray tag = takeTag(list, i);
        if (comparison == Comparison::Weak && tag.startsWith("W/"))
            tag.remove(0, 2);
        if (!tag.isEmpty() && tag == entry.etag)
            return true;
    }
    return false;
}

/// Evaluates an If header from left to right.
class IfHeader
{
public:
    IfHeader(const QByteArray &text, const DavEntry &entry, const DavLookup &lookup)
        : m_text(text), m_entry(entry), m_lookup(lookup)
    {}

    /// Whether one of its lists holds; nothing when it is malformed.
    std::optional<bool> holds()
    {
        bool any = false;
        int lists = 0;
        for (skipBlanks(); m_position < m_text.size(); skipBlanks()) {
            if (m_text[m_position] == '<') {
                const auto address = takeUpTo('>');
                if (!address)
                    return {};
                m_entry = m_lookup(*address);
                continue;
            }
            const auto list = listHolds();
            if (!list)
                return {};
            any = any || *list;
            ++lists;
        }
        return lists > 0 ? std::optional(any) : std::nullopt;
    }

private:
    void skipBlanks()
    {
        while (m_position < m_text.size() && (m_text[m_position] == ' ' || m_text[m_position] == '\t'))
            ++m_position;
    }

    bool take(const char *word)
    {
        const bool found = qstrnicmp(m_text.constData() + m_position, word, qstrlen(word)) == 0;
        m_position += found ? static_cast<int>(qstrlen(word)) : 0;
        return found;
    }

    /// What stands between the character here and \p last.
    std::optional<QByteArray> takeUpTo(char last)
    {
        const int end = m_text.indexOf(last, m_position);
        if (end < 0)
            return {};
        const QByteArray inside = m_text.mid(m_position + 1, end - m_position - 1);
        m_position = end + 1;
        return inside;
    }

    std::optional<bool> listHolds()
    {
        if (!take("("))
            return {};
        bool all = true;
        int conditions = 0;
        for (skipBlanks(); !take(")"); skipBlanks()) {
            const bool negated = take("not");
            skipBlanks();
            bool condition = false;
            if (take("[")) {
                const QByteArray tag = takeTag(m_text, m_position);
                if (tag.isEmpty() || !take("]"))
                    return {};
                condition = tag == m_entry.etag;
            } else if (m_position >= m_text.size() || m_text[m_position] != '<' || !takeUpTo('>')) {
                return {};
            }
            all = all && condition != negated;
            ++conditions;
        }
        return conditions > 0 ? std::optional(all) : std::nullopt;
    }

    const QByteArray m_text;
    DavEntry m_entry;
    const DavLookup &m_lookup;
    int m_position = 0;
};

} // namespace

int conditionStatus(const HttpRequest &request, const DavEntry &entry, const DavLookup &lookup)
{
    const bool reading = request.method == "GET" || request.method == "HEAD";
    const auto unmodifiedSince = parseHttpDate(request.header("If-Unmodified-Since"));
    const auto modifiedSince = parseHttpDate(request.header("If-Modified-Since"));
    if (hasHeader(request.headers, "If-Match")) {
        if (!matches(request.header("If-Match"), entry, Comparison::Strong))
            return 412;
    } else if (unmodifiedSince && entry.modified > *unmodifiedSince) {
        return 412;
    }
    if (hasHeader(request.headers, "If-None-Match")) {
        if (matches(request.header("If-None-Match"), entry, Comparison::Weak))
            return reading ? 304 : 412;
    } else if (reading && modifiedSince && entry.modified <= *modifiedSince) {
        return 304;
    }
    if (!hasHeader(request.headers, "If"))
        return 0;
    const auto holds = IfHeader(request.header("If"), entry, lookup).holds();
    if (!holds)
        return 400;
    return *holds ? 0 : 412;
}

QByteArray validRange(const HttpRequest &request, const DavEntry &entry)
{
    const QByteArray validator = request.header("If-Range");
    const bool same = validator.isEmpty() || validator == entry.etag || parseHttpDate(validator) == entry.modified;
    return same ? request.header("Range") : QByteArray();
}

} // namespace localcloud
