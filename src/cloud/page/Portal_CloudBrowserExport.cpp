// Export: the host writes the scene or the selection below the temporary folder, and the portal takes the file.

#include "cloud/page/HostFiles.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>

using ICloudPortalApi::ICloudItem;

/// What an export needs to know, as it was at the click: the question, the host and the portal let other things happen.
struct Portal_CloudBrowserWindows::ExportJob
{
    /// The host command that writes the file into \p directory.
    KString command(const KString &directory) const
    {
        return KString("file -force -options \"\" -type \"") + TavrinHelper::quoted(translator) + "\" -pr " +
               (selectionOnly ? "-es \"" : "-ea \"") + TavrinHelper::quoted(directory + name) + "\"";
    }

    KString name;
    KString translator;
    KString subFolder; ///< of the download area
    QPointer<ICloudItem> folder;
    QPointer<ICloudItem> existing;
    bool selectionOnly;
};

namespace {

void reportMissingTranslator()
{
    const KString warning = TavrinStrings::getString(TavrinStrings::kCloudPortalExportTranslatorNotFound);
    KGlobal::displayWarning(warning);
    KGlobal::executeCommand(KString("confirmDialog -title \"") +
                            TavrinHelper::quoted(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError)) +
                            "\" -m \"" + TavrinHelper::quoted(warning) + "\"  -messageAlign \"left\" -button \"" +
                            TavrinHelper::quoted(TavrinStrings::getString(TavrinStrings::kOk)) + "\"");
}

/// Asks the user over \p mainWindow. Returns false without asking if the host runs without its interactive interface.
bool mayOverwrite(QWidget *mainWindow)
{
    const KGlobal::KeldaState state = KGlobal::keldaState();
    if (state == KGlobal::kBatch || state == KGlobal::kLibraryApp)
        return false;
    const QPointer<QMessageBox> box(
        new QMessageBox(QMessageBox::Question, TavrinStrings::text(TavrinStrings::kCloudPortalFileExportOverwriteTitle),
                        TavrinStrings::text(TavrinStrings::kCloudPortalFileExportOverwriteMessage),
                        QMessageBox::Yes | QMessageBox::No, mainWindow));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    delete box.data();
    return answer == QMessageBox::Yes;
}

} // namespace

void Portal_CloudBrowserWindows::exportTextChangedEvent(QString newText)
{
    m_exportSelectionButton->setEnabled(!newText.isEmpty());
    m_exportAllButton->setEnabled(!newText.isEmpty());
}

void Portal_CloudBrowserWindows::exportImportTabPageChanged(int)
{
    RefreshExporterFilterList();
}

void Portal_CloudBrowserWindows::RefreshExporterFilterList()
{
    if (!m_exportFilter || !HasExportFormats())
        return;
    KStringArray names;
    KStringArray extensions;
    if (!m_calls.run([&] { getAllExportTranslator(names, extensions); }))
        return;
    // Nothing is emptied before the host has answered, since the call may have let another refresh in.
    const int remembered = std::max(m_exportFilter->currentIndex(), 0);
    m_exportFilter->clear();
    m_translators.clear();
    m_extensions.clear();
    m_exportTranslator = KString();
    m_exportExtension = KString();
    for (unsigned i = 0; i < names.length(); ++i) {
        const KString extension = i < extensions.length() ? extensions[i] : KString();
        const int index = static_cast<int>(i);
        m_translators[index] = names[i];
        m_extensions[index] = extension;
        if (m_exportTranslator.isEmpty()) {
            m_exportTranslator = names[i];
            m_exportExtension = extension;
        }
    }
    // The entries come after the maps, since adding the first one already signals that it was chosen.
    for (unsigned i = 0; i < names.length(); ++i)
        m_exportFilter->addItem(KQtUtil::toQString(names[i]));
    if (m_exportFilter->count() > 0)
        m_exportFilter->setCurrentIndex(remembered < m_exportFilter->count() ? remembered : 0);
}

void Portal_CloudBrowserWindows::ExportFilterFilesClick(int index)
{
    const auto textAt = [index](const std::map<int, KString> &texts) {
        const auto found = texts.find(index);
        return found == texts.end() ? KString() : found->second;
    };
    m_exportTranslator = textAt(m_translators);
    m_exportExtension = textAt(m_extensions);
}

ICloudItem *Portal_CloudBrowserWindows::IsOverwrite(KString name)
{
    for (const QPointer<ICloudItem> &file : m_files) {
        if (file && file->GetDisplayName() == name)
            return file;
    }
    return nullptr;
}

KString Portal_CloudBrowserWindows::exportFileName() const
{
    QString typed = m_exportName->text();
    CleanFilename(typed);
    KString name = KQtUtil::toKString(typed);
    KString extension;
    if (!getFileExtension(name, extension) || extension != m_exportExtension)
        name += KString(".") + m_exportExtension;
    return name;
}

void Portal_CloudBrowserWindows::ExportClick(bool selectionOnly)
{
    if (!m_currentFolder || !m_exportName || m_calls.isRunning())
        return;
    if (m_exportTranslator.isEmpty()) {
        static_cast<void>(m_calls.run(reportMissingTranslator));
        return;
    }
    const KString name = exportFileName();
    const ExportJob job{
        name, m_exportTranslator, LocalSubFolder(m_currentFolder), m_currentFolder, IsOverwrite(name), selectionOnly};
    bool isAgreed = true;
    if (job.existing && (!m_calls.run([&] { isAgreed = mayOverwrite(m_mainWindow); }) || !isAgreed))
        return;
    const auto steps = [&] {
        if (exportAndUpload(job))
            RefreshFolderData();
    };
    static_cast<void>(m_calls.runUnderWaitCursor(steps));
}

/// Returns false if a step failed or if the page was deleted.
bool Portal_CloudBrowserWindows::exportAndUpload(const ExportJob &job)
{
    if (!checkFolderIsOpen(job))
        return false;
    KString folder;
    if (!m_calls.run([&] { folder = localFolder(job.subFolder); }))
        return false;
    QDir().mkpath(KQtUtil::toQString(folder));
    KStatus exported;
    KString written;
    const auto write = [&] {
        written = KGlobal::executeCommandStringResult(job.command(folder), false, false, &exported);
    };
    if (!m_calls.run(write) || !exported)
        return false;

    QString fileName = KQtUtil::toQString(written);
    CleanFilename(fileName);
    m_exportName->setText(fileName);
    if (!checkFolderIsOpen(job))
        return false;
    bool isUploaded = false;
    const auto upload = [&] {
        isUploaded = TavrinHelper::safeLocalName(fileName) == fileName &&
                     m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), job.folder, job.existing, folder,
                                                        KQtUtil::toKString(fileName));
    };
    const bool pageExists = m_calls.runPortalCall(upload);
    if (isUploaded)
        DisplaySuccess(false, written);
    else
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError));
    return pageExists && isUploaded;
}

bool Portal_CloudBrowserWindows::checkFolderIsOpen(const ExportJob &job) const
{
    if (job.folder && job.folder == m_currentFolder)
        return true;
    KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError));
    KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportFolderClosed));
    return false;
}

void Portal_CloudBrowserWindows::ExportAllClick()
{
    ExportClick(false);
}

void Portal_CloudBrowserWindows::ExportSelectionClick()
{
    ExportClick(true);
}

void Portal_CloudBrowserWindows::ShowExportOptions()
{
    if (m_calls.isRunning())
        return;
    ShowOptionsDialog("ExportAll", TavrinStrings::getString(TavrinStrings::kCloudPortalExportOptionsTitle),
                      m_exportTranslator, ".");
}
