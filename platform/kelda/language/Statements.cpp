#include "language/InterpreterPrivate.h"
#include "language/Operators.h"

Evaluator::Flow Evaluator::run(const StatementList &block)
{
    for (const StatementPtr &statement : block) {
        const Flow flow = run(*statement);
        if (flow != Flow::Next)
            return flow;
    }
    return Flow::Next;
}

Evaluator::Flow Evaluator::run(const Statement &statement)
{
    m_state.step(at(statement.line));
    switch (statement.kind) {
    case Statement::Kind::Expression:
        m_result = evaluate(*statement.expression);
        return Flow::Next;
    case Statement::Kind::Declare:
        declare(statement);
        return Flow::Next;
    case Statement::Kind::If:
        return run(condition(statement.expression) ? statement.body : statement.otherwise);
    case Statement::Kind::While:
    case Statement::Kind::For:
        return runLoop(statement);
    case Statement::Kind::ForEach:
        return runForEach(statement);
    case Statement::Kind::Break:
        return Flow::Break;
    case Statement::Kind::Continue:
        return Flow::Continue;
    case Statement::Kind::Return:
        m_result = statement.expression ? evaluate(*statement.expression) : Value();
        return Flow::Return;
    case Statement::Kind::Block:
        return run(statement.body);
    case Statement::Kind::Procedure:
        define(statement);
        return Flow::Next;
    }
    return Flow::Next;
}

bool Evaluator::condition(const ExpressionPtr &expression)
{
    return !expression || evaluate(*expression).toBool();
}

Evaluator::Flow Evaluator::runLoop(const Statement &statement)
{
    run(statement.first);
    while (condition(statement.expression)) {
        m_state.step(at(statement.line));
        const Flow flow = run(statement.body);
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break)
            break;
        for (const ExpressionPtr &step : statement.steps)
            evaluate(*step);
    }
    return Flow::Next;
}

Evaluator::Flow Evaluator::runForEach(const Statement &statement)
{
    run(statement.first);
    const QStringList items = evaluate(*statement.expression).toStringList();
    for (const QString &item : items) {
        m_state.step(at(statement.line));
        try {
            Variable &variable = target(statement.name);
            variable.value = converted(item, variable.type);
        } catch (const CommandError &error) {
            throw ScriptError(error.reason(), at(statement.line));
        }
        const Flow flow = run(statement.body);
        if (flow == Flow::Return)
            return flow;
        if (flow == Flow::Break)
            break;
    }
    return Flow::Next;
}

void Evaluator::declare(const Statement &statement)
{
    for (const Declaration &declaration : statement.declarations) {
        try {
            Value value = declaration.value ? evaluate(*declaration.value) : Value();
            if (m_frame && statement.global)
                m_frame->globals.insert(declaration.name);
            else if (m_frame)
                m_frame->globals.erase(declaration.name);
            // Declaring a global variable again, as every procedure that uses it does, keeps its value.
            const Variable *present = statement.global && !declaration.value ? find(declaration.name) : nullptr;
            if (present)
                value = present->value;
            target(declaration.name) = {converted(value, declaration.type), declaration.type};
        } catch (const CommandError &error) {
            throw ScriptError(error.reason(), at(statement.line));
        }
    }
}

void Evaluator::define(const Statement &statement)
{
    const QString &name = statement.procedure->name;
    if (m_state.commands.contains(name))
        throw ScriptError(QStringLiteral("a command is already named %1").arg(name), at(statement.line));
    m_state.procedures.insert(name, statement.procedure);
}
