// language/Evaluator.h
//
// Runs parsed statements with the variables of one procedure call, or with the global variables.

#pragma once

#include "language/Ast.h"
#include "language/Interpreter.h"

class Evaluator
{
public:
    enum class Flow { Next, Break, Continue, Return };

    /// All three must outlive the evaluator. \p file is for error messages.
    Evaluator(Interpreter &interpreter, Variables &variables, const QString &file)
        : m_interpreter(interpreter), m_variables(variables), m_file(file)
    {}

    /// Throws ScriptError.
    Flow run(const StatementList &block);
    /// Returns the value of the last expression statement or of "return".
    const Value &result() const { return m_result; }

private:
    Flow run(const Statement &statement);
    Flow runLoop(const Statement &statement);
    void define(const std::shared_ptr<const Procedure> &procedure);

    Value evaluate(const Expression &expression);
    Value evaluateCall(const Expression &expression);
    Value evaluateCatch(const Expression &expression);
    Value evaluateAssignment(const Expression &expression);
    int index(const Expression &element);
    QStringList &arrayNamed(const QString &name);

    Interpreter &m_interpreter;
    Variables &m_variables;
    const QString &m_file;
    Value m_result;
};
