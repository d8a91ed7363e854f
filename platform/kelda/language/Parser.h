// language/Parser.h
//
// Recursive-descent parser of the command language. Statements are in Parser.cpp, expressions in ParserExpressions.cpp.

#pragma once

#include "language/Ast.h"
#include "language/Lexer.h"

class Parser
{
public:
    /// \p file is for error messages; empty means typed text.
    Parser(const QString &source, const QString &file);

    /// Parses the whole text. Throws ScriptError for the first error and for nesting that would overflow the stack.
    /// Call once.
    StatementList parse();

private:
    /// Counts one level of nesting during its lifetime.
    class Nesting
    {
    public:
        /// If \p inBackquotes is true, a backquote ends a command in this level. Throws ScriptError beyond the deepest
        /// level.
        Nesting(Parser &parser, bool inBackquotes);
        ~Nesting();
        Nesting(const Nesting &) = delete;
        Nesting &operator=(const Nesting &) = delete;

    private:
        Parser &m_parser;
        bool m_outerBackquotes;
    };

    [[noreturn]] void fail(const QString &reason, int line) const;
    [[noreturn]] void failAt(const Token &token) const;
    void expect(const char *symbol);
    bool accept(const char *symbol);
    QString expectVariable();
    void endStatement();

    StatementPtr parseStatement();
    StatementPtr parseIf();
    StatementPtr parseFor();
    StatementPtr parseReturn();
    StatementPtr parseJump(Statement::Kind kind);
    StatementPtr parseDeclaration();
    StatementPtr parseProcedure();
    StatementPtr parseSimple();
    DeclaredType parseType();
    StatementList parseBody();
    StatementList parseBraces();

    ExpressionPtr parseCommandOrExpression();
    ExpressionPtr parseExpression();
    ExpressionPtr parseBinary(int level);
    ExpressionPtr parseUnary();
    ExpressionPtr parsePrimary();
    ExpressionPtr parseVariable();
    ExpressionPtr parseArrayLiteral();
    ExpressionPtr parseFunctionCall(const Token &name);
    ExpressionPtr parseBackquoted();
    ExpressionPtr parseCatch(int line);
    ExpressionPtr parseCommand();
    void parseList(const char *close, std::vector<ExpressionPtr> &items);
    ExpressionPtr make(Expression::Kind kind, int line, std::vector<ExpressionPtr> operands = {}) const;
    ExpressionPtr make(Expression::Kind kind, int line, ExpressionPtr first, ExpressionPtr second = nullptr) const;
    ExpressionPtr literal(const Value &value, int line) const;

    QString m_source;
    QString m_file;
    Lexer m_lexer;
    int m_nesting = 0;
    int m_loops = 0;
    bool m_inBackquotes = false;
    const Procedure *m_procedure = nullptr; ///< the procedure whose body is being parsed
};
