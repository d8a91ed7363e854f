#include "language/Parser.h"

#include "language/Interpreter.h"
#include "language/ParserNesting.h"

namespace {

StatementPtr statement(Statement::Kind kind, int line)
{
    auto made = std::make_unique<Statement>();
    made->kind = kind;
    made->line = line;
    return made;
}

bool isType(const Token &token)
{
    return token.isWord("int") || token.isWord("float") || token.isWord("string");
}

} // namespace

Parser::Parser(const QString &source, const QString &file) : m_source(source), m_file(file), m_lexer(m_source, m_file)
{}

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
    switch (token.kind) {
    case Token::Kind::End:
        fail(QStringLiteral("unexpected end of the text"), token.line);
    case Token::Kind::String:
        fail(QStringLiteral("unexpected text \"%1\"").arg(token.text), token.line);
    case Token::Kind::Variable:
        fail(QStringLiteral("unexpected '$%1'").arg(token.text), token.line);
    default:
        fail(QStringLiteral("unexpected '%1'").arg(token.text), token.line);
    }
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

void Parser::endStatement()
{
    const Token &token = m_lexer.peek();
    if (token.kind != Token::Kind::End && !token.isSymbol("}"))
        expect(";");
}

StatementPtr Parser::parseStatement()
{
    const Token token = m_lexer.peek();
    const Nesting nesting(*this, token.line, false);
    if (token.isSymbol("{")) {
        StatementPtr block = statement(Statement::Kind::Block, token.line);
        block->body = parseBraces();
        return block;
    }
    if (token.isWord("if"))
        return parseIf();
    if (token.isWord("while"))
        return parseWhile();
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
    if (token.isWord("proc"))
        return parseProcedure();
    if (token.isWord("global")) {
        m_lexer.take();
        return m_lexer.peek().isWord("proc") ? parseProcedure() : parseDeclaration(true);
    }
    return isType(token) ? parseDeclaration(false) : parseSimple();
}

StatementList Parser::parseBraces()
{
    StatementList statements;
    expect("{");
    while (!accept("}")) {
        const Token &token = m_lexer.peek();
        if (token.kind == Token::Kind::End)
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

StatementList Parser::parseLoopBody()
{
    ++m_loops;
    StatementList body = parseBody();
    --m_loops;
    return body;
}

ExpressionPtr Parser::parseCondition()
{
    expect("(");
    ExpressionPtr condition = parseExpression();
    expect(")");
    return condition;
}

StatementPtr Parser::parseIf()
{
    StatementPtr made = statement(Statement::Kind::If, m_lexer.take().line);
    made->expression = parseCondition();
    made->body = parseBody();
    if (m_lexer.peek().isWord("else")) {
        m_lexer.take();
        made->otherwise = parseBody();
    }
    return made;
}

StatementPtr Parser::parseWhile()
{
    StatementPtr made = statement(Statement::Kind::While, m_lexer.take().line);
    made->expression = parseCondition();
    made->body = parseLoopBody();
    return made;
}

StatementPtr Parser::parseFor()
{
    StatementPtr made = statement(Statement::Kind::For, m_lexer.take().line);
    expect("(");
    if (isType(m_lexer.peek())) {
        made->first.push_back(parseDeclaredNames());
    } else if (!m_lexer.peek().isSymbol(";")) {
        do {
            StatementPtr first = statement(Statement::Kind::Expression, m_lexer.peek().line);
            first->expression = parseExpression();
            made->first.push_back(std::move(first));
        } while (accept(","));
    }

    if (m_lexer.peek().isWord("in") && made->first.size() == 1) {
        const Statement &first = *made->first.front();
        const bool declared = first.kind == Statement::Kind::Declare;
        if (declared ? first.declarations.size() != 1 || first.declarations.front().value
                     : first.expression->kind != Expression::Kind::Variable)
            failAt(m_lexer.peek());
        made->kind = Statement::Kind::ForEach;
        made->name = declared ? first.declarations.front().name : first.expression->name;
        if (!declared)
            made->first.clear();
        m_lexer.take();
        made->expression = parseExpression();
    } else {
        expect(";");
        if (!m_lexer.peek().isSymbol(";"))
            made->expression = parseExpression();
        expect(";");
        if (!m_lexer.peek().isSymbol(")")) {
            do
                made->steps.push_back(parseExpression());
            while (accept(","));
        }
    }
    expect(")");
    made->body = parseLoopBody();
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
        fail(QStringLiteral("'%1' stands outside a loop").arg(token.text), token.line);
    endStatement();
    return statement(kind, token.line);
}

DeclaredType Parser::parseType()
{
    const Token token = m_lexer.peek();
    if (!isType(token))
        failAt(token);
    m_lexer.take();
    if (token.isWord("string") && accept("[")) {
        expect("]");
        return DeclaredType::StringArray;
    }
    return token.isWord("string") ? DeclaredType::String
           : token.isWord("int")  ? DeclaredType::Int
                                  : DeclaredType::Float;
}

Declaration Parser::parseDeclaredName(DeclaredType type, int line)
{
    const Token token = m_lexer.peek();
    if (token.kind != Token::Kind::Variable)
        failAt(token);
    m_lexer.take();
    Declaration made;
    made.name = token.text;
    made.type = type;
    if (accept("[")) {
        if (m_lexer.peek().kind == Token::Kind::Integer)
            m_lexer.take(); // a size, which arrays do not need
        expect("]");
        if (type != DeclaredType::String)
            fail(QStringLiteral("only texts can form an array"), line);
        made.type = DeclaredType::StringArray;
    }
    if (accept("="))
        made.value = parseExpression();
    return made;
}

StatementPtr Parser::parseDeclaredNames()
{
    const int line = m_lexer.peek().line;
    StatementPtr made = statement(Statement::Kind::Declare, line);
    const DeclaredType type = parseType();
    do
        made->declarations.push_back(parseDeclaredName(type, line));
    while (accept(","));
    return made;
}

StatementPtr Parser::parseDeclaration(bool global)
{
    StatementPtr made = parseDeclaredNames();
    made->global = global;
    endStatement();
    return made;
}

void Parser::parseParameters(Procedure &procedure)
{
    expect("(");
    if (accept(")"))
        return;
    do {
        const int line = m_lexer.peek().line;
        Declaration parameter = parseDeclaredName(parseType(), line);
        if (parameter.value)
            fail(QStringLiteral("a parameter cannot have a default"), line);
        procedure.parameters.push_back(std::move(parameter));
    } while (accept(","));
    expect(")");
}

StatementPtr Parser::parseProcedure()
{
    const Token start = m_lexer.take();
    if (m_nesting > 1)
        fail(QStringLiteral("a procedure cannot stand inside a block"), start.line);
    const auto procedure = std::make_shared<Procedure>();
    if (isType(m_lexer.peek()))
        procedure->result = parseType();
    const Token name = m_lexer.peek();
    if (name.kind != Token::Kind::Word)
        failAt(name);
    m_lexer.take();
    procedure->name = name.text;
    procedure->file = m_file;
    // "string Name[](...)" is the other way to write an array result.
    if (procedure->result == DeclaredType::String && accept("[")) {
        expect("]");
        procedure->result = DeclaredType::StringArray;
    }
    parseParameters(*procedure);
    m_procedure = procedure.get();
    procedure->body = parseBraces();
    m_procedure = nullptr;

    StatementPtr made = statement(Statement::Kind::Procedure, start.line);
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
