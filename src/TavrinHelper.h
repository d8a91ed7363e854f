// TavrinHelper.h
//
// Small things that every layer of the plug-in needs: the run-mode test, the wait cursor, quoting for host commands,
// local names that are safe to write, and removal of a folder tree.

#pragma once

#include "ReturnStatus.h"
#include "TavrinSettings.h"

#include <openkelda/openkelda.h>

#include <QIcon>
#include <QString>

#include <map>
#include <string>

/// Ordered map of wide texts: request headers, search criteria, user information.
using HeaderMap = std::map<std::wstring, std::wstring>;

/// True when the host can show a user interface (every run mode but batch and library).
bool IsKeldaCanRunUI();

/// Removes the directory \p path (absolute or relative) with everything in it; a link is removed, never followed.
/// True when nothing is left or there was nothing; the first entry that cannot be removed ends the walk with false.
bool qtHelper_removeDir(const QString &path);

namespace Tavrin {

/// Turns the host's wait cursor off when it goes out of scope, if it is on.
class WaitCursorAuto
{
public:
    WaitCursorAuto() = default;
    ~WaitCursorAuto();
    WaitCursorAuto(const WaitCursorAuto &) = delete;
    WaitCursorAuto &operator=(const WaitCursorAuto &) = delete;
};

/// Shows the host's wait cursor as long as it lives.
class WaitCursor : public WaitCursorAuto
{
public:
    WaitCursor();
};

} // namespace Tavrin

namespace TavrinHelper {

/// \p text as it must stand between double quotes in a host command: backslash, double quote, line feed, carriage
/// return and tab escaped, everything else byte for byte. The quotes themselves are not added. NUL ends the text.
KString quoted(const KString &text);

/// The host's per-user application directory, ending in a separator; "./" when the host names none.
KString userAppDirectory();
/// userAppDirectory() + "temp_cloud", without a separator at its end.
KString tempCloudDirectory();

/// The host's installation directory (KELDA_LOCATION), "." when the host names none.
KString hostLocation();
/// The icon \p fileName of the plug-in's icon folder; an empty icon when there is no such file.
QIcon portalIcon(const KString &fileName);

/// One component of a local path made of a service's text: "_" when it is empty, "." or "..", or holds a separator,
/// NUL, a drive letter or an unpaired surrogate; else \p name itself.
QString safeLocalName(const QString &name);
/// The same for every component of a relative path "a/b/c"; empty components vanish, a leading "/" is kept if present.
QString safeLocalPath(const QString &path);

} // namespace TavrinHelper
