// scene/FileOptions.h
//
// The options of file import and export, and their current values for each action and translator.

#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <stdexcept>
#include <vector>

struct Translator;

/// Thrown when a file operation fails. what() is UTF-8, one line, for the user.
class FileError : public std::runtime_error
{
public:
    explicit FileError(const QString &reason) : std::runtime_error(reason.toStdString()) {}
    QString reason() const { return QString::fromUtf8(what()); }
};

struct OptionSpec
{
    enum class Kind { Bool, Number, Choice };

    QString key;
    QString label;
    Kind kind = Kind::Bool;
    QVariant initial;    ///< bool, double or QString
    QStringList choices; ///< for Kind::Choice
};

/// Values by key.
using OptionValues = QMap<QString, QVariant>;

enum class FileAction { Import, Export };

class OptionStore
{
public:
    /// Accepts "Import", "ExportAll" and "ExportActive"; both exports share their options. Throws FileError for another
    /// name.
    static FileAction actionNamed(const QString &name);
    /// Throws FileError if \p translator does not support \p action.
    static std::vector<OptionSpec> specs(FileAction action, const Translator &translator);

    /// Returns the current values of all keys of specs().
    OptionValues values(FileAction action, const Translator &translator) const;
    /// \p key and \p value must fit one of specs().
    void set(FileAction action, const Translator &translator, const QString &key, const QVariant &value);

private:
    QHash<QString, OptionValues> m_set;
};
