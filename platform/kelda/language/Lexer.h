// language/Lexer.h
//
// Splits source text into tokens, on demand: what a run of characters is depends on whether the parser reads an
// expression or the bare words of a command.

#pragma once

#include <QString>

struct Token
{
    enum class Kind { End, Word, Variable, Integer, Float, String, Symbol };

    Kind kind = Kind::End;
    QString text; ///< a word's or symbol's characters, a variable's name without "$", a string's unescaped content
    int line = 0;
    int begin = 0; ///< offset of its first character in the source
    int end = 0;   ///< offset behind its last one

    bool isSymbol(const char *symbol) const { return kind == Kind::Symbol && text == QLatin1String(symbol); }
    bool isWord(const char *word) const { return kind == Kind::Word && text == QLatin1String(word); }
};

class Lexer
{
public:
    enum class Mode { Expression, Argument };

    /// \p file is for error messages only. Both texts must outlive the lexer.
    Lexer(const QString &source, const QString &file);

    /// The next token without taking it. Throws ScriptError for what is no token.
    const Token &peek(Mode mode = Mode::Expression);
    /// Takes the token that peek() showed last, or the next one.
    Token take(Mode mode = Mode::Expression);
    /// The character that directly follows the token peek() showed; null at the end.
    QChar following() const { return at(m_token.end); }

private:
    QChar at(int offset) const { return offset < m_source.size() ? m_source.at(offset) : QChar(); }
    [[noreturn]] void fail(const QString &reason, int line) const;
    void skipBlanks();
    void read(Mode mode);
    void readString();
    void readNumber();
    void readSymbol();

    const QString &m_source;
    const QString &m_file;
    int m_offset = 0; ///< behind the last token taken
    int m_line = 1;
    Token m_token; ///< valid when m_peeked
    Mode m_mode = Mode::Expression;
    int m_lineAfterToken = 1;
    bool m_peeked = false;
    int m_scan = 0;
    int m_scanLine = 1;
};
