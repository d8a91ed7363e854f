#include "language/Lexer.h"

#include "language/Interpreter.h"

namespace {

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool isNameStart(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_');
}

bool isNamePart(QChar c)
{
    return isNameStart(c) || isDigit(c);
}

/// Returns true if \p c can be part of a bare word of a command.
bool isWordPart(QChar c)
{
    return !c.isSpace() && !QStringLiteral(";\"`(){}$").contains(c);
}

} // namespace

const Token &Lexer::peek(Mode mode)
{
    if (!m_peeked || m_mode != mode)
        read(mode);
    return m_token;
}

Token Lexer::take(Mode mode)
{
    const Token token = peek(mode);
    m_offset = token.end;
    m_line = token.line;
    m_peeked = false;
    return token;
}

void Lexer::fail(const QString &reason) const
{
    throw ScriptError(reason, {m_file, m_token.line});
}

void Lexer::skipBlanks()
{
    for (; m_scan < m_source.size(); ++m_scan) {
        if (at(m_scan) == QLatin1Char('/') && at(m_scan + 1) == QLatin1Char('/')) {
            while (m_scan < m_source.size() && at(m_scan) != QLatin1Char('\n'))
                ++m_scan;
        }
        if (!at(m_scan).isSpace())
            return;
        m_token.line += at(m_scan) == QLatin1Char('\n') ? 1 : 0;
    }
}

template <typename Belongs>
void Lexer::readWhile(Token::Kind kind, Belongs belongs)
{
    m_token.kind = kind;
    while (m_scan < m_source.size() && belongs(at(m_scan)))
        m_token.text += at(m_scan++);
}

void Lexer::read(Mode mode)
{
    m_scan = m_offset;
    m_token = Token();
    m_token.line = m_line;
    skipBlanks();

    const QChar c = at(m_scan);
    if (m_scan >= m_source.size()) {
        m_token.kind = Token::Kind::End;
    } else if (c == QLatin1Char('"')) {
        readString();
    } else if (c == QLatin1Char('$')) {
        if (!isNameStart(at(++m_scan)))
            fail(QStringLiteral("'$' without the name of a variable"));
        readWhile(Token::Kind::Variable, isNamePart);
    } else if (mode == Mode::Argument && isWordPart(c)) {
        readWhile(Token::Kind::Word, isWordPart);
    } else if (isNameStart(c)) {
        readWhile(Token::Kind::Word, isNamePart);
    } else if (isDigit(c)) {
        readWhile(Token::Kind::Integer, isNamePart);
    } else {
        readSymbol();
    }
    m_token.end = m_scan;
    m_mode = mode;
    m_peeked = true;
}

void Lexer::readString()
{
    static const QString escapes = QStringLiteral("\\\"nrt");
    static const QString meanings = QStringLiteral("\\\"\n\r\t");
    m_token.kind = Token::Kind::String;
    for (++m_scan; at(m_scan) != QLatin1Char('"'); ++m_scan) {
        const bool escaped = at(m_scan) == QLatin1Char('\\');
        m_scan += escaped ? 1 : 0;
        const QChar c = at(m_scan);
        if (m_scan >= m_source.size() || c == QLatin1Char('\n'))
            fail(QStringLiteral("unterminated string"));
        if (escaped && !escapes.contains(c))
            fail(QStringLiteral("unknown escape sequence '\\%1'").arg(c));
        m_token.text += escaped ? meanings.at(escapes.indexOf(c)) : c;
    }
    ++m_scan;
}

void Lexer::readSymbol()
{
    static const QStringList pairs = QStringLiteral("== != <= >= && ||").split(QLatin1Char(' '));
    m_token.kind = Token::Kind::Symbol;
    m_token.text = m_source.mid(m_scan, 2);
    if (!pairs.contains(m_token.text))
        m_token.text = at(m_scan);
    if (m_token.text.size() == 1 && !QStringLiteral("+-*/<>=!;,(){}[]`").contains(at(m_scan)))
        fail(QStringLiteral("unexpected character '%1'").arg(at(m_scan).isPrint() ? at(m_scan) : QLatin1Char('?')));
    m_scan += m_token.text.size();
}
