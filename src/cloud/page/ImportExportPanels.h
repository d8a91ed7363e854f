// cloud/page/ImportExportPanels.h
//
// The two tabs at the bottom of a page, with the user's choices for an import and for an export. The widgets call the
// page's slots, which run the import and the export.

#pragma once

#include <openkelda/openkelda.h>

#include <QWidget>

#include <vector>

class Portal_CloudBrowserWindows;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

class ImportPanel : public QWidget
{
    Q_OBJECT
public:
    explicit ImportPanel(Portal_CloudBrowserWindows *page);

    /// Shows \p name, and enables the import button if that file can be imported.
    void setChoice(const QString &name, bool isImportable);
    void clearChoice() { setChoice(QString(), false); }
    /// Returns true if the user wants to see the import options.
    bool isOptionsChecked() const;
    /// Disabling also clears the choice. Enabling does not change the import button; setChoice() does.
    void enableControls(bool enable);

private:
    QLabel *m_nameLabel;
    QLineEdit *m_name;
    QPushButton *m_import;
    QCheckBox *m_options;
};

class ExportPanel : public QWidget
{
    Q_OBJECT
public:
    /// The name of one of the host's export translators and the extension of its files. Both may be empty.
    struct Translator
    {
        KString name;
        KString extension;
    };

    /// The icon of the options button is read with a host command.
    explicit ExportPanel(Portal_CloudBrowserWindows *page);

    /// Replaces the list by \p translators. Keeps the chosen index if the list is long enough.
    void setTranslators(const std::vector<Translator> &translators);
    /// Uses the translator at \p index, or an empty one if the list has no such index.
    void useTranslator(int index);
    /// Chooses the first translator for \p extension. Returns false if the list does not contain one.
    bool chooseExtension(const KString &extension);
    const Translator &translator() const { return m_translator; }

    void setName(const QString &name);
    /// Returns the typed name, cleaned, with the translator's extension at its end.
    KString fileName() const;
    void enableButtons(bool enable);
    /// Disabling also disables the two export buttons. Enabling does not change them; enableButtons() does.
    void enableControls(bool enable);

private:
    QLabel *m_nameLabel;
    QLineEdit *m_name;
    QPushButton *m_exportSelection;
    QPushButton *m_exportAll;
    QComboBox *m_filter;
    QPushButton *m_options;
    std::vector<Translator> m_translators; ///< in the order of the filter
    Translator m_translator;
};
