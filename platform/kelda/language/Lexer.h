// language/Lexer.h
//
// Splits source text into tokens. The parser requests each token with a mode, because the same characters form other
// tokens in an expression than in the bare words of a command.

#pragma once

#include <QString>

struct Token
{
    enum class Kind { End, Word, Variable, Integer, String, Symbol };

    Kind kind = Kind::End;
    QString text; ///< the characters of a word or symbol, a variable's name without "$", a string's unescaped content
    int line = 0;
    int end = 0; ///< offset of the first character after the token

    bool isSymbol(const char *symbol) const { return kind == Kind::Symbol && text == QLatin1String(symbol); }
    bool isWord(const char *word) const { return kind == Kind::Word && text == QLatin1String(word); }
};

class Lexer
{
public:
    enum class Mode { Expression, Argument };

    /// \p file is for error messages. Both must outlive the lexer.
    Lexer(const QString &source, const QString &file) : m_source(source), m_file(file) {}

    /// Returns the next token without consuming it. Throws ScriptError for an invalid one.
    const Token &peek(Mode mode = Mode::Expression);
    /// Consumes the next token.
    Token take(Mode mode = Mode::Expression);
    /// Returns the character that directly follows the token of the last peek(); null at the end.
    QChar following() const { return at(m_token.end); }

private:
    QChar at(int offset) const { return offset < m_source.size() ? m_source.at(offset) : QChar(); }
    [[noreturn]] void fail(const QString &reason) const;
    void skipBlanks();
    void read(Mode mode);
    void readString();
    void readSymbol();
    template <typename Belongs>
    void readWhile(Token::Kind kind, Belongs belongs);

    const QString &m_source;
    const QString &m_file;
    int m_offset = 0; ///< after the last token consumed
    int m_line = 1;
    Token m_token; ///< valid if m_peeked
    Mode m_mode = Mode::Expression;
    bool m_peeked = false;
    int m_scan = 0;
};
