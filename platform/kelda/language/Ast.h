// language/Ast.h
//
// The syntax tree that the parser builds and the evaluator runs.

#pragma once

#include "language/Value.h"

#include <QString>

#include <memory>
#include <vector>

enum class Operator { Add, Subtract, Multiply, Divide, Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual };

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

struct Expression
{
    enum class Kind {
        Literal,
        Variable,
        Element, ///< name[operands[0]]
        ArrayLiteral,
        Negate,
        Not,
        Binary, ///< operands[0] op operands[1]
        And,
        Or,
        Assign, ///< operands[0] = operands[1]; the target is a Variable or an Element
        Call,   ///< name with operands as arguments
        Catch   ///< 1 if the evaluation of operands[0] fails, otherwise 0
    };

    Kind kind = Kind::Literal;
    Operator op = Operator::Add; ///< for Kind::Binary
    int line = 0;
    int depth = 1; ///< levels of expressions including this one
    QString name;
    Value literal;
    std::vector<ExpressionPtr> operands;
};

struct Procedure;
struct Statement;
using StatementPtr = std::unique_ptr<Statement>;
using StatementList = std::vector<StatementPtr>;

struct Declaration
{
    QString name;
    DeclaredType type = DeclaredType::Any;
};

struct Statement
{
    enum class Kind { Expression, Declare, If, ForEach, Break, Continue, Return, Procedure };

    Kind kind = Kind::Expression;
    int line = 0;
    Declaration declaration;  ///< Declare: the variable; ForEach: its name only
    ExpressionPtr expression; ///< the expression, first value, condition, array or result; may be null
    StatementList body;
    StatementList otherwise; ///< If
    std::shared_ptr<const Procedure> procedure;
};

struct Procedure
{
    QString name;
    QString file;                            ///< for error messages
    DeclaredType result = DeclaredType::Any; ///< Any: without a result
    std::vector<Declaration> parameters;
    StatementList body;
};
