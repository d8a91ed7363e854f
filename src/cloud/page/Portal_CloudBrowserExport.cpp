// Export: the host writes the scene or the selection below the temporary folder, and the portal takes the file.

#include "cloud/page/Portal_CloudBrowserOperation.h"
#include "cloud/Portal_CloudBrowser.h"
#include "http/Transfer.h"
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
    const Operation operation(this);
    KStringArray names;
    KStringArray extensions;
    spinning([&] { getAllExportTranslator(names, extensions); });
    if (operation.pageIsGone())
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
    if (!m_currentFolder || !m_exportName || m_spinningCalls > 0)
        return;
    const Operation operation(this);
    if (m_exportTranslator.isEmpty()) {
        spinning(reportMissingTranslator);
        return;
    }
    const KString name = exportFileName();
    const ExportJob job{
        name, m_exportTranslator, LocalSubFolder(m_currentFolder), m_currentFolder, IsOverwrite(name), selectionOnly};
    if (job.existing && !mayOverwrite())
        return;
    if (operation.pageIsGone())
        return;
    const Tavrin::WaitCursor cursor;
    if (!operation.pageIsGone() && exportAndUpload(job) && !operation.pageIsGone())
        RefreshFolderData();
}

bool Portal_CloudBrowserWindows::mayOverwrite()
{
    const KGlobal::KeldaState state = KGlobal::keldaState();
    if (state == KGlobal::kBatch || state == KGlobal::kLibraryApp)
        return false;
    const SpinningCall call(this);
    const QPointer<QMessageBox> box(
        new QMessageBox(QMessageBox::Question, TavrinStrings::text(TavrinStrings::kCloudPortalFileExportOverwriteTitle),
                        TavrinStrings::text(TavrinStrings::kCloudPortalFileExportOverwriteMessage),
                        QMessageBox::Yes | QMessageBox::No, m_mainWindow));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    delete box.data();
    return answer == QMessageBox::Yes;
}

bool Portal_CloudBrowserWindows::exportAndUpload(const ExportJob &job)
{
    const Operation operation(this);
    const SpinningCall call(this);
    if (!checkFolderIsOpen(job))
        return false;
    const KString folder = TavrinHelper::tempCloudDirectory() + "/" + job.subFolder + "/";
    if (operation.pageIsGone())
        return false;
    QDir().mkpath(KQtUtil::toQString(folder));
    KStatus exported;
    const KString written = KGlobal::executeCommandStringResult(job.command(folder), false, false, &exported);
    if (!exported || operation.pageIsGone())
        return false;

    QString fileName = KQtUtil::toQString(written);
    CleanFilename(fileName);
    m_exportName->setText(fileName);
    if (!checkFolderIsOpen(job))
        return false;
    const bool uploaded = TavrinHelper::safeLocalName(fileName) == fileName && upload(job, folder, fileName);
    if (uploaded)
        DisplaySuccess(false, written);
    else
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError));
    return uploaded;
}

bool Portal_CloudBrowserWindows::upload(const ExportJob &job, const KString &folder, const QString &fileName)
{
    const Transfer transfer(Transfer::Kind::Waiting, QString(), this);
    return m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), job.folder, job.existing, folder,
                                              KQtUtil::toKString(fileName));
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
    if (m_spinningCalls > 0)
        return;
    ShowOptionsDialog("ExportAll", TavrinStrings::getString(TavrinStrings::kCloudPortalExportOptionsTitle),
                      m_exportTranslator, ".");
}
