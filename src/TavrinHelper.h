// TavrinHelper.h
//
// Helpers for all layers of the plug-in: the run mode, the wait cursor, the host's folders, and functions that make
// text safe for host commands, request paths and local files.

#pragma once

#include "ReturnStatus.h"
#include "TavrinSettings.h"

#include <openkelda/openkelda.h>

#include <QIcon>
#include <QString>

#include <map>
#include <string>

/// Request headers, search criteria, or user information.
using HeaderMap = std::map<std::wstring, std::wstring>;

/// Returns true if the host can show a user interface (all run modes but batch and library).
bool IsKeldaCanRunUI();

/// Removes the folder \p path (absolute or relative) and its contents. Removes links, but does not follow them. Returns
/// true if \p path does not exist afterwards. Stops with false at the first entry that cannot be removed.
bool qtHelper_removeDir(const QString &path);

namespace Tavrin {

/// The destructor turns off the host's wait cursor if it is on.
class WaitCursorAuto
{
public:
    WaitCursorAuto() = default;
    ~WaitCursorAuto();
    WaitCursorAuto(const WaitCursorAuto &) = delete;
    WaitCursorAuto &operator=(const WaitCursorAuto &) = delete;
};

/// Shows the host's wait cursor during its lifetime.
class WaitCursor : public WaitCursorAuto
{
public:
    WaitCursor();
};

} // namespace Tavrin

namespace TavrinHelper {

/// Escapes \p text for use between double quotes in a host command: backslash, double quote, line feed, carriage return
/// and tab. Does not add the quotes.
KString quoted(const KString &text);
/// Percent-encodes the ASCII \p characters in \p text, a part of a request path. httpClient encodes other characters.
QString percentEncoded(const QString &text, const char *characters);

/// Returns the host's application folder of the user, with a separator at the end; "./" if the host returns an empty
/// path.
KString userAppDirectory();
/// Returns userAppDirectory() + "temp_cloud".
KString tempCloudDirectory();

/// Returns the installation folder of the host (KELDA_LOCATION); "." if the host returns an empty path.
KString hostLocation();
/// Returns the icon \p fileName from the plug-in's icon folder; an empty icon if the file does not exist.
QIcon portalIcon(const KString &fileName);

/// Makes a service's text safe as one component of a local path. Returns "_" if \p name is empty, "." or "..", or
/// contains a separator, NUL, a drive letter or an unpaired surrogate; otherwise \p name.
QString safeLocalName(const QString &name);
/// Applies safeLocalName() to each component of \p path ("a/b/c"). Removes empty components, and keeps a leading "/".
QString safeLocalPath(const QString &path);

} // namespace TavrinHelper
