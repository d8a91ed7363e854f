// Import: the chosen item is downloaded into the download area, and the host imports the file.

#include "cloud/page/HostFiles.h"
#include "cloud/page/ImportExportPanels.h"
#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "cloud/Portal_CloudBrowserDockWidget.h"
#include "TavrinStrings.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QVBoxLayout>

using ICloudPortalApi::ICloudItem;

namespace {

const char *const kOptionsLayout = "CloudPortalFileDialogOptionsGrpBoxLayout";

KString optionCommand(const char *procedure, const KString &action)
{
    return KString(procedure) + " " + action + " " + kOptionsLayout;
}

KString optionCommand(const char *procedure, const KString &action, const KString &argument)
{
    return optionCommand(procedure, action) + " \"" + TavrinHelper::quoted(argument) + "\"";
}

/// Calls the host's procedures, which find the dialog's layout by its name and add their widgets to it.
void fillOptionsDialog(const KString &action, const KString &translator, const KString &path)
{
    KGlobal::executeCommand(KString("initCurrentFileTypeOption ") + action + " \"\" \"\"");
    KGlobal::executeCommand(optionCommand("fileOperationsOptionsUISetup", action));
    KGlobal::executeCommand(optionCommand("fileOperationsOptionsUIInitValues", action, translator));
    KGlobal::executeCommand(optionCommand("setCurrentFileTypeOption", action, translator));
    KGlobal::executeCommand(optionCommand("fileOperationsSelectionChangedCallback", action, path));
}

} // namespace

/// Returns the folder of \p item in the download area. Each component is safe to write.
KString Portal_CloudBrowserWindows::localSubFolder(ICloudItem *item)
{
    const QString subFolder = KQtUtil::toQString(m_portal->GetPortalDisplayName() + item->GetImportPathFolder());
    return KQtUtil::toKString(TavrinHelper::safeLocalPath(subFolder));
}

void Portal_CloudBrowserWindows::ImportClick()
{
    if (!m_selectedItem || m_calls.isRunning())
        return;
    KString localPath;
    bool isDownloaded = false;
    if (!m_calls.runUnderWaitCursor([&] { isDownloaded = downloadSelected(localPath); }) || !isDownloaded)
        return;
    if (!m_calls.runSteps([&] { ShowImportOptions(localPath); }))
        return;
    const auto importFile = [&localPath] {
        if (KGlobal::executeCommand(KString("file -force -pr -i \"") + TavrinHelper::quoted(localPath) + "\""))
            DisplaySuccess(true, localPath);
    };
    const auto steps = [&] { static_cast<void>(m_calls.run(importFile)); };
    static_cast<void>(m_calls.runUnderWaitCursor(steps));
}

/// Downloads the selected item to \p localPath. Returns false after a failure, or if the page was deleted.
bool Portal_CloudBrowserWindows::downloadSelected(KString &localPath)
{
    // Each call may have closed the dock, which clears the selection.
    if (!m_selectedItem)
        return false;
    const QString name = KQtUtil::toQString(m_selectedItem->GetImportFilename());
    const KString fileName = KQtUtil::toKString(TavrinHelper::safeLocalName(name));
    const KString subFolder = localSubFolder(m_selectedItem);
    KString folder;
    if (!m_calls.run([&] { folder = localFolder(subFolder); }) || !m_selectedItem)
        return false;
    localPath = folder + fileName;
    bool isDownloaded = false;
    const auto download = [&] {
        isDownloaded =
            m_portal->GetBrowser()->DownloadCloudItem(m_portal->GetLogin(), m_selectedItem, folder, fileName);
    };
    return m_calls.runPortalCall(download) && isDownloaded;
}

void Portal_CloudBrowserWindows::ShowImportOptions(KString localPath)
{
    if (!m_importPanel->isOptionsChecked())
        return;
    KString translator;
    if (!m_calls.run([&] { translator = GetImportTranslatorName(localPath); }) || translator.isEmpty())
        return;
    ShowOptionsDialog("Import", TavrinStrings::getString(TavrinStrings::kCloudPortalImportOptionsTitle), translator,
                      localPath);
}

void Portal_CloudBrowserWindows::ShowOptionsDialog(KString action, KString title, KString translator, KString path)
{
    QPointer<QDialog> dialog(new QDialog(m_dock));
    dialog->setObjectName(QStringLiteral("CloudPortalOptionsDialog"));
    dialog->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    dialog->setWindowTitle(KQtUtil::toQString(title));
    dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::finished, this, &Portal_CloudBrowserWindows::CloseDialogOptions);

    auto *layout = new QVBoxLayout(dialog);
    layout->setObjectName(QString::fromLatin1(kOptionsLayout));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, Qt::Horizontal, dialog);
    buttons->setCenterButtons(true);
    connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    dialog->setWhatsThis(KQtUtil::toQString(optionCommand("fileOperationsOptionsUICallback", action)));

    if (!m_calls.run([&] { fillOptionsDialog(action, translator, path); }) || !dialog) {
        delete dialog;
        return;
    }
    layout->addWidget(buttons);
    dialog->setModal(true);
    static_cast<void>(m_calls.run([&] { dialog->exec(); }));
}

void Portal_CloudBrowserWindows::CloseDialogOptions()
{
    const auto *dialog = qobject_cast<QDialog *>(sender());
    if (dialog && dialog->result() == QDialog::Accepted)
        static_cast<void>(
            m_calls.run([accept = KQtUtil::toKString(dialog->whatsThis())] { KGlobal::executeCommand(accept); }));
}
