// language/Ast.h
//
// What the parser makes of source text and the evaluator walks over.

#pragma once

#include "language/Value.h"

#include <QString>

#include <memory>
#include <vector>

/// What a variable, parameter or result is declared to be.
enum class DeclaredType { Any, Int, Float, String, StringArray };

enum class Operator {
    None,
    Add,
    Subtract,
    Multiply,
    Divide,
    Remainder,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessEqual,
    GreaterEqual
};

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
        Conditional, ///< operands[0] ? operands[1] : operands[2]
        Assign,      ///< operands[0] (op)= operands[1]; the target is a Variable or an Element
        Catch,       ///< 1 if evaluating operands[0] fails, else 0
        PostStep,    ///< adds operands[1] to operands[0]; the value is the one before
        Call         ///< name with operands as arguments
    };

    Kind kind = Kind::Literal;
    Operator op = Operator::None;
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

/// A declared name with its first value, which may be missing.
struct Declaration
{
    QString name;
    DeclaredType type = DeclaredType::Any;
    ExpressionPtr value;
};

struct Statement
{
    enum class Kind { Expression, Declare, If, While, For, ForEach, Break, Continue, Return, Block, Procedure };

    Kind kind = Kind::Block;
    int line = 0;
    bool global = false;                   ///< Declare: binds to the global variables
    QString name;                          ///< ForEach: the variable
    ExpressionPtr expression;              ///< the expression, condition, array or result; may be null
    std::vector<ExpressionPtr> steps;      ///< For: evaluated after each round
    std::vector<Declaration> declarations; ///< Declare
    StatementList first;                   ///< For: run once before
    StatementList body;
    StatementList otherwise; ///< If
    std::shared_ptr<const Procedure> procedure;
};

struct Procedure
{
    QString name;
    QString file;                            ///< for error messages
    DeclaredType result = DeclaredType::Any; ///< Any: it has no result
    std::vector<Declaration> parameters;
    StatementList body;
};
