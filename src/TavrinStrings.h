// TavrinStrings.h
//
// The texts that the plug-in shows. Each text is a string resource of the host, which may replace it with a localised
// text; the program uses only its identifier. A value is appended to a text that ends in a blank. The localised tables
// are in scripts/strings.

#pragma once

#include <openkelda/KStatus.h>
#include <openkelda/KString.h>
#include <openkelda/KStringResource.h>

#include <QString>

/// The identifiers exist while the library is loaded. Constructors of static objects must not look up a text.
namespace TavrinStrings {

/// An identifier that registerKStringResources() registers.
class Id : public KStringResourceId
{
public:
    Id(const char *key, const char *defaultText);
};

inline const Id kOk("kOk", "Ok");
inline const Id kHttpRequestTimeout("kHttpRequestTimeout", "408 Http request timeout");
inline const Id kHttpError("kHttpError", "http Error: ");
inline const Id kHttpErrorMessageTitle("kHttpErrorMessageTitle", "Http Error Message");
inline const Id kHttpSuccessMessageTitle("kHttpSuccessMessageTitle", "Http Success Message");
inline const Id kHttpCode("kHttpCode", "Http code: ");
inline const Id kHttpServerListenError("kHttpServerListenError",
                                       "Error listening to localhost because the following port is protected: ");
inline const Id KHttpServerErrorGeneric(
    "KHttpServerErrorGeneric",
    "Sorry but we were not able to connect, it is possible the service is down. Please try again.");
inline const Id kCloudPortalLoginErrorLoadingPage("kCloudPortalLoginErrorLoadingPage",
                                                  "Login Failed. Error loading the login web page.");
inline const Id kCloudPortalLoginErrorInternal("kCloudPortalLoginErrorInternal", "Login Failed. Unknown error.");
inline const Id kCloudPortalLoginDone("kCloudPortalLoginDone", "Login successful, you can safely close this web page.");
inline const Id kCloudPortalWindowLabel("kCloudPortalWindowLabel", "Tavrin");
inline const Id kCloudPortalMenu("kCloudPortalMenu", "Tavrin...");
inline const Id kCloudPortalNoConnection("kCloudPortalNoConnection", "No Connection");
inline const Id kCloudPortalLogIn("kCloudPortalLogIn", "Login");
inline const Id kCloudPortalLogOut("kCloudPortalLogOut", "Logout");
inline const Id kCloudPortalSearch("kCloudPortalSearch", "Search");
inline const Id kCloudPortalRefresh("kCloudPortalRefresh", "Refresh");
inline const Id kCloudPortalImportOptions("kCloudPortalImportOptions",
                                          "Show Import Options after downloading the file");
inline const Id kCloudPortalExportOptions("kCloudPortalExportOptions", "Show Export Options");
inline const Id kCloudPortalImportOptionsTitle("kCloudPortalImportOptionsTitle", "Import Options");
inline const Id kCloudPortalExportOptionsTitle("kCloudPortalExportOptionsTitle", "Export Options");
inline const Id kCloudPortalFileName("kCloudPortalFileName", "File name: ");
inline const Id kCloudPortalFilter("kCloudPortalFilter", "Files of type:");
inline const Id kCloudPortalImport("kCloudPortalImport", "Import");
inline const Id kCloudPortalExportError("kCloudPortalExportError", "Export Error");
inline const Id kCloudPortalExport("kCloudPortalExport", "Export");
inline const Id kCloudPortalExportAll("kCloudPortalExportAll", "Export All");
inline const Id kCloudPortalExportSelection("kCloudPortalExportSelection", "Export Selection");
inline const Id kCloudPortalExportTranslatorNotFound("kCloudPortalExportTranslatorNotFound",
                                                     "Cannot find a valid exporter to export this file type.");
inline const Id kCloudPortalHomeFolderName("kCloudPortalHomeFolderName", "Home");
inline const Id kCloudPortalFileExportOverwriteTitle("kCloudPortalFileExportOverwriteTitle", "File Already Exists");
inline const Id kCloudPortalFileExportOverwriteMessage("kCloudPortalFileExportOverwriteMessage",
                                                       "Do you want to overwrite the file?");
inline const Id kCloudPortalLookIn("kCloudPortalLookIn", "Look In:");
inline const Id kCloudPortalNext("kCloudPortalNext", "Next");
inline const Id kCloudPortalPrevious("kCloudPortalPrevious", "Previous");
inline const Id kCloudPortalShow("kCloudPortalShow", "show");
inline const Id kCloudPortalItems("kCloudPortalItems", "items");
inline const Id KCloudPortalDropBoxOAuthTimeout("KCloudPortalDropBoxOAuthTimeout", "Dropbox authentication timeout");
inline const Id KCloudPortalImportSuccess("KCloudPortalImportSuccess", "Successful import: ");
inline const Id KCloudPortalExportSuccess("KCloudPortalExportSuccess", "Successful export: ");
inline const Id kCloudPortalParentDirectory("kCloudPortalParentDirectory", "Parent Directory");

inline const Id kHttpReplyTooLarge("kHttpReplyTooLarge", "The server's reply is larger than the limit of 16 MiB.");
inline const Id kHttpReplyTooComplex("kHttpReplyTooComplex",
                                     "The server's reply has more than 500,000 values and was not read.");
inline const Id kHttpReplyEncoded("kHttpReplyEncoded",
                                  "The server's reply was not read, because it has an unrequested encoding: ");
inline const Id
    kHttpWrongSize("kHttpWrongSize",
                   "The downloaded file does not have the size that the list shows. Refresh the list and try again.");
inline const Id kHttpFileChanged("kHttpFileChanged",
                                 "The upload was stopped because another program changed the file. Try again: ");
inline const Id kHttpOutOfMemory("kHttpOutOfMemory", "Out of memory. Close other programs and try again.");
inline const Id kHttpFileWriteError("kHttpFileWriteError", "The file cannot be written: ");
inline const Id kHttpFileReadError("kHttpFileReadError", "The file cannot be read: ");
inline const Id kCloudPortalUploadNotConfirmed("kCloudPortalUploadNotConfirmed",
                                               "The service did not confirm that the file was stored.");
inline const Id kCloudPortalExportFolderClosed("kCloudPortalExportFolderClosed",
                                               "The export folder was closed. Open it and export again.");
inline const Id kCloudPortalUserName("kCloudPortalUserName", "User name:");
inline const Id kCloudPortalPassword("kCloudPortalPassword", "Password:");
inline const Id kCloudPortalLoginRefused("kCloudPortalLoginRefused", "Incorrect user name or password.");
inline const Id kCloudPortalLoginCancel("kCloudPortalLoginCancel", "Cancel the sign-in");
inline const Id
    kCloudPortalLoginQuestion("kCloudPortalLoginQuestion",
                              "The page asked a question. Tavrin does not support this and replied \"Cancel\".");
inline const Id kCloudPortalLoginNotStored(
    "kCloudPortalLoginNotStored",
    "Signing in or out could not be saved and lasts only until the host is closed. Check this file and its folder: ");
inline const Id kSignInUserName("kSignInUserName", "A user name cannot contain a colon.");
inline const Id kSignInCertificate("kSignInCertificate",
                                   "The server's certificate is not trusted. For your own server, start the host with "
                                   "--ca-file and the certificate of its authority. Reason: ");
inline const Id kSignInHostName("kSignInHostName",
                                "The server's certificate is for another host name. Enter that name in pelago.ini: ");
inline const Id
    kSignInNoTls("kSignInNoTls",
                 "The server does not support TLS at this address. Check https and the port in pelago.ini.");
inline const Id kSignInRedirect("kSignInRedirect",
                                "The server redirects to another address. Enter that address in pelago.ini: ");
inline const Id kSignInNotFound("kSignInNotFound",
                                "The server has no folder at the address in pelago.ini. Check its path.");
inline const Id kSignInNotWebDav("kSignInNotWebDav",
                                 "The server at the address in pelago.ini is not a WebDAV server. Check the address.");
inline const Id kSignInUnknownHost("kSignInUnknownHost",
                                   "The host name is unknown. Check the address in pelago.ini and the network: ");
inline const Id kSignInUnreachable(
    "kSignInUnreachable",
    "The server does not respond. Check the address in pelago.ini and whether the server is running: ");
inline const Id kSignInTimedOut("kSignInTimedOut", "The server did not respond in time. Try again later.");
inline const Id kSignInMethod("kSignInMethod",
                              "The server must support Basic authentication, or Digest with MD5. It supports: ");
inline const Id
    kSignInConfiguration("kSignInConfiguration",
                         "pelago.ini is invalid. An address must begin with https:// and must not contain a user name, "
                         "a query or #; http requires allowPlainHttp=true. Correct this part: ");
inline const Id kCloudPortalMore("kCloudPortalMore", "More");
inline const Id kProgressName("kProgressName", "Progress");
inline const Id kProgressWaiting("kProgressWaiting", "Waiting for the service");
inline const Id kProgressOf("kProgressOf", " of ");
inline const Id kProgressPerSecond("kProgressPerSecond", "/s");
inline const Id kPluginInitializeError("kPluginInitializeError", "TavrinCmd - could not initialize plugin: ");
inline const Id kPluginUninitializeError("kPluginUninitializeError", "TavrinCmd - could not uninitialize plugin: ");
inline const Id kPluginRegisterError("kPluginRegisterError", "TavrinCmd - could not register '");
inline const Id kPluginDeregisterError("kPluginDeregisterError", "TavrinCmd - could not deregister '");
inline const Id kPluginCommandErrorEnd("kPluginCommandErrorEnd", "' command: ");
inline const Id kPluginBusy("kPluginBusy",
                            "A request to a cloud service is still running. Unload Tavrin when it has finished.");

/// Registers every identifier with the host, in the order above, and returns success. Texts that the host has already
/// replaced stay replaced.
KStatus registerKStringResources();
/// Returns the current text of \p id, or its default text if it is not registered.
KString getString(const KStringResourceId &id);
/// Returns the same text as a QString.
QString text(const KStringResourceId &id);

} // namespace TavrinStrings
