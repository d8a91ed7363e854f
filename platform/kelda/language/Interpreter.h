// language/Interpreter.h
//
// The command language: runs source text, keeps global variables and procedures, and calls the host's commands.

#pragma once

#include "language/Value.h"

#include <QHash>
#include <QString>

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

/// Where a piece of source stands. Lines count from 1; an empty file name means typed text.
struct SourcePosition
{
    QString file;
    int line = 0;
};

/// Any failure of a script: syntax, unknown command, failed command. what() is UTF-8 and already carries
/// "file:line: " in front (or "line N: " for typed text).
class ScriptError : public std::runtime_error
{
public:
    ScriptError(const QString &reason, const SourcePosition &where);
    QString message() const;
};

/// Thrown by a command to fail; the interpreter turns it into a ScriptError that names the command's place.
class CommandError : public std::runtime_error
{
public:
    explicit CommandError(const QString &reason);
    QString reason() const;
};

/// One call of a command, arguments evaluated. In command syntax ("file -force -i x") bare words arrive as texts.
struct CommandCall
{
    QString name;
    std::vector<Value> arguments;

    /// Throws CommandError unless there are exactly \p count arguments.
    void requireCount(std::size_t count) const;
    /// The arguments as texts.
    QStringList texts() const;
};

using CommandFunction = std::function<Value(const CommandCall &)>;

class Interpreter
{
public:
    /// A program fails when it goes beyond one of them.
    struct Limits
    {
        qint64 steps = 0;                  ///< statements, expressions and rounds of a loop; 0 is no limit
        int textLength = 16 * 1024 * 1024; ///< UTF-16 units
        int arrayLength = 1000000;
    };

    Interpreter();
    ~Interpreter();

    /// False, and nothing changes, when a command of that name exists.
    bool addCommand(const QString &name, CommandFunction function);
    bool removeCommand(const QString &name);
    bool hasCommand(const QString &name) const;
    bool hasProcedure(const QString &name) const;

    /// Parses all of \p source, then runs it; the result is that of the last statement. Throws ScriptError.
    /// Re-entrant: commands may evaluate. Nesting deeper than 200 calls fails instead of overflowing the stack.
    Value evaluate(const QString &source, const QString &file = QString());
    void setLimits(const Limits &limits);
    /// \p handler is called with the message of each error that "catch" ends, before the program goes on.
    void setCaughtHandler(std::function<void(const QString &message)> handler);
    /// Calls a procedure or command by name. Throws ScriptError.
    Value call(const QString &name, const std::vector<Value> &arguments);

    class Private;

private:
    std::unique_ptr<Private> d;
};
