// Export: the host writes the scene or the selection below the temporary folder, and the portal takes the file.

#include "cloud/Portal_CloudBrowser.h"
#include "cloud/Portal_CloudBrowserOperation.h"
#include "cloud/UiText.h"

#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>

using ICloudPortalApi::ICloudItem;

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
    m_translators.clear();
    m_extensions.clear();
    m_exportTranslator = KString();
    m_exportExtension = KString();
    const int remembered = std::max(m_exportFilter->currentIndex(), 0);
    m_exportFilter->clear();

    KStringArray names;
    KStringArray extensions;
    {
        const SpinningCall call(this);
        getAllExportTranslator(names, extensions);
    }
    if (operation.pageIsGone())
        return;
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
    for (const auto &entry : m_translators)
        m_exportFilter->addItem(KQtUtil::toQString(entry.second));
    if (m_exportFilter->count() > 0)
        m_exportFilter->setCurrentIndex(remembered < m_exportFilter->count() ? remembered : 0);
}

void Portal_CloudBrowserWindows::ExportFilterFilesClick(int index)
{
    if (index < 0)
        return;
    m_exportTranslator = m_translators[index];
    m_exportExtension = m_extensions[index];
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
        const SpinningCall call(this);
        const KString warning = TavrinStrings::getString(TavrinStrings::kCloudPortalExportTranslatorNotFound);
        KGlobal::displayWarning(warning);
        KGlobal::executeCommand(KString("confirmDialog -title \"") +
                                TavrinHelper::quoted(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError)) +
                                "\" -m \"" + TavrinHelper::quoted(warning) + "\"  -messageAlign \"left\" -button \"" +
                                TavrinHelper::quoted(TavrinStrings::getString(TavrinStrings::kOk)) + "\"");
        return;
    }

    const KString name = exportFileName();
    const QPointer<ICloudItem> folder(m_currentFolder);
    const QPointer<ICloudItem> existing(IsOverwrite(name));
    if (existing && !mayOverwrite())
        return;
    if (!operation.pageIsGone() && folder && folder == m_currentFolder)
        exportAndUpload(name, existing, selectionOnly);
}

bool Portal_CloudBrowserWindows::mayOverwrite()
{
    const KGlobal::KeldaState state = KGlobal::keldaState();
    if (state == KGlobal::kBatch || state == KGlobal::kLibraryApp)
        return false;
    const SpinningCall call(this);
    const QPointer<QMessageBox> box(new QMessageBox(QMessageBox::Question,
                                                    UiText(TavrinStrings::kCloudPortalFileExportOverwriteTitle),
                                                    UiText(TavrinStrings::kCloudPortalFileExportOverwriteMessage),
                                                    QMessageBox::Yes | QMessageBox::No, m_mainWindow));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    delete box.data();
    return answer == QMessageBox::Yes;
}

void Portal_CloudBrowserWindows::exportAndUpload(const KString &name, ICloudItem *existing, bool selectionOnly)
{
    const Operation operation(this);
    const QPointer<ICloudItem> existingGuard(existing);
    const Tavrin::WaitCursor cursor;
    const KString folder = DownloadFolder(m_currentFolder);
    QDir().mkpath(KQtUtil::toQString(folder));
    const KString command = KString("file -force -options \"\" -type \"") + TavrinHelper::quoted(m_exportTranslator) +
                            "\" -pr " + (selectionOnly ? "-es \"" : "-ea \"") + TavrinHelper::quoted(folder + name) +
                            "\"";
    KStatus exported;
    KString written;
    {
        const SpinningCall call(this);
        written = KGlobal::executeCommandStringResult(command, false, false, &exported);
    }
    if (!exported || operation.pageIsGone())
        return;

    QString cleaned = KQtUtil::toQString(written);
    CleanFilename(cleaned);
    m_exportName->setText(cleaned);
    const bool uploaded = upload(existingGuard, folder, KQtUtil::toKString(cleaned));
    if (!uploaded)
        KGlobal::displayError(TavrinStrings::getString(TavrinStrings::kCloudPortalExportError));
    else
        DisplaySuccess(false, written);
    if (uploaded && !operation.pageIsGone())
        RefreshFolderData();
}

bool Portal_CloudBrowserWindows::upload(ICloudItem *existing, const KString &folder, const KString &fileName)
{
    if (!m_currentFolder)
        return false;
    const SpinningCall call(this);
    return m_portal->GetBrowser()->UploadFile(m_portal->GetLogin(), m_currentFolder, existing, folder, fileName);
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
    ShowOptionsDialog("ExportAll", TavrinStrings::getString(TavrinStrings::kCloudPortalExportOptionsTitle),
                      m_exportTranslator, ".");
}
