// Import: the chosen item is downloaded below the temporary folder and handed to the host.

#include "cloud/page/Portal_CloudBrowserOperation.h"
#include "cloud/Portal_CloudBrowser.h"
#include "http/Transfer.h"
#include "TavrinStrings.h"

#include <QCheckBox>
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

/// The host's procedures build their widgets into the layout, which they find by its name.
void fillOptionsDialog(const KString &action, const KString &translator, const KString &path)
{
    KGlobal::executeCommand(KString("initCurrentFileTypeOption ") + action + " \"\" \"\"");
    KGlobal::executeCommand(optionCommand("fileOperationsOptionsUISetup", action));
    KGlobal::executeCommand(optionCommand("fileOperationsOptionsUIInitValues", action, translator));
    KGlobal::executeCommand(optionCommand("setCurrentFileTypeOption", action, translator));
    KGlobal::executeCommand(optionCommand("fileOperationsSelectionChangedCallback", action, path));
}

} // namespace

KString Portal_CloudBrowserWindows::LocalSubFolder(ICloudItem *item)
{
    const QString subFolder = KQtUtil::toQString(m_portal->GetPortalDisplayName() + item->GetImportPathFolder());
    return KQtUtil::toKString(TavrinHelper::safeLocalPath(subFolder));
}

KString Portal_CloudBrowserWindows::DownloadFolder(ICloudItem *item)
{
    const KString subFolder = LocalSubFolder(item);
    return TavrinHelper::tempCloudDirectory() + "/" + subFolder + "/";
}

void Portal_CloudBrowserWindows::ImportClick()
{
    if (!m_selectedItem || m_spinningCalls > 0)
        return;
    const Operation operation(this);
    KString localPath;
    if (!downloadSelected(localPath) || operation.pageIsGone())
        return;
    ShowImportOptions(localPath);
    if (!operation.pageIsGone())
        importFile(localPath);
}

bool Portal_CloudBrowserWindows::downloadSelected(KString &localPath)
{
    const Operation operation(this);
    const SpinningCall call(this);
    const Tavrin::WaitCursor cursor;
    // A host command may delete the page, or close the dock, which clears the selection.
    const auto isStillSelected = [&] { return !operation.pageIsGone() && m_selectedItem; };
    if (!isStillSelected())
        return false;
    const QString name = KQtUtil::toQString(m_selectedItem->GetImportFilename());
    const KString fileName = KQtUtil::toKString(TavrinHelper::safeLocalName(name));
    const KString folder = DownloadFolder(m_selectedItem);
    if (!isStillSelected())
        return false;
    localPath = folder + fileName;
    const Transfer transfer(Transfer::Kind::Waiting, QString(), this);
    return m_portal->GetBrowser()->DownloadCloudItem(m_portal->GetLogin(), m_selectedItem, folder, fileName);
}

void Portal_CloudBrowserWindows::importFile(const KString &localPath)
{
    const Operation operation(this);
    const SpinningCall call(this);
    const Tavrin::WaitCursor cursor;
    if (operation.pageIsGone())
        return;
    const KString command = KString("file -force -pr -i \"") + TavrinHelper::quoted(localPath) + "\"";
    if (KGlobal::executeCommand(command))
        DisplaySuccess(true, localPath);
}

void Portal_CloudBrowserWindows::ShowImportOptions(KString localPath)
{
    if (m_importOptions->checkState() == Qt::Unchecked)
        return;
    const Operation operation(this);
    const KString translator = spinning([&] { return GetImportTranslatorName(localPath); });
    if (operation.pageIsGone() || translator.isEmpty())
        return;
    ShowOptionsDialog("Import", TavrinStrings::getString(TavrinStrings::kCloudPortalImportOptionsTitle), translator,
                      localPath);
}

void Portal_CloudBrowserWindows::ShowOptionsDialog(KString action, KString title, KString translator, KString path)
{
    const Operation operation(this);
    const SpinningCall call(this);
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

    fillOptionsDialog(action, translator, path);
    if (!dialog)
        return;
    layout->addWidget(buttons);
    dialog->setModal(true);
    dialog->exec();
}

void Portal_CloudBrowserWindows::CloseDialogOptions()
{
    const auto *dialog = qobject_cast<QDialog *>(sender());
    if (dialog && dialog->result() == QDialog::Accepted)
        KGlobal::executeCommand(KQtUtil::toKString(dialog->whatsThis()));
}
