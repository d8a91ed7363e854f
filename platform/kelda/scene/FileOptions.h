// scene/FileOptions.h
//
// The options of file import and export: what there is to set, and the host's current values per action and translator.

#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <stdexcept>
#include <vector>

struct Translator;

/// Thrown for anything that a file operation refuses; what() is UTF-8, one line, for the user.
class FileError : public std::runtime_error
{
public:
    explicit FileError(const QString &reason) : std::runtime_error(reason.toStdString()) {}
    QString reason() const { return QString::fromUtf8(what()); }
};

/// One thing to set.
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
    static constexpr double smallestScale = 1e-6;
    static constexpr double largestScale = 1e6;

    /// "Import", "ExportAll" and "ExportActive"; both exports share their options. Throws FileError for another name.
    static FileAction actionNamed(const QString &name);
    /// What can be set; throws FileError when \p translator does not do \p action.
    static std::vector<OptionSpec> specs(FileAction action, const Translator &translator);

    /// The current values: every key of specs().
    OptionValues values(FileAction action, const Translator &translator) const;
    /// Sets one value. Throws FileError for an unknown key or a value that does not fit.
    void set(FileAction action, const Translator &translator, const QString &key, const QVariant &value);
    /// \p values with the entries of \p text ("key=value;key=value") in place of theirs. Throws FileError as set()
    /// does.
    static OptionValues overridden(FileAction action, const Translator &translator, OptionValues values,
                                   const QString &text);

private:
    QHash<QString, OptionValues> m_set;
};
