#include "language/Parser.h"

#include "language/Interpreter.h"

namespace {

constexpr int kDeepestNesting = 150;

StatementPtr statement(Statement::Kind kind, int line)
{
    auto made = std::make_unique<Statement>();
    made->kind = kind;
    made->line = line;
    return made;
}

} // namespace

Parser::Parser(const QString &source, const QString &file) : m_source(source), m_file(file), m_lexer(m_source, m_file)
{}

Parser::Nesting::Nesting(Parser &parser, bool inBackquotes) : m_parser(parser), m_outerBackquotes(parser.m_inBackquotes)
{
    if (m_parser.m_nesting >= kDeepestNesting)
        m_parser.fail(QStringLiteral("the text is nested too deeply"), m_parser.m_lexer.peek().line);
    ++m_parser.m_nesting;
    m_parser.m_inBackquotes = inBackquotes;
}

Parser::Nesting::~Nesting()
{
    --m_parser.m_nesting;
    m_parser.m_inBackquotes = m_outerBackquotes;
}

StatementList Parser::parse()
{
    StatementList statements;
    while (m_lexer.peek().kind != Token::Kind::End) {
        if (!accept(";"))
            statements.push_back(parseStatement());
    }
    return statements;
}

void Parser::fail(const QString &reason, int line) const
{
    throw ScriptError(reason, {m_file, line});
}

void Parser::failAt(const Token &token) const
{
    if (token.kind == Token::Kind::End)
        fail(QStringLiteral("unexpected end of the text"), token.line);
    const QString sign = token.kind == Token::Kind::Variable ? QStringLiteral("$") : QString();
    fail(QStringLiteral("unexpected '%1'").arg(sign + token.text), token.line);
}

bool Parser::accept(const char *symbol)
{
    if (!m_lexer.peek().isSymbol(symbol))
        return false;
    m_lexer.take();
    return true;
}

void Parser::expect(const char *symbol)
{
    const Token &token = m_lexer.peek();
    if (token.kind == Token::Kind::End)
        fail(QStringLiteral("'%1' is missing at the end of the text").arg(QLatin1String(symbol)), token.line);
    if (!accept(symbol))
        failAt(token);
}

QString Parser::expectVariable()
{
    const Token &token = m_lexer.peek();
    if (token.kind != Token::Kind::Variable)
        failAt(token);
    return m_lexer.take().text;
}

void Parser::endStatement()
{
    const Token &token = m_lexer.peek();
    if (token.kind != Token::Kind::End && !token.isSymbol("}"))
        expect(";");
}

StatementPtr Parser::parseStatement()
{
    const Nesting nesting(*this, false);
    const Token token = m_lexer.peek();
    if (token.isWord("if"))
        return parseIf();
    if (token.isWord("for"))
        return parseFor();
    if (token.isWord("return"))
        return parseReturn();
    if (token.isWord("break"))
        return parseJump(Statement::Kind::Break);
    if (token.isWord("continue"))
        return parseJump(Statement::Kind::Continue);
    if (token.isWord("else") || token.isWord("in"))
        failAt(token);
    if (token.isWord("proc") || token.isWord("global"))
        return parseProcedure();
    return token.isWord("string") ? parseDeclaration() : parseSimple();
}

StatementList Parser::parseBraces()
{
    StatementList statements;
    expect("{");
    while (!accept("}")) {
        if (m_lexer.peek().kind == Token::Kind::End)
            expect("}");
        if (!accept(";"))
            statements.push_back(parseStatement());
    }
    return statements;
}

StatementList Parser::parseBody()
{
    if (m_lexer.peek().isSymbol("{"))
        return parseBraces();
    StatementList single;
    if (!accept(";"))
        single.push_back(parseStatement());
    return single;
}

StatementPtr Parser::parseIf()
{
    StatementPtr made = statement(Statement::Kind::If, m_lexer.take().line);
    expect("(");
    made->expression = parseExpression();
    expect(")");
    made->body = parseBody();
    if (m_lexer.peek().isWord("else")) {
        m_lexer.take();
        made->otherwise = parseBody();
    }
    return made;
}

StatementPtr Parser::parseFor()
{
    StatementPtr made = statement(Statement::Kind::ForEach, m_lexer.take().line);
    expect("(");
    made->declaration.name = expectVariable();
    if (!m_lexer.peek().isWord("in"))
        failAt(m_lexer.peek());
    m_lexer.take();
    made->expression = parseExpression();
    expect(")");
    ++m_loops;
    made->body = parseBody();
    --m_loops;
    return made;
}

StatementPtr Parser::parseReturn()
{
    const Token token = m_lexer.take();
    StatementPtr made = statement(Statement::Kind::Return, token.line);
    const Token &next = m_lexer.peek();
    if (next.kind != Token::Kind::End && !next.isSymbol(";") && !next.isSymbol("}"))
        made->expression = parseExpression();
    if (m_procedure && m_procedure->result == DeclaredType::Any && made->expression)
        fail(QStringLiteral("%1 is declared without a result").arg(m_procedure->name), token.line);
    if (m_procedure && m_procedure->result != DeclaredType::Any && !made->expression)
        fail(QStringLiteral("%1 must return a result").arg(m_procedure->name), token.line);
    endStatement();
    return made;
}

StatementPtr Parser::parseJump(Statement::Kind kind)
{
    const Token token = m_lexer.take();
    if (m_loops == 0)
        fail(QStringLiteral("'%1' outside a loop").arg(token.text), token.line);
    endStatement();
    return statement(kind, token.line);
}

DeclaredType Parser::parseType()
{
    const Token token = m_lexer.take();
    if (!token.isWord("string"))
        failAt(token);
    if (!accept("["))
        return DeclaredType::String;
    expect("]");
    return DeclaredType::StringArray;
}

StatementPtr Parser::parseDeclaration()
{
    StatementPtr made = statement(Statement::Kind::Declare, m_lexer.peek().line);
    made->declaration.type = parseType();
    made->declaration.name = expectVariable();
    if (accept("="))
        made->expression = parseExpression();
    endStatement();
    return made;
}

StatementPtr Parser::parseProcedure()
{
    const int line = m_lexer.peek().line;
    if (m_lexer.peek().isWord("global")) // every procedure is global
        m_lexer.take();
    const Token keyword = m_lexer.take();
    if (!keyword.isWord("proc"))
        failAt(keyword);
    if (m_nesting > 1)
        fail(QStringLiteral("a procedure inside a block"), line);
    const auto procedure = std::make_shared<Procedure>();
    if (m_lexer.peek().isWord("string"))
        procedure->result = parseType();
    const Token name = m_lexer.take();
    if (name.kind != Token::Kind::Word)
        failAt(name);
    procedure->name = name.text;
    procedure->file = m_file;
    expect("(");
    if (!accept(")")) {
        do {
            const DeclaredType type = parseType();
            procedure->parameters.push_back({expectVariable(), type});
        } while (accept(","));
        expect(")");
    }
    m_procedure = procedure.get();
    procedure->body = parseBraces();
    m_procedure = nullptr;

    StatementPtr made = statement(Statement::Kind::Procedure, line);
    made->procedure = procedure;
    return made;
}

StatementPtr Parser::parseSimple()
{
    StatementPtr made = statement(Statement::Kind::Expression, m_lexer.peek().line);
    made->expression = parseCommandOrExpression();
    endStatement();
    return made;
}
