// language/InterpreterPrivate.h
//
// State of an interpreter, and the evaluator that runs parsed text on it.

#pragma once

#include "language/Ast.h"
#include "language/Interpreter.h"

#include <unordered_map>
#include <unordered_set>

struct Variable
{
    Value value;
    DeclaredType type = DeclaredType::Any;
};

using Variables = std::unordered_map<QString, Variable>;

/// The variables of one running procedure.
struct Frame
{
    Variables locals;
    std::unordered_set<QString> globals; ///< names that a "global" declaration bound to the global variables
};

class Interpreter::Private
{
public:
    /// Calls a procedure or command; \p where is the place of the call.
    Value call(const QString &name, const std::vector<Value> &arguments, const SourcePosition &where);
    /// Counts a step of the program. Throws ScriptError when it was one too many, and when the stack used since the
    /// outermost call is about to run out.
    void step(const SourcePosition &where);
    /// Throws CommandError when a text of \p textLength or an array of \p arrayLength would be too long.
    void checkLength(qint64 textLength, qint64 arrayLength) const;

    QHash<QString, CommandFunction> commands;
    QHash<QString, std::shared_ptr<const Procedure>> procedures;
    Variables globals;
    Limits limits;
    std::function<void(const QString &)> caughtHandler;
    qint64 steps = 0; ///< since the outermost call
    int depth = 0;
    const char *stackBase = nullptr;

private:
    Value callProcedure(const Procedure &procedure, const std::vector<Value> &arguments);
};

/// Counts one call or evaluation for its lifetime. Throws CommandError when they are nested too deeply.
class CallDepth
{
public:
    explicit CallDepth(Interpreter::Private &state);
    ~CallDepth();
    CallDepth(const CallDepth &) = delete;
    CallDepth &operator=(const CallDepth &) = delete;

private:
    Interpreter::Private &m_state;
};

/// Runs statements of one file with the variables of one procedure call, or with the global ones.
class Evaluator
{
public:
    enum class Flow { Next, Break, Continue, Return };

    /// \p frame is null at the top level.
    Evaluator(Interpreter::Private &state, const QString &file, Frame *frame)
        : m_state(state), m_file(file), m_frame(frame)
    {}

    Flow run(const StatementList &block);
    /// What the last statement gave, or what was returned.
    const Value &result() const { return m_result; }
    SourcePosition at(int line) const { return {m_file, line}; }

private:
    Flow run(const Statement &statement);
    Flow runLoop(const Statement &statement);
    Flow runForEach(const Statement &statement);
    void declare(const Statement &statement);
    void define(const Statement &statement);

    Value evaluate(const Expression &expression);
    Value evaluateElement(const Expression &expression);
    Value evaluateArray(const Expression &expression);
    Value evaluateAssignment(const Expression &expression);
    Value evaluateCall(const Expression &expression);
    Value evaluateCatch(const Expression &expression);
    Value applied(Operator op, const Value &left, const Value &right) const;
    bool condition(const ExpressionPtr &expression);

    Variable *find(const QString &name);
    Variable &target(const QString &name);
    int index(const Value &value, int line) const;
    void assign(const Expression &target, int index, const Value &value);
    Value elementOf(const QString &name, int index, int line);

    Interpreter::Private &m_state;
    const QString &m_file;
    Frame *m_frame;
    Value m_result;
};
