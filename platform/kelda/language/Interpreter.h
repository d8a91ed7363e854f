// language/Interpreter.h
//
// The command language: runs source text, stores variables and procedures, and calls the host's commands. The language
// has integers, strings and arrays of strings; its only loop runs over the elements of an array. "catch(expression)" is
// 1 if the expression fails, otherwise 0.

#pragma once

#include "language/Value.h"

#include <QHash>
#include <QString>

#include <functional>
#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <vector>

struct Procedure;

/// A place in source text. Lines count from 1; an empty file name means typed text.
struct SourcePosition
{
    QString file;
    int line = 0;
};

/// A syntax error, an unknown command or a failed command. The message begins with "file:line: ", or with "line N: "
/// for typed text.
class ScriptError : public std::runtime_error
{
public:
    ScriptError(const QString &reason, const SourcePosition &where);
    QString message() const { return QString::fromUtf8(what()); }
};

/// Thrown by a command that fails. The interpreter converts it to a ScriptError with the position of the call.
class CommandError : public std::runtime_error
{
public:
    explicit CommandError(const QString &reason) : std::runtime_error(reason.toStdString()) {}
    QString reason() const { return QString::fromUtf8(what()); }
};

/// One call of a command. In command syntax ("file -force -i x") bare words are passed as strings.
struct CommandCall
{
    QString name;
    std::vector<Value> arguments;

    /// Throws CommandError unless the call has exactly \p count arguments.
    void requireCount(std::size_t count) const;
    QStringList texts() const;
};

/// Returns \p text between double quotes, as one argument of a command.
QString quotedArgument(QString text);

using CommandFunction = std::function<Value(const CommandCall &)>;

struct Variable
{
    Value value;
    DeclaredType type = DeclaredType::Any;
};
using Variables = std::unordered_map<QString, Variable>;

class Interpreter
{
public:
    Interpreter();

    /// Returns false without a change if a command of that name exists.
    bool addCommand(const QString &name, CommandFunction function);
    bool removeCommand(const QString &name) { return m_commands.remove(name) > 0; }
    bool hasCommand(const QString &name) const { return m_commands.contains(name); }
    bool hasProcedure(const QString &name) const { return m_procedures.contains(name); }

    /// Parses all of \p source, then runs it and returns the value of its last statement. Commands may call this.
    /// Throws ScriptError, also for calls that are nested so deeply that the stack would overflow.
    Value evaluate(const QString &source, const QString &file = QString());
    /// \p handler receives the message of each error that "catch" stops.
    void setCaughtHandler(std::function<void(const QString &message)> handler) { m_caughtHandler = std::move(handler); }
    /// Calls a procedure or a command. Error messages contain the position \p where. Throws ScriptError.
    Value call(const QString &name, const std::vector<Value> &arguments, const SourcePosition &where = {});

private:
    friend class Evaluator;
    Value callProcedure(const Procedure &procedure, const std::vector<Value> &arguments);
    void checkStack() const;

    QHash<QString, CommandFunction> m_commands;
    QHash<QString, std::shared_ptr<const Procedure>> m_procedures;
    Variables m_globals;
    std::function<void(const QString &)> m_caughtHandler = [](const QString &) {};
    const char *m_stackBase; ///< the stack's address in the constructor
};
