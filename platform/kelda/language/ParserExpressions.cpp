#include "language/Interpreter.h"
#include "language/Parser.h"

#include <algorithm>

namespace {

struct BinaryOperator
{
    const char *symbol;
    int level; ///< a higher level binds tighter
    Expression::Kind kind;
    Operator op;
};

constexpr BinaryOperator kBinaryOperators[] = {
    {"||", 1, Expression::Kind::Or, {}},
    {"&&", 2, Expression::Kind::And, {}},
    {"==", 3, Expression::Kind::Binary, Operator::Equal},
    {"!=", 3, Expression::Kind::Binary, Operator::NotEqual},
    {"<", 4, Expression::Kind::Binary, Operator::Less},
    {">", 4, Expression::Kind::Binary, Operator::Greater},
    {"<=", 4, Expression::Kind::Binary, Operator::LessEqual},
    {">=", 4, Expression::Kind::Binary, Operator::GreaterEqual},
    {"+", 5, Expression::Kind::Binary, Operator::Add},
    {"-", 5, Expression::Kind::Binary, Operator::Subtract},
    {"*", 6, Expression::Kind::Binary, Operator::Multiply},
    {"/", 6, Expression::Kind::Binary, Operator::Divide},
};

constexpr int kDeepestExpression = 400;

} // namespace

ExpressionPtr Parser::make(Expression::Kind kind, int line, std::vector<ExpressionPtr> operands) const
{
    auto made = std::make_unique<Expression>();
    made->kind = kind;
    made->line = line;
    for (const ExpressionPtr &operand : operands)
        made->depth = std::max(made->depth, operand->depth + 1);
    made->operands = std::move(operands);
    if (made->depth > kDeepestExpression)
        fail(QStringLiteral("the expression is too long"), line);
    return made;
}

ExpressionPtr Parser::make(Expression::Kind kind, int line, ExpressionPtr first, ExpressionPtr second) const
{
    std::vector<ExpressionPtr> operands;
    operands.push_back(std::move(first));
    if (second)
        operands.push_back(std::move(second));
    return make(kind, line, std::move(operands));
}

ExpressionPtr Parser::literal(const Value &value, int line) const
{
    ExpressionPtr made = make(Expression::Kind::Literal, line);
    made->literal = value;
    return made;
}

ExpressionPtr Parser::parseExpression()
{
    const Nesting nesting(*this, m_inBackquotes);
    ExpressionPtr left = parseBinary(1);
    const Token token = m_lexer.peek();
    if (!token.isSymbol("="))
        return left;
    if (left->kind != Expression::Kind::Variable && left->kind != Expression::Kind::Element)
        fail(QStringLiteral("only a variable can be assigned to"), token.line);
    m_lexer.take();
    return make(Expression::Kind::Assign, token.line, std::move(left), parseExpression());
}

ExpressionPtr Parser::parseBinary(int level)
{
    ExpressionPtr left = parseUnary();
    for (;;) {
        const Token token = m_lexer.peek();
        const auto found = std::find_if(std::begin(kBinaryOperators), std::end(kBinaryOperators),
                                        [&](const BinaryOperator &row) { return token.isSymbol(row.symbol); });
        if (found == std::end(kBinaryOperators) || found->level < level)
            return left;
        m_lexer.take();
        left = make(found->kind, token.line, std::move(left), parseBinary(found->level + 1));
        left->op = found->op;
    }
}

ExpressionPtr Parser::parseUnary()
{
    const Nesting nesting(*this, m_inBackquotes);
    const int line = m_lexer.peek().line;
    if (accept("-"))
        return make(Expression::Kind::Negate, line, parseUnary());
    if (accept("!"))
        return make(Expression::Kind::Not, line, parseUnary());
    return parsePrimary();
}

ExpressionPtr Parser::parsePrimary()
{
    const Token token = m_lexer.peek();
    if (token.kind == Token::Kind::Variable)
        return parseVariable();
    if (token.isSymbol("{"))
        return parseArrayLiteral();
    if (token.isSymbol("`") && !m_inBackquotes)
        return parseBackquoted();

    m_lexer.take();
    if (token.kind == Token::Kind::String)
        return literal(token.text, token.line);
    if (token.kind == Token::Kind::Integer) {
        bool ok = false;
        const qint64 number = token.text.toLongLong(&ok);
        if (!ok)
            fail(QStringLiteral("'%1' is not a valid integer").arg(token.text), token.line);
        return literal(number, token.line);
    }
    if (token.isSymbol("(")) {
        const Nesting nesting(*this, false);
        ExpressionPtr inner = parseExpression();
        expect(")");
        return inner;
    }
    if (token.isWord("catch"))
        return parseCatch(token.line);
    if (token.kind == Token::Kind::Word && m_lexer.peek().isSymbol("("))
        return parseFunctionCall(token);
    failAt(token);
}

ExpressionPtr Parser::parseVariable()
{
    const Token token = m_lexer.peek();
    const bool indexed = m_lexer.following() == QLatin1Char('[');
    m_lexer.take();
    ExpressionPtr made;
    if (indexed) {
        const Nesting nesting(*this, false);
        expect("[");
        made = make(Expression::Kind::Element, token.line, parseExpression());
        expect("]");
    } else {
        made = make(Expression::Kind::Variable, token.line);
    }
    made->name = token.text;
    return made;
}

void Parser::parseList(const char *close, std::vector<ExpressionPtr> &items)
{
    const Nesting nesting(*this, false);
    if (accept(close))
        return;
    do
        items.push_back(parseExpression());
    while (accept(","));
    expect(close);
}

ExpressionPtr Parser::parseArrayLiteral()
{
    const int line = m_lexer.take().line;
    std::vector<ExpressionPtr> items;
    parseList("}", items);
    return make(Expression::Kind::ArrayLiteral, line, std::move(items));
}

ExpressionPtr Parser::parseFunctionCall(const Token &name)
{
    m_lexer.take();
    std::vector<ExpressionPtr> arguments;
    parseList(")", arguments);
    ExpressionPtr made = make(Expression::Kind::Call, name.line, std::move(arguments));
    made->name = name.text;
    return made;
}

ExpressionPtr Parser::parseBackquoted()
{
    m_lexer.take();
    const Nesting nesting(*this, true);
    ExpressionPtr inner = parseCommandOrExpression();
    accept(";");
    expect("`");
    return inner;
}

ExpressionPtr Parser::parseCatch(int line)
{
    const Nesting nesting(*this, false);
    expect("(");
    ExpressionPtr inner = parseExpression();
    expect(")");
    return make(Expression::Kind::Catch, line, std::move(inner));
}

ExpressionPtr Parser::parseCommandOrExpression()
{
    const Token &token = m_lexer.peek();
    const bool isWord = token.kind == Token::Kind::Word && !token.isWord("catch");
    return isWord && m_lexer.following() != QLatin1Char('(') ? parseCommand() : parseExpression();
}

ExpressionPtr Parser::parseCommand()
{
    const Token name = m_lexer.take();
    std::vector<ExpressionPtr> arguments;
    for (;;) {
        const Token token = m_lexer.peek(Lexer::Mode::Argument);
        if (token.kind == Token::Kind::End || token.isSymbol(";") || token.isSymbol("}") ||
            (token.isSymbol("`") && m_inBackquotes))
            break;
        if (token.kind == Token::Kind::Variable) {
            arguments.push_back(parseVariable());
        } else if (token.isSymbol("{")) {
            arguments.push_back(parseArrayLiteral());
        } else if (token.isSymbol("`")) {
            arguments.push_back(parseBackquoted());
        } else if (token.isSymbol("(")) {
            m_lexer.take();
            parseList(")", arguments);
        } else if (token.kind == Token::Kind::Word || token.kind == Token::Kind::String) {
            m_lexer.take(Lexer::Mode::Argument);
            arguments.push_back(literal(token.text, token.line));
        } else {
            failAt(token);
        }
    }
    ExpressionPtr made = make(Expression::Kind::Call, name.line, std::move(arguments));
    made->name = name.text;
    return made;
}
