#include "language/Lexer.h"

#include "language/Interpreter.h"

namespace {

bool isNameStart(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_');
}

bool isNamePart(QChar c)
{
    return isNameStart(c) || (c >= QLatin1Char('0') && c <= QLatin1Char('9'));
}

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

/// Whether \p c ends a bare word of a command.
bool endsWord(QChar c)
{
    return c.isSpace() || QStringLiteral(";\"`(){}$").contains(c);
}

} // namespace

Lexer::Lexer(const QString &source, const QString &file) : m_source(source), m_file(file) {}

const Token &Lexer::peek(Mode mode)
{
    if (!m_peeked || m_mode != mode)
        read(mode);
    return m_token;
}

Token Lexer::take(Mode mode)
{
    Token token = peek(mode);
    m_offset = m_token.end;
    m_line = m_lineAfterToken;
    m_peeked = false;
    return token;
}

void Lexer::fail(const QString &reason, int line) const
{
    throw ScriptError(reason, {m_file, line});
}

void Lexer::skipBlanks()
{
    while (m_scan < m_source.size()) {
        const QChar c = at(m_scan);
        if (c.isSpace()) {
            m_scanLine += c == QLatin1Char('\n') ? 1 : 0;
            ++m_scan;
        } else if (c == QLatin1Char('/') && at(m_scan + 1) == QLatin1Char('/')) {
            const int lineEnd = m_source.indexOf(QLatin1Char('\n'), m_scan);
            m_scan = lineEnd < 0 ? m_source.size() : lineEnd;
        } else if (c == QLatin1Char('/') && at(m_scan + 1) == QLatin1Char('*')) {
            const int close = m_source.indexOf(QLatin1String("*/"), m_scan + 2);
            if (close < 0)
                fail(QStringLiteral("the comment is not closed"), m_scanLine);
            m_scanLine += m_source.midRef(m_scan, close - m_scan).count(QLatin1Char('\n'));
            m_scan = close + 2;
        } else {
            return;
        }
    }
}

void Lexer::read(Mode mode)
{
    m_scan = m_offset;
    m_scanLine = m_line;
    skipBlanks();
    m_token = Token();
    m_token.line = m_scanLine;
    m_token.begin = m_scan;

    const QChar c = at(m_scan);
    if (m_scan >= m_source.size()) {
        m_token.kind = Token::Kind::End;
    } else if (c == QLatin1Char('"')) {
        readString();
    } else if (c == QLatin1Char('$')) {
        const int name = ++m_scan;
        while (isNamePart(at(m_scan)))
            ++m_scan;
        if (m_scan == name || isDigit(at(name)))
            fail(QStringLiteral("a variable's name must follow '$'"), m_scanLine);
        m_token.kind = Token::Kind::Variable;
        m_token.text = m_source.mid(name, m_scan - name);
    } else if (mode == Mode::Argument && !endsWord(c)) {
        while (m_scan < m_source.size() && !endsWord(at(m_scan)))
            ++m_scan;
        m_token.kind = Token::Kind::Word;
        m_token.text = m_source.mid(m_token.begin, m_scan - m_token.begin);
    } else if (isNameStart(c)) {
        while (isNamePart(at(m_scan)))
            ++m_scan;
        m_token.kind = Token::Kind::Word;
        m_token.text = m_source.mid(m_token.begin, m_scan - m_token.begin);
    } else if (isDigit(c) || (c == QLatin1Char('.') && isDigit(at(m_scan + 1)))) {
        readNumber();
    } else {
        readSymbol();
    }
    m_token.end = m_scan;
    m_lineAfterToken = m_scanLine;
    m_mode = mode;
    m_peeked = true;
}

void Lexer::readString()
{
    m_token.kind = Token::Kind::String;
    for (++m_scan;; ++m_scan) {
        QChar c = at(m_scan);
        if (m_scan >= m_source.size() || c == QLatin1Char('\n'))
            fail(QStringLiteral("the text is not closed"), m_token.line);
        if (c == QLatin1Char('"'))
            break;
        if (c == QLatin1Char('\\')) {
            static const QString escapes = QStringLiteral("\\\"nrt");
            static const QString meanings = QStringLiteral("\\\"\n\r\t");
            const QChar escape = at(++m_scan);
            const int index = escapes.indexOf(escape);
            if (m_scan >= m_source.size() || escape == QLatin1Char('\n'))
                fail(QStringLiteral("the text is not closed"), m_token.line);
            if (index < 0)
                fail(QStringLiteral("a text cannot hold the escape '\\%1'").arg(escape), m_token.line);
            c = meanings.at(index);
        }
        m_token.text += c;
    }
    ++m_scan;
}

void Lexer::readNumber()
{
    m_token.kind = Token::Kind::Integer;
    const auto digits = [this] {
        while (isDigit(at(m_scan)))
            ++m_scan;
    };
    digits();
    if (at(m_scan) == QLatin1Char('.')) {
        m_token.kind = Token::Kind::Float;
        ++m_scan;
        digits();
    }
    if (at(m_scan).toLower() == QLatin1Char('e')) {
        const QChar sign = at(m_scan + 1);
        const int exponent = m_scan + (sign == QLatin1Char('-') || sign == QLatin1Char('+') ? 2 : 1);
        if (isDigit(at(exponent))) {
            m_token.kind = Token::Kind::Float;
            m_scan = exponent;
            digits();
        }
    }
    m_token.text = m_source.mid(m_token.begin, m_scan - m_token.begin);
    if (isNamePart(at(m_scan)))
        fail(QStringLiteral("'%1%2' is not a number").arg(m_token.text, at(m_scan)), m_scanLine);
}

void Lexer::readSymbol()
{
    static const QStringList pairs = {QStringLiteral("=="), QStringLiteral("!="), QStringLiteral("<="),
                                      QStringLiteral(">="), QStringLiteral("&&"), QStringLiteral("||"),
                                      QStringLiteral("++"), QStringLiteral("--"), QStringLiteral("+="),
                                      QStringLiteral("-="), QStringLiteral("*="), QStringLiteral("/=")};
    static const QString singles = QStringLiteral("+-*/%<>=!?:;,(){}[]`");
    m_token.kind = Token::Kind::Symbol;
    const QString pair = m_source.mid(m_scan, 2);
    if (pairs.contains(pair)) {
        m_token.text = pair;
    } else if (singles.contains(at(m_scan))) {
        m_token.text = at(m_scan);
    } else {
        const QChar c = at(m_scan);
        fail(c.isPrint() ? QStringLiteral("unexpected character '%1'").arg(c)
                         : QStringLiteral("unexpected character U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0')),
             m_scanLine);
    }
    m_scan += m_token.text.size();
}
