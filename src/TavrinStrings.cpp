#include "TavrinStrings.h"

#include <openkelda/KQtUtil.h>

namespace TavrinStrings {

namespace {

const KStringResourceId *const texts[] = {
    &kOk,
    &kHttpRequestTimeout,
    &kHttpError,
    &kHttpErrorMessageTitle,
    &kHttpSuccessMessageTitle,
    &kHttpCode,
    &kHttpServerListenError,
    &KHttpServerErrorGeneric,
    &kCloudPortalLoginErrorLoadingPage,
    &kCloudPortalLoginErrorInternal,
    &kCloudPortalLoginDone,
    &kCloudPortalWindowLabel,
    &kCloudPortalMenu,
    &kCloudPortalNoConnection,
    &kCloudPortalLogIn,
    &kCloudPortalLogOut,
    &kCloudPortalSearch,
    &kCloudPortalRefresh,
    &kCloudPortalImportOptions,
    &kCloudPortalExportOptions,
    &kCloudPortalImportOptionsTitle,
    &kCloudPortalExportOptionsTitle,
    &kCloudPortalFileName,
    &kCloudPortalFilter,
    &kCloudPortalImport,
    &kCloudPortalExportError,
    &kCloudPortalExport,
    &kCloudPortalExportAll,
    &kCloudPortalExportSelection,
    &kCloudPortalExportTranslatorNotFound,
    &kCloudPortalHomeFolderName,
    &kCloudPortalFileExportOverwriteTitle,
    &kCloudPortalFileExportOverwriteMessage,
    &kCloudPortalLookIn,
    &kCloudPortalNext,
    &kCloudPortalPrevious,
    &kCloudPortalShow,
    &kCloudPortalItems,
    &KCloudPortalDropBoxOAuthTimeout,
    &KCloudPortalImportSuccess,
    &KCloudPortalExportSuccess,
    &kCloudPortalParentDirectory,
};

const KStringResourceId *const furtherTexts[] = {
    &kHttpReplyTooLarge,
    &kHttpReplyTooComplex,
    &kHttpReplyEncoded,
    &kHttpWrongSize,
    &kHttpFileChanged,
    &kHttpOutOfMemory,
    &kHttpFileWriteError,
    &kHttpFileReadError,
    &kCloudPortalUploadNotConfirmed,
    &kCloudPortalExportFolderClosed,
    &kCloudPortalUserName,
    &kCloudPortalPassword,
    &kCloudPortalLoginRefused,
    &kCloudPortalLoginCancel,
    &kCloudPortalLoginQuestion,
    &kCloudPortalLoginNotStored,
    &kSignInUserName,
    &kSignInCertificate,
    &kSignInHostName,
    &kSignInNoTls,
    &kSignInRedirect,
    &kSignInNotFound,
    &kSignInNotWebDav,
    &kSignInUnknownHost,
    &kSignInUnreachable,
    &kSignInTimedOut,
    &kSignInMethod,
    &kSignInConfiguration,
    &kCloudPortalMore,
    &kProgressName,
    &kProgressWaiting,
    &kProgressOf,
    &kProgressPerSecond,
    &kPluginInitializeError,
    &kPluginUninitializeError,
    &kPluginRegisterError,
    &kPluginDeregisterError,
    &kPluginCommandErrorEnd,
    &kPluginBusy,
};

} // namespace

KStatus registerKStringResources()
{
    for (const KStringResourceId *id : texts)
        KStringResource::registerString(*id);
    for (const KStringResourceId *id : furtherTexts)
        KStringResource::registerString(*id);
    return KStatus();
}

KString getString(const KStringResourceId &id)
{
    KStatus status;
    return KStringResource::getString(id, status);
}

QString text(const KStringResourceId &id)
{
    return KQtUtil::toQString(getString(id));
}

} // namespace TavrinStrings
