// language/Parser.h
//
// Recursive-descent parser of the command language.

#pragma once

#include "language/Ast.h"
#include "language/Lexer.h"

class Parser
{
public:
    /// \p file is for error messages; empty means typed text.
    Parser(const QString &source, const QString &file);

    /// The statements of the whole text. Throws ScriptError at the first thing that is wrong, and for nesting so deep
    /// that it would endanger the stack. To be called once.
    StatementList parse();

private:
    /// Counts one level of nesting for its lifetime and says whether a backquote closes a command inside it.
    class Nesting;

    [[noreturn]] void fail(const QString &reason, int line) const;
    [[noreturn]] void failAt(const Token &token) const;
    void expect(const char *symbol);
    bool accept(const char *symbol);
    void endStatement();

    StatementPtr parseStatement();
    StatementPtr parseIf();
    StatementPtr parseWhile();
    StatementPtr parseFor();
    StatementPtr parseReturn();
    StatementPtr parseJump(Statement::Kind kind);
    StatementPtr parseDeclaration(bool global);
    StatementPtr parseDeclaredNames();
    StatementPtr parseProcedure();
    StatementPtr parseSimple();
    void parseParameters(Procedure &procedure);
    Declaration parseDeclaredName(DeclaredType type, int line);
    DeclaredType parseType();
    StatementList parseBody();
    StatementList parseLoopBody();
    StatementList parseBraces();

    ExpressionPtr parseCondition();
    ExpressionPtr parseCommandOrExpression();
    ExpressionPtr parseExpression();
    ExpressionPtr parseConditional();
    ExpressionPtr parseBinary(int level);
    ExpressionPtr parseUnary();
    ExpressionPtr parsePrimary();
    ExpressionPtr parseNumber(const Token &token);
    ExpressionPtr parseVariable();
    ExpressionPtr parseArrayLiteral();
    ExpressionPtr parseFunctionCall(const Token &name);
    ExpressionPtr parseBackquoted();
    ExpressionPtr parseCatch(int line);
    ExpressionPtr parseCommand();
    void parseList(const char *close, std::vector<ExpressionPtr> &items);
    ExpressionPtr make(Expression::Kind kind, int line, std::vector<ExpressionPtr> operands) const;
    ExpressionPtr make(Expression::Kind kind, int line, ExpressionPtr first, ExpressionPtr second = nullptr) const;
    ExpressionPtr literal(const Value &value, int line) const;

    QString m_source;
    QString m_file;
    Lexer m_lexer;
    int m_nesting = 0;
    int m_loops = 0;
    bool m_inBackquote = false;
    const Procedure *m_procedure = nullptr; ///< the one whose body is being read
};
