// Export: the host writes the scene or the selection into the download area, and the portal uploads the file.

#include "cloud/page/HostFiles.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "TavrinStrings.h"

#include <QDir>
#include <QMainWindow>
#include <QMessageBox>

using ICloudPortalApi::ICloudItem;

/// The values of one export at the time of the click. The user may change the panel and the folder during the export.
struct Portal_CloudBrowserWindows::ExportJob
{
    /// Returns the host command that writes the file into \p directory.
    KString command(const KString &directory) const
    {
        return KString("file -force -options \"\" -type \"") + TavrinHelper::quoted(translator) + "\" -pr " +
               (selectionOnly ? "-es \"" : "-ea \"") + TavrinHelper::quoted(directory + name) + "\"";
    }

    KString name;
    KString translator;
    KString subFolder; ///< in the download area
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

/// Asks the user over \p mainWindow. Returns false without a question if the host has no interactive interface.
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
    m_exportPanel->enableButtons(!newText.isEmpty());
}

void Portal_CloudBrowserWindows::exportImportTabPageChanged(int)
{
    RefreshExporterFilterList();
}

void Portal_CloudBrowserWindows::RefreshExporterFilterList()
{
    if (!m_exportPanel || !hasExportFormats())
        return;
    KStringArray names;
    KStringArray extensions;
    if (!m_calls.run([&] { getAllExportTranslator(names, extensions); }))
        return;
    std::vector<ExportPanel::Translator> translators;
    for (unsigned i = 0; i < names.length(); ++i)
        translators.push_back({names[i], i < extensions.length() ? extensions[i] : KString()});
    m_exportPanel->setTranslators(translators);
}

void Portal_CloudBrowserWindows::ExportFilterFilesClick(int index)
{
    m_exportPanel->useTranslator(index);
}

ICloudItem *Portal_CloudBrowserWindows::IsOverwrite(KString name)
{
    for (const QPointer<ICloudItem> &file : m_files) {
        if (file && file->GetDisplayName() == name)
            return file;
    }
    return nullptr;
}

void Portal_CloudBrowserWindows::ExportClick(bool selectionOnly)
{
    if (!m_currentFolder || !m_exportPanel || m_calls.isRunning())
        return;
    const KString translator = m_exportPanel->translator().name;
    if (translator.isEmpty()) {
        static_cast<void>(m_calls.run(reportMissingTranslator));
        return;
    }
    const KString name = m_exportPanel->fileName();
    const ExportJob job{name,         translator, localSubFolder(m_currentFolder), m_currentFolder, IsOverwrite(name),
                        selectionOnly};
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
    m_exportPanel->setName(fileName);
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

/// Returns true if the export's folder is still the current one. Otherwise shows the failure.
bool Portal_CloudBrowserWindows::checkFolderIsOpen(const ExportJob &job) const
{
    if (job.folder && job.folder == m_currentFolder)
        return true;
    KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError));
    KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportFolderClosed));
    return false;
}

void Portal_CloudBrowserWindows::ShowExportOptions()
{
    if (m_calls.isRunning())
        return;
    ShowOptionsDialog("ExportAll", TavrinStrings::getString(TavrinStrings::kCloudPortalExportOptionsTitle),
                      m_exportPanel->translator().name, ".");
}
