#include "http/RedirectRequest.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

constexpr int kMaxLineBytes = 64 * 1024;

QStringList tokensOf(const QString &text)
{
    static const QRegularExpression separators(QStringLiteral("[ \\r\\n\"',?&=]+"));
    return text.split(separators);
}

} // namespace

RedirectRequest::State RedirectRequest::read(const QByteArray &bytes)
{
    if (m_state != State::Reading)
        return m_state;
    const int lineEnd = bytes.indexOf('\n');
    m_line += lineEnd < 0 ? bytes : bytes.left(lineEnd + 1);
    if (m_line.size() >= kMaxLineBytes) {
        m_line.clear();
        m_state = State::Refused;
    } else if (lineEnd >= 0) {
        m_state = State::Read;
    }
    return m_state;
}

/// Evaluates only the query parameter "code", not the text "code" elsewhere in the request.
QString RedirectRequest::code() const
{
    const QString line = m_state == State::Read ? QString::fromLatin1(m_line) : QString();
    const QStringList words = tokensOf(line);
    if (words.size() < 2 || words.at(0) != QLatin1String("GET") ||
        words.at(1) != QLatin1String("/crvn/kelda/oauth/dropbox/redirect"))
        return QString();

    const QString query = line.section(QLatin1Char('?'), 1).section(QLatin1Char(' '), 0, 0);
    for (const QString &parameter : query.split(QLatin1Char('&'))) {
        const QStringList tokens = tokensOf(parameter);
        const bool isCode = tokens.size() > 1 && tokens.at(0) == QLatin1String("code");
        if (isCode && !tokens.at(1).isEmpty() && tokens.at(1) != QLatin1String("timeout"))
            return tokens.at(1);
    }
    return QString();
}
