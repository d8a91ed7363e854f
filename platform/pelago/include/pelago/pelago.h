// pelago/pelago.h
//
// The flat interface of the cloud library, for C and C++: sign-in sessions, and file storage on WebDAV servers. The
// servers are configured in pelago.ini, see the library's README.md.
//
// Texts are UTF-8. Handles need more than 32 bits. All functions must be called in the thread of the application
// object. Functions that send requests block; until they return, the event loop processes timers, paint events and
// sockets, but no user input. Other calls, also on the same handle, may be nested in them and in their callbacks. Null
// texts, unknown handles and null callbacks are allowed everywhere.

#ifndef PELAGO_PELAGO_H
#define PELAGO_PELAGO_H

#include <stdint.h>

#ifdef __cplusplus
#define SKEIN_OPTIONAL = 0
extern "C" {
#else
#define SKEIN_OPTIONAL
#endif

/** A server: the section of pelago.ini with this name in lower case. */
typedef enum Skein_Service_Deployment {
    Skein_Service_Deployment_Production = 0,
    Skein_Service_Deployment_Staging = 1,
    Skein_Service_Deployment_Development = 2
} Skein_Service_Deployment;

/** How the application shows the sign-in page. Not used by the library. */
typedef enum Skein_Auth_LoginViewMode {
    Skein_Auth_LoginViewMode_Embedded = 0, /* inside the parent widget */
    Skein_Auth_LoginViewMode_Window = 1,   /* in a window that does not block the application */
    Skein_Auth_LoginViewMode_Dialog = 2    /* in a modal dialog */
} Skein_Auth_LoginViewMode;

/** Every negative result of the functions below is one of these. */
typedef enum Skein_Result {
    Skein_Result_PasswordSignIn = -1, /* createLoginRequest: use Skein_Auth_login instead of a page */
    Skein_Result_UnknownHandle = -2,
    Skein_Result_BadArgument = -3,  /* an invalid address, identifier, name or mode */
    Skein_Result_NotSignedIn = -4,  /* not signed in, or the server refused the credentials (401) */
    Skein_Result_Network = -5,      /* no connection, no valid certificate, or a reply that broke off */
    Skein_Result_TimedOut = -6,     /* no byte was sent or received for the configured time */
    Skein_Result_Closed = -7,       /* the end point or session was closed during the call */
    Skein_Result_NotFound = -8,     /* 404, 410 */
    Skein_Result_Forbidden = -9,    /* 403, 405, 423; 401 for one folder only */
    Skein_Result_Conflict = -10,    /* the name exists, is a folder, or its content has changed (409, 412) */
    Skein_Result_NoSpace = -11,     /* 413, 507 */
    Skein_Result_Redirected = -12,  /* the server redirected; redirects are not followed */
    Skein_Result_ServerError = -13, /* any other status */
    Skein_Result_BadReply = -14,    /* the reply does not fit the request */
    Skein_Result_LocalFile = -15,   /* a local file cannot be read or written */
    Skein_Result_Internal = -16     /* out of memory, or called from another thread */
} Skein_Result;

/* Sign-in */

/** The sign-in address of a deployment; empty if pelago.ini has no usable one. Valid until the next call for the same
 * deployment. */
const char *Skein_Auth_getServerAddress(Skein_Service_Deployment deployment);

/** Opens a session with the sign-in service at serverAddress and reads the credentials that sessionFile stores for it.
 *  A missing, unreadable or damaged file means "not signed in"; with an empty name, nothing is stored. The consumer's
 *  key and secret are ignored, because WebDAV servers do not use them. Close the handle with Skein_Auth_closeSession.
 *  Sends no request. */
int64_t Skein_Auth_openSession(const char *consumerKey, const char *consumerSecret, const char *sessionFile,
                               const char *serverAddress);

/** Closes the session and ends the calls on its end points with Skein_Result_Closed. The session file stays. */
void Skein_Auth_closeSession(int64_t session);

/** 1 if the session has credentials that no server has refused, otherwise 0. Sends no request. */
int Skein_Auth_isUserLoggedIn(int64_t session);

/** Writes the address of the sign-in page, cut to size - 1 bytes and terminated by a zero; writes nothing if buffer is
 * null or size is 0. Returns the full length plus one, or Skein_Result_PasswordSignIn if the deployment signs in by
 * password. */
long Skein_Auth_createLoginRequest(int64_t session, char *buffer, unsigned long size);

/** Call it for each address that the sign-in page loads. Returns 1 if the address is the final one and has signed the
 *  user in, 0 for any other address, and a negative result if the final address has no credentials. Sends no request.
 */
int Skein_Auth_completeLogin(int64_t session, const char *finalAddress);

/** Signs in if the storage accepts the user name and the password. The first request has no credentials, to learn
 *  whether the server uses Basic or Digest. Returns 1 on success; on failure the session keeps its credentials. */
int Skein_Auth_login(int64_t session, const char *user, const char *password);

/** Signs out and removes the session file. Returns 1, or a negative result if the file cannot be removed; the user
 * stays signed in then. */
int Skein_Auth_logout(int64_t session);

/** The user's names; empty if unknown, never null. After a sign-in by password the last name is the user name. Valid
 * until the next call of the same function. */
const char *Skein_Auth_getUserFirstName(int64_t session);
const char *Skein_Auth_getUserLastName(int64_t session);

/* Storage */

/* An identifier is the path below the storage address: names separated by "/", not escaped, without a slash at the
 * start or the end. The identifier of the top folder is empty or null. */

/** One entry of a listing. Texts are valid during the call and never null. A folder has an empty mediaType and the size
 * 0. A file always has a mediaType; its size is -1 if the server sends none. modified has the server's format. */
typedef void (*Skein_ContentCb)(void *context, const char *id, const char *name, const char *modified,
                                const char *mediaType, int64_t size);
/** Transferred bytes of all files of the call; total is -1 if unknown. done never decreases. */
typedef void (*Skein_ProgressCb)(void *context, int64_t done, int64_t total);
/** Called once at the end of a transfer with the function's result. */
typedef void (*Skein_TransferCb)(void *context, int result);

/** The storage address of a deployment, ending in "/"; otherwise as Skein_Auth_getServerAddress. */
const char *Skein_Storage_getServerAddress(Skein_Service_Deployment deployment);

/** Creates an end point for the files below storageAddress. Each call on it uses the session's current credentials. The
 * address must have the origin of the session's sign-in address or of its deployment's storage. space must be "my", the
 * user's own files; the numbers must be 0. Negative on failure. Sends no request. */
int64_t Skein_Storage_createEndPoint(int64_t session, const char *storageAddress, int options, const char *space,
                                     int firstReserved, int secondReserved);

/** Closes the end point and ends the calls on it with Skein_Result_Closed. */
void Skein_Storage_destroyEndPoint(int64_t endPoint);

/** Calls contentCb once per entry of a folder, after the whole listing has arrived, and returns the number of entries.
 * Folders come first; names are in the order of the user's locale. On failure contentCb is not called, except before
 * Skein_Result_Closed. */
int Skein_Storage_listContents(int64_t endPoint, const char *folderId, Skein_ContentCb contentCb, void *context);

/** Downloads the file fileName of a folder to localFolder, which must exist, under localName. An older file of that
 * name is replaced after everything has arrived, and kept on failure. 1 on success. */
int Skein_Storage_downloadFile(int64_t endPoint, const char *folderId, const char *fileName, const char *localFolder,
                               const char *localName, Skein_ProgressCb progressCb, Skein_TransferCb downloadCb,
                               void *progressContext SKEIN_OPTIONAL, void *downloadContext SKEIN_OPTIONAL);

/** Stores count local files as new files of a folder under the given names. Stops at a name that exists; nothing is
 * overwritten. Returns the number of stored files, or a negative result if it is 0. */
int Skein_Storage_uploadFiles(int64_t endPoint, const char *folderId, const char *const *localPaths,
                              const char *const *fileNames, int count, Skein_ProgressCb progressCb,
                              Skein_TransferCb uploadCb, void *progressContext SKEIN_OPTIONAL,
                              void *uploadContext SKEIN_OPTIONAL);

/** Replaces the content of the file itemId in a folder; mode must be 2, "replace". The old content stays until the new
 * one has arrived completely, and stays if another client has changed it meanwhile. A missing file is stored as a new
 * one. 1 on success. */
int Skein_Storage_updateFile(int64_t endPoint, const char *folderId, const char *itemId, int mode,
                             const char *localPath, Skein_ProgressCb progressCb, Skein_TransferCb uploadCb,
                             void *progressContext SKEIN_OPTIONAL, void *uploadContext SKEIN_OPTIONAL);

/* Tracing */

/** 0, the default: no lines; 1: one line per failed call; 2: also one line per request. A line contains no secret, no
 * query and no file content. A line of level 1 contains the failed action, the reason and the remedy. It ends in
 * "[cause]" or "[cause: detail]", for programs with other texts. The library's README.md lists the causes. */
void SkeinTrace_setLevel(int level);

/** Sets the function that receives the lines, with their level and context. Null writes them to standard error. */
void SkeinTrace_setCallback(void (*callback)(void *context, int level, const char *line), void *context);

#ifdef __cplusplus
}
#endif

#undef SKEIN_OPTIONAL

#endif
