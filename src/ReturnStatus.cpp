#include "ReturnStatus.h"

#include "TavrinHelper.h"
#include "TavrinStrings.h"

#include <openkelda/openkelda.h>

#include <QMessageBox>
#include <QPointer>

bool ReturnStatus::IsSuccess() const
{
    return static_cast<unsigned>(m_code) - 200u < 100u;
}

KString ReturnStatus::GetFormattedResultMessage() const
{
    KString text = TavrinStrings::getString(TavrinStrings::kHttpCode);
    text += m_code;
    if (!m_message.isEmpty()) {
        text += " \n";
        text += m_message;
    }
    return text;
}

void ReturnStatus::DisplayUserMessageBox() const
{
    if (!IsKeldaCanRunUI())
        return;

    const KString successTitle = TavrinStrings::getString(TavrinStrings::kHttpSuccessMessageTitle);
    const KString errorTitle = TavrinStrings::getString(TavrinStrings::kHttpErrorMessageTitle);

    // QPointer, because the main window may be deleted while the box is open, and deletes the box then.
    QPointer<QMessageBox> box = new QMessageBox(KQtUtil::mainWindow());
    box->setWindowTitle(KQtUtil::toQString(IsSuccess() ? successTitle : errorTitle));
    box->setTextFormat(Qt::PlainText);
    box->setText(KQtUtil::toQString(GetFormattedResultMessage()));
    box->exec();
    delete box;
}
