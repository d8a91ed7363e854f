// pelago/pelago.h
//
// The cloud library's flat interface, for C and C++: sign-in sessions, and file storage on any WebDAV server. Which
// servers there are is written in pelago.ini; see the library's README.md.
//
// Texts are UTF-8. Handles are 64 bits wide and use more than 32 of them. All calls belong to the thread of the
// application object. What asks a server blocks: until it returns, timers, paints and sockets are served and user
// input waits, so other calls, on the same handles too, may run inside it and inside the call-backs. No function
// crashes on a null text, an unknown handle or a null call-back.

#ifndef PELAGO_PELAGO_H
#define PELAGO_PELAGO_H

#include <stdint.h>

#ifdef __cplusplus
#define SKEIN_OPTIONAL = 0
extern "C" {
#else
#define SKEIN_OPTIONAL
#endif

/** The servers to talk to. Each is a section of pelago.ini of the same name in lower case. */
typedef enum Skein_Service_Deployment {
    Skein_Service_Deployment_Production = 0,
    Skein_Service_Deployment_Staging = 1,
    Skein_Service_Deployment_Development = 2
} Skein_Service_Deployment;

/** How the application shows the sign-in page. The library leaves that to the caller. */
typedef enum Skein_Auth_LoginViewMode {
    Skein_Auth_LoginViewMode_Embedded = 0, /* inside the parent widget */
    Skein_Auth_LoginViewMode_Window = 1,   /* in a window that does not block the application */
    Skein_Auth_LoginViewMode_Dialog = 2    /* in a modal dialog */
} Skein_Auth_LoginViewMode;

/** Every negative result of every function below is one of these. */
typedef enum Skein_Result {
    Skein_Result_PasswordSignIn = -1, /* createLoginRequest: there is no page, use Skein_Auth_login */
    Skein_Result_UnknownHandle = -2,
    Skein_Result_BadArgument = -3,  /* an address, identifier, name or mode that cannot be used */
    Skein_Result_NotSignedIn = -4,  /* nobody is signed in, or the server refused the credentials (401) */
    Skein_Result_Network = -5,      /* no connection, no valid certificate, or a reply that broke off */
    Skein_Result_TimedOut = -6,     /* no byte went either way for the configured time */
    Skein_Result_Closed = -7,       /* the end point or session was given up while the call ran */
    Skein_Result_NotFound = -8,     /* 404, 410 */
    Skein_Result_Forbidden = -9,    /* 403, 405, 423; 401 for one folder only */
    Skein_Result_Conflict = -10,    /* the name is taken, is a folder, or its content changed meanwhile (409, 412) */
    Skein_Result_NoSpace = -11,     /* 413, 507 */
    Skein_Result_Redirected = -12,  /* the server pointed to another address, which is never followed */
    Skein_Result_ServerError = -13, /* any other status */
    Skein_Result_BadReply = -14,    /* the reply is no answer to the question */
    Skein_Result_LocalFile = -15,   /* a local file cannot be read or written */
    Skein_Result_Internal = -16     /* no memory, or not the application object's thread */
} Skein_Result;

/* Sign-in */

/** The sign-in service of a deployment; empty when pelago.ini gives none that can be used. Valid until the next call
 * for the same deployment. */
const char *Skein_Auth_getServerAddress(Skein_Service_Deployment deployment);

/** A session with the sign-in service at serverAddress. A sign-in to that address that sessionFile remembers is picked
 *  up; a file that is missing, unreadable or damaged means "not signed in", an empty name that nothing is remembered.
 *  The consumer's key and secret identify the application; WebDAV servers ask for none, so they are not sent.
 *  The handle is closed with Skein_Auth_closeSession. Never asks a server. */
int64_t Skein_Auth_openSession(const char *consumerKey, const char *consumerSecret, const char *sessionFile,
                               const char *serverAddress);

/** Gives up the session, and with it the calls that run on its end points. The session file stays. */
void Skein_Auth_closeSession(int64_t session);

/** 1 when the session holds credentials that no server has refused, 0 when not. Never asks a server. */
int Skein_Auth_isUserLoggedIn(int64_t session);

/** Writes the address of the sign-in page, cut to size - 1 bytes and ended by a zero; a null buffer or a size of 0
 * writes nothing. Returns the full length plus one. Skein_Result_PasswordSignIn where the deployment signs in by
 * password. */
long Skein_Auth_createLoginRequest(int64_t session, char *buffer, unsigned long size);

/** Shows the session an address that the sign-in page has come to. 1: it was the final one and the user is signed in
 *  now; 0: not finished yet; negative: the final address refuses or lacks something. Never asks a server. */
int Skein_Auth_completeLogin(int64_t session, const char *finalAddress);

/** Signs in with a name and a password after asking the storage server whether it takes them, first without them to
 *  learn how it wants them: Basic or Digest. 1 when it did. Otherwise what the session held before stays. */
int Skein_Auth_login(int64_t session, const char *user, const char *password);

/** 1 once nobody is signed in any more and the session file holds nothing. When the file cannot be removed, the result
 *  is negative and the user stays signed in. */
int Skein_Auth_logout(int64_t session);

/** The user's names, possibly empty, never null; after a sign-in by password the last name is the user name. Valid
 * until the same function is called again. */
const char *Skein_Auth_getUserFirstName(int64_t session);
const char *Skein_Auth_getUserLastName(int64_t session);

/* Storage */

/* An entry's identifier is its path below the storage address: names separated by "/", nothing escaped, no slash at
 * either end. The identifier of the storage's own folder is empty; a null identifier means the same. */

/** One entry of a listing. Texts are valid during the call and never null. A folder has an empty mediaType and the size
 * 0; a file always has a mediaType, and the size -1 when the server does not tell. modified is as the server writes it.
 */
typedef void (*Skein_ContentCb)(void *context, const char *id, const char *name, const char *modified,
                                const char *mediaType, int64_t size);
/** Bytes moved so far of all files of the call; total is -1 when unknown. done never falls. */
typedef void (*Skein_ProgressCb)(void *context, int64_t done, int64_t total);
/** Called once at the end of a transfer with the result that the function is about to return. */
typedef void (*Skein_TransferCb)(void *context, int result);

/** The storage service of a deployment, ending in "/"; otherwise as Skein_Auth_getServerAddress. */
const char *Skein_Storage_getServerAddress(Skein_Service_Deployment deployment);

/** An end point for the files below storageAddress, with the credentials that the session holds at each call. The
 * address must have the origin of the session's sign-in service or of its deployment's storage. space must be "my", the
 * user's own files; the numbers must be 0. Negative on failure. Never asks a server. */
int64_t Skein_Storage_createEndPoint(int64_t session, const char *storageAddress, int options, const char *space,
                                     int firstReserved, int secondReserved);

/** Gives up the end point; calls that run on it end with Skein_Result_Closed. */
void Skein_Storage_destroyEndPoint(int64_t endPoint);

/** Calls contentCb once per entry of a folder, after the whole listing has arrived, and returns their number. Folders
 * come first; names are in the order of the user's locale. On failure contentCb was not called, but for
 * Skein_Result_Closed. */
int Skein_Storage_listContents(int64_t endPoint, const char *folderId, Skein_ContentCb contentCb, void *context);

/** Loads the file fileName of a folder into localFolder, which must exist, under localName. An older file of that name
 * is replaced once everything has arrived, and kept on failure. 1 on success. */
int Skein_Storage_downloadFile(int64_t endPoint, const char *folderId, const char *fileName, const char *localFolder,
                               const char *localName, Skein_ProgressCb progressCb, Skein_TransferCb downloadCb,
                               void *progressContext SKEIN_OPTIONAL, void *downloadContext SKEIN_OPTIONAL);

/** Stores count local files as new files of a folder under the given names. Nothing is overwritten: a name that is
 * taken ends the call. Returns how many were stored; when that is none, why. */
int Skein_Storage_uploadFiles(int64_t endPoint, const char *folderId, const char *const *localPaths,
                              const char *const *fileNames, int count, Skein_ProgressCb progressCb,
                              Skein_TransferCb uploadCb, void *progressContext SKEIN_OPTIONAL,
                              void *uploadContext SKEIN_OPTIONAL);

/** Replaces the content of the file itemId in a folder; mode must be 2, "replace". The old content stays until the new
 * one has arrived whole, and stays for good when somebody else changed it meanwhile. A file that is gone is stored
 * anew. 1 on success. */
int Skein_Storage_updateFile(int64_t endPoint, const char *folderId, const char *itemId, int mode,
                             const char *localPath, Skein_ProgressCb progressCb, Skein_TransferCb uploadCb,
                             void *progressContext SKEIN_OPTIONAL, void *uploadContext SKEIN_OPTIONAL);

/* Tracing */

/** 0: nothing, which is the default; 1: one line for each call that failed; 2: also one line per request. No line holds
 * a secret, a query or file content. A line of level 1 says what failed, why and what to do, and ends in "[cause]" or
 * "[cause: detail]", for programs that show a text of their own. The causes are those in the table of the library's
 * README.md. */
void SkeinTrace_setLevel(int level);

/** Where lines go, with their level and context; null sends them to the standard error output. */
void SkeinTrace_setCallback(void (*callback)(void *context, int level, const char *line), void *context);

#ifdef __cplusplus
}
#endif

#undef SKEIN_OPTIONAL

#endif
