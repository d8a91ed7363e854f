// ui/OptionBox.h
//
// The option box procedures: they build the widgets for a translator's options into a layout of somebody's dialog,
// which they find by its object name, and store what was set there when the dialog is accepted.

#pragma once

#include "scene/FileOptions.h"

#include <QPointer>
#include <QWidget>

class KeldaHost;
class QFormLayout;
class QGroupBox;
class QLabel;
class QLayout;

/// The widgets for one action's options. Each option's widget is named "KeldaOption_" and its key.
class OptionPanel : public QWidget
{
    Q_OBJECT
public:
    explicit OptionPanel(FileAction action);

    FileAction action() const { return m_action; }
    /// Builds the widgets for \p translator and sets them from \p values, in place of what stood there.
    void show(const Translator &translator, const OptionValues &values);
    /// Names the file in question; "." and an empty text name none.
    void setFile(const QString &path);
    /// Stores what the widgets show. Throws FileError when no translator is shown.
    void store(OptionStore &options) const;
    /// Null before show().
    const Translator *translator() const { return m_translator; }

private:
    void addRow(const OptionSpec &spec, const QVariant &value);

    FileAction m_action;
    const Translator *m_translator = nullptr;
    QGroupBox *m_box;
    QLabel *m_file;
    QPointer<QWidget> m_options;
    QFormLayout *m_form = nullptr;
};

/// initCurrentFileTypeOption ACTION "" ""
/// fileOperationsOptionsUISetup ACTION LAYOUT
/// fileOperationsOptionsUIInitValues, setCurrentFileTypeOption ACTION LAYOUT TRANSLATOR
/// fileOperationsSelectionChangedCallback ACTION LAYOUT PATH
/// fileOperationsOptionsUICallback ACTION LAYOUT
/// Both references must outlive the interpreter's last call.
void registerOptionBoxCommands(KeldaHost &host, OptionStore &options);
