#include "language/Interpreter.h"
#include "language/Parser.h"
#include "language/ParserNesting.h"

#include <algorithm>

namespace {

struct BinaryOperator
{
    const char *symbol;
    int level; ///< binds the tighter the higher it is
    Expression::Kind kind;
    Operator op;
};

constexpr BinaryOperator binaryOperators[] = {
    {"||", 1, Expression::Kind::Or, Operator::None},
    {"&&", 2, Expression::Kind::And, Operator::None},
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
    {"%", 6, Expression::Kind::Binary, Operator::Remainder},
};

struct AssignOperator
{
    const char *symbol;
    Operator op;
};

constexpr AssignOperator assignOperators[] = {{"=", Operator::None},
                                              {"+=", Operator::Add},
                                              {"-=", Operator::Subtract},
                                              {"*=", Operator::Multiply},
                                              {"/=", Operator::Divide}};

template <typename Table>
const auto *findSymbol(const Table &table, const Token &token)
{
    const auto found = std::find_if(std::begin(table), std::end(table),
                                    [&token](const auto &row) { return token.isSymbol(row.symbol); });
    return found == std::end(table) ? nullptr : &*found;
}

bool isTarget(const Expression &expression)
{
    return expression.kind == Expression::Kind::Variable || expression.kind == Expression::Kind::Element;
}

/// The value of a word that stands for a truth value; nothing for any other word.
Value constant(const QString &word)
{
    if (word == QLatin1String("true") || word == QLatin1String("on"))
        return Value(true);
    return word == QLatin1String("false") || word == QLatin1String("off") ? Value(false) : Value();
}

constexpr int deepestExpression = 400;

} // namespace

ExpressionPtr Parser::make(Expression::Kind kind, int line, std::vector<ExpressionPtr> operands) const
{
    auto made = std::make_unique<Expression>();
    made->kind = kind;
    made->line = line;
    for (const ExpressionPtr &operand : operands)
        made->depth = std::max(made->depth, operand->depth + 1);
    made->operands = std::move(operands);
    if (made->depth > deepestExpression)
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
    ExpressionPtr made = make(Expression::Kind::Literal, line, std::vector<ExpressionPtr>());
    made->literal = value;
    return made;
}

ExpressionPtr Parser::parseExpression()
{
    const Nesting nesting(*this, m_lexer.peek().line, m_inBackquote);
    ExpressionPtr left = parseConditional();
    const Token token = m_lexer.peek();
    const AssignOperator *assign = findSymbol(assignOperators, token);
    if (!assign)
        return left;
    if (!isTarget(*left))
        fail(QStringLiteral("only a variable can be assigned to"), token.line);
    m_lexer.take();
    ExpressionPtr made = make(Expression::Kind::Assign, token.line, std::move(left), parseExpression());
    made->op = assign->op;
    return made;
}

ExpressionPtr Parser::parseConditional()
{
    ExpressionPtr condition = parseBinary(1);
    const int line = m_lexer.peek().line;
    if (!accept("?"))
        return condition;
    std::vector<ExpressionPtr> operands;
    operands.push_back(std::move(condition));
    operands.push_back(parseExpression());
    expect(":");
    operands.push_back(parseExpression());
    return make(Expression::Kind::Conditional, line, std::move(operands));
}

ExpressionPtr Parser::parseBinary(int level)
{
    ExpressionPtr left = parseUnary();
    for (;;) {
        const Token token = m_lexer.peek();
        const BinaryOperator *found = findSymbol(binaryOperators, token);
        if (!found || found->level < level)
            return left;
        m_lexer.take();
        left = make(found->kind, token.line, std::move(left), parseBinary(found->level + 1));
        left->op = found->op;
    }
}

ExpressionPtr Parser::parseUnary()
{
    const Token token = m_lexer.peek();
    const Nesting nesting(*this, token.line, m_inBackquote);
    if (accept("-"))
        return make(Expression::Kind::Negate, token.line, parseUnary());
    if (accept("!"))
        return make(Expression::Kind::Not, token.line, parseUnary());
    if (token.isSymbol("++") || token.isSymbol("--")) {
        m_lexer.take();
        ExpressionPtr target = parseUnary();
        if (!isTarget(*target))
            fail(QStringLiteral("only a variable can be counted"), token.line);
        ExpressionPtr made = make(Expression::Kind::Assign, token.line, std::move(target), literal(1, token.line));
        made->op = token.isSymbol("++") ? Operator::Add : Operator::Subtract;
        return made;
    }
    return parsePrimary();
}

ExpressionPtr Parser::parsePrimary()
{
    const Token token = m_lexer.peek();
    if (token.kind == Token::Kind::Variable) {
        ExpressionPtr variable = parseVariable();
        const Token step = m_lexer.peek();
        if (!step.isSymbol("++") && !step.isSymbol("--"))
            return variable;
        m_lexer.take();
        return make(Expression::Kind::PostStep, step.line, std::move(variable),
                    literal(step.isSymbol("++") ? 1 : -1, step.line));
    }
    if (token.isSymbol("{"))
        return parseArrayLiteral();
    if (token.isSymbol("`") && !m_inBackquote)
        return parseBackquoted();

    m_lexer.take();
    if (token.kind == Token::Kind::String)
        return literal(token.text, token.line);
    if (token.kind == Token::Kind::Integer || token.kind == Token::Kind::Float)
        return parseNumber(token);
    if (token.isSymbol("(")) {
        const Nesting nesting(*this, token.line, false);
        ExpressionPtr inner = parseExpression();
        expect(")");
        return inner;
    }
    if (token.isWord("catch"))
        return parseCatch(token.line);
    if (token.kind == Token::Kind::Word && m_lexer.peek().isSymbol("("))
        return parseFunctionCall(token);
    if (token.kind == Token::Kind::Word && !constant(token.text).isNone())
        return literal(constant(token.text), token.line);
    failAt(token);
}

ExpressionPtr Parser::parseNumber(const Token &token)
{
    bool ok = false;
    const Value value =
        token.kind == Token::Kind::Integer ? Value(token.text.toLongLong(&ok)) : Value(token.text.toDouble(&ok));
    if (!ok)
        fail(QStringLiteral("the number %1 is too large").arg(token.text), token.line);
    return literal(value, token.line);
}

ExpressionPtr Parser::parseVariable()
{
    const Token token = m_lexer.peek(Lexer::Mode::Expression);
    const bool indexed = m_lexer.following() == QLatin1Char('[');
    m_lexer.take();
    ExpressionPtr made;
    if (indexed) {
        const Nesting nesting(*this, token.line, false);
        expect("[");
        made = make(Expression::Kind::Element, token.line, parseExpression());
        expect("]");
    } else {
        made = make(Expression::Kind::Variable, token.line, std::vector<ExpressionPtr>());
    }
    made->name = token.text;
    return made;
}

void Parser::parseList(const char *close, std::vector<ExpressionPtr> &items)
{
    const Nesting nesting(*this, m_lexer.peek().line, false);
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
    const int line = m_lexer.take().line;
    const Nesting nesting(*this, line, true);
    ExpressionPtr inner = parseCommandOrExpression();
    accept(";");
    expect("`");
    return inner;
}

ExpressionPtr Parser::parseCatch(int line)
{
    const Token token = m_lexer.peek();
    if (token.isSymbol("`") && !m_inBackquote)
        return make(Expression::Kind::Catch, line, parseBackquoted());
    expect("(");
    const Nesting nesting(*this, line, false);
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
            (token.isSymbol("`") && m_inBackquote))
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
