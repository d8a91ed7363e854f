// TavrinStrings.h
//
// The texts that the plug-in shows. Each is a string resource of the host, which may replace it by a localised one;
// the program refers to a text by its identifier only. Texts that end in a blank get a value appended.
// A localised table stands in scripts/strings.

#pragma once

#include <openkelda/KStatus.h>
#include <openkelda/KString.h>
#include <openkelda/KStringResource.h>

#include <QString>

/// Identifiers live from the loading of the library to its unloading, so a static object must not look one up.
namespace TavrinStrings {

inline const KStringResourceId kOk("Tavrin", "kOk", "Ok");
inline const KStringResourceId kHttpRequestTimeout("Tavrin", "kHttpRequestTimeout", "408 Http request timeout");
inline const KStringResourceId kHttpError("Tavrin", "kHttpError", "http Error: ");
inline const KStringResourceId kHttpErrorMessageTitle("Tavrin", "kHttpErrorMessageTitle", "Http Error Message");
inline const KStringResourceId kHttpSuccessMessageTitle("Tavrin", "kHttpSuccessMessageTitle", "Http Success Message");
inline const KStringResourceId kHttpCode("Tavrin", "kHttpCode", "Http code: ");
inline const KStringResourceId
    kHttpServerListenError("Tavrin", "kHttpServerListenError",
                           "Error listening to localhost because the following port is protected: ");
inline const KStringResourceId KHttpServerErrorGeneric(
    "Tavrin", "KHttpServerErrorGeneric",
    "Sorry but we were not able to connect, it is possible the service is down. Please try again.");
inline const KStringResourceId kCloudPortalLoginErrorLoadingPage("Tavrin", "kCloudPortalLoginErrorLoadingPage",
                                                                 "Login Failed. Error loading the login web page.");
inline const KStringResourceId kCloudPortalLoginErrorInternal("Tavrin", "kCloudPortalLoginErrorInternal",
                                                              "Login Failed. Unknown error.");
inline const KStringResourceId kCloudPortalLoginDone("Tavrin", "kCloudPortalLoginDone",
                                                     "Login successful, you can safely close this web page.");
inline const KStringResourceId kCloudPortalWindowLabel("Tavrin", "kCloudPortalWindowLabel", "Tavrin");
inline const KStringResourceId kCloudPortalMenu("Tavrin", "kCloudPortalMenu", "Tavrin...");
inline const KStringResourceId kCloudPortalNoConnection("Tavrin", "kCloudPortalNoConnection", "No Connection");
inline const KStringResourceId kCloudPortalLogIn("Tavrin", "kCloudPortalLogIn", "Login");
inline const KStringResourceId kCloudPortalLogOut("Tavrin", "kCloudPortalLogOut", "Logout");
inline const KStringResourceId kCloudPortalSearch("Tavrin", "kCloudPortalSearch", "Search");
inline const KStringResourceId kCloudPortalRefresh("Tavrin", "kCloudPortalRefresh", "Refresh");
inline const KStringResourceId kCloudPortalImportOptions("Tavrin", "kCloudPortalImportOptions",
                                                         "Show Import Options after downloading the file");
inline const KStringResourceId kCloudPortalExportOptions("Tavrin", "kCloudPortalExportOptions", "Show Export Options");
inline const KStringResourceId kCloudPortalImportOptionsTitle("Tavrin", "kCloudPortalImportOptionsTitle",
                                                              "Import Options");
inline const KStringResourceId kCloudPortalExportOptionsTitle("Tavrin", "kCloudPortalExportOptionsTitle",
                                                              "Export Options");
inline const KStringResourceId kCloudPortalFileName("Tavrin", "kCloudPortalFileName", "File name: ");
inline const KStringResourceId kCloudPortalFilter("Tavrin", "kCloudPortalFilter", "Files of type:");
inline const KStringResourceId kCloudPortalImport("Tavrin", "kCloudPortalImport", "Import");
inline const KStringResourceId kCloudPortalExportError("Tavrin", "kCloudPortalExportError", "Export Error");
inline const KStringResourceId kCloudPortalExport("Tavrin", "kCloudPortalExport", "Export");
inline const KStringResourceId kCloudPortalExportAll("Tavrin", "kCloudPortalExportAll", "Export All");
inline const KStringResourceId kCloudPortalExportSelection("Tavrin", "kCloudPortalExportSelection", "Export Selection");
inline const KStringResourceId
    kCloudPortalExportTranslatorNotFound("Tavrin", "kCloudPortalExportTranslatorNotFound",
                                         "Cannot find a valid exporter to export this file type.");
inline const KStringResourceId kCloudPortalHomeFolderName("Tavrin", "kCloudPortalHomeFolderName", "Home");
inline const KStringResourceId kCloudPortalFileExportOverwriteTitle("Tavrin", "kCloudPortalFileExportOverwriteTitle",
                                                                    "File Already Exists");
inline const KStringResourceId kCloudPortalFileExportOverwriteMessage("Tavrin",
                                                                      "kCloudPortalFileExportOverwriteMessage",
                                                                      "Do you want to overwrite the file?");
inline const KStringResourceId kCloudPortalLookIn("Tavrin", "kCloudPortalLookIn", "Look In:");
inline const KStringResourceId kCloudPortalNext("Tavrin", "kCloudPortalNext", "Next");
inline const KStringResourceId kCloudPortalPrevious("Tavrin", "kCloudPortalPrevious", "Previous");
inline const KStringResourceId kCloudPortalShow("Tavrin", "kCloudPortalShow", "show");
inline const KStringResourceId kCloudPortalItems("Tavrin", "kCloudPortalItems", "items");
inline const KStringResourceId KCloudPortalDropBoxOAuthTimeout("Tavrin", "KCloudPortalDropBoxOAuthTimeout",
                                                               "Dropbox authentication timeout");
inline const KStringResourceId KCloudPortalImportSuccess("Tavrin", "KCloudPortalImportSuccess", "Successful import: ");
inline const KStringResourceId KCloudPortalExportSuccess("Tavrin", "KCloudPortalExportSuccess", "Successful export: ");
inline const KStringResourceId kCloudPortalParentDirectory("Tavrin", "kCloudPortalParentDirectory", "Parent Directory");

inline const KStringResourceId kHttpReplyTooLarge("Tavrin", "kHttpReplyTooLarge",
                                                  "The server's reply is larger than the limit of 16 MiB.");
inline const KStringResourceId
    kHttpReplyTooComplex("Tavrin", "kHttpReplyTooComplex",
                         "The server's reply has more than the limit of 500,000 values and was not read.");
inline const KStringResourceId
    kHttpReplyEncoded("Tavrin", "kHttpReplyEncoded",
                      "The server sent its reply in an encoding that was not asked for, so it was not read: ");
inline const KStringResourceId
    kHttpWrongSize("Tavrin", "kHttpWrongSize",
                   "The downloaded file does not have the size that the list shows. Refresh the list and try again.");
inline const KStringResourceId
    kHttpFileChanged("Tavrin", "kHttpFileChanged",
                     "The upload was stopped because another program changed the file. Try again: ");
inline const KStringResourceId kHttpOutOfMemory("Tavrin", "kHttpOutOfMemory",
                                                "Out of memory. Close other programs and try again.");
inline const KStringResourceId kHttpFileWriteError("Tavrin", "kHttpFileWriteError", "The file cannot be written: ");
inline const KStringResourceId kHttpFileReadError("Tavrin", "kHttpFileReadError", "The file cannot be read: ");
inline const KStringResourceId kCloudPortalUploadNotConfirmed("Tavrin", "kCloudPortalUploadNotConfirmed",
                                                              "The service did not confirm that the file was stored.");
inline const KStringResourceId kCloudPortalExportFolderClosed("Tavrin", "kCloudPortalExportFolderClosed",
                                                              "The folder to export into is not open any more.");
inline const KStringResourceId kCloudPortalUserName("Tavrin", "kCloudPortalUserName", "User name:");
inline const KStringResourceId kCloudPortalPassword("Tavrin", "kCloudPortalPassword", "Password:");
inline const KStringResourceId kCloudPortalLoginRefused("Tavrin", "kCloudPortalLoginRefused",
                                                        "The service does not know this name with this password.");
inline const KStringResourceId kCloudPortalLoginCancel("Tavrin", "kCloudPortalLoginCancel", "Cancel the sign-in");
inline const KStringResourceId
    kCloudPortalLoginQuestion("Tavrin", "kCloudPortalLoginQuestion",
                              "The page asked a question. It cannot be answered here: the page received \"Cancel\".");
inline const KStringResourceId
    kCloudPortalLoginNotStored("Tavrin", "kCloudPortalLoginNotStored",
                               "Signing in or out cannot be stored, so it lasts only until the host is closed. "
                               "Check this file and its folder: ");
inline const KStringResourceId kSignInUserName("Tavrin", "kSignInUserName", "A user name cannot contain a colon.");
inline const KStringResourceId
    kSignInCertificate("Tavrin", "kSignInCertificate",
                       "The server's certificate is not trusted. For a server of your own, start the host with "
                       "--ca-file and the certificate of its authority. The reason: ");
inline const KStringResourceId
    kSignInHostName("Tavrin", "kSignInHostName",
                    "The server's certificate is for another host name. Write that name into pelago.ini: ");
inline const KStringResourceId
    kSignInNoTls("Tavrin", "kSignInNoTls",
                 "The server does not speak TLS at this address. Check https and the port in pelago.ini.");
inline const KStringResourceId
    kSignInRedirect("Tavrin", "kSignInRedirect",
                    "The server redirects to another address. Write that one into pelago.ini: ");
inline const KStringResourceId
    kSignInNotFound("Tavrin", "kSignInNotFound",
                    "The server has no folder at the address in pelago.ini. Check its path.");
inline const KStringResourceId
    kSignInNotWebDav("Tavrin", "kSignInNotWebDav",
                     "The server at the address in pelago.ini is not a WebDAV server. Check the address.");
inline const KStringResourceId
    kSignInUnknownHost("Tavrin", "kSignInUnknownHost",
                       "The host name is unknown. Check the address in pelago.ini and the network: ");
inline const KStringResourceId
    kSignInUnreachable("Tavrin", "kSignInUnreachable",
                       "No server answers. Check the address in pelago.ini, and that the server runs: ");
inline const KStringResourceId kSignInTimedOut("Tavrin", "kSignInTimedOut",
                                               "The server did not answer in time. Try again later.");
inline const KStringResourceId
    kSignInMethod("Tavrin", "kSignInMethod",
                  "The server must offer Basic, or Digest with MD5, for the sign-in. It offers: ");
inline const KStringResourceId
    kSignInConfiguration("Tavrin", "kSignInConfiguration",
                         "pelago.ini cannot be used. An address begins with https:// and holds no user name, query or "
                         "#; http needs allowPlainHttp=true. Correct this part: ");
inline const KStringResourceId kCloudPortalMore("Tavrin", "kCloudPortalMore", "More");
inline const KStringResourceId kProgressName("Tavrin", "kProgressName", "Progress");
inline const KStringResourceId kProgressWaiting("Tavrin", "kProgressWaiting", "Waiting for the service");
inline const KStringResourceId kProgressOf("Tavrin", "kProgressOf", " of ");
inline const KStringResourceId kProgressPerSecond("Tavrin", "kProgressPerSecond", "/s");
inline const KStringResourceId kPluginInitializeError("Tavrin", "kPluginInitializeError",
                                                      "TavrinCmd - could not initialize plugin: ");
inline const KStringResourceId kPluginUninitializeError("Tavrin", "kPluginUninitializeError",
                                                        "TavrinCmd - could not uninitialize plugin: ");
inline const KStringResourceId kPluginRegisterError("Tavrin", "kPluginRegisterError",
                                                    "TavrinCmd - could not register '");
inline const KStringResourceId kPluginDeregisterError("Tavrin", "kPluginDeregisterError",
                                                      "TavrinCmd - could not deregister '");
inline const KStringResourceId kPluginCommandErrorEnd("Tavrin", "kPluginCommandErrorEnd", "' command: ");
inline const KStringResourceId
    kPluginBusy("Tavrin", "kPluginBusy",
                "Tavrin is still talking to a cloud service. Please unload it when that has ended.");

/// Makes every identifier known to the host; always a success. A text that the host already replaced stays replaced.
KStatus registerKStringResources();
/// The current text of \p id; its default when the host does not know it.
KString getString(const KStringResourceId &id);
/// The same as a QString, for widgets.
QString text(const KStringResourceId &id);

} // namespace TavrinStrings
