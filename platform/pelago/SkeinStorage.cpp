#include "SkeinCall.h"
#include "Storage.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

using namespace pelago;

namespace {

constexpr int kReplaceMode = 2;

HandleTable<EndPoint> &endPoints()
{
    // Never deleted, because network objects must not be deleted after the application object.
    static auto *const kTable = new HandleTable<EndPoint>(int64_t{1} << 33);
    return *kTable;
}

/// Returns \p what followed by the quoted \p id, for a line about a failure.
QString withName(const char *what, const QString &id)
{
    return QLatin1String(what) +
           (id.isEmpty() ? QStringLiteral("the top folder") : QLatin1Char('"') + id + QLatin1Char('"'));
}

/// Traces \p outcome if it is a failure, and returns its result.
int traced(const QString &what, const Outcome &outcome)
{
    traceFailure(what, outcome);
    return outcome.result;
}

/// Runs \p call on the end point behind \p handle, and passes its result to \p transferCb.
template <class Call>
int transfer(int64_t handle, Skein_TransferCb transferCb, void *context, const Call &call) noexcept
{
    const int result = withObject(endPoints, handle, call);
    if (!transferCb || result == Skein_Result_UnknownHandle)
        return result;
    guarded([&]() -> int64_t {
        transferCb(context, result);
        return 1;
    });
    return result;
}

/// Calls the progress callback of one transfer with the sum over its files, only when it grows.
class Meter
{
public:
    Meter(Skein_ProgressCb callback, void *context) : m_callback(callback), m_context(context) {}

    /// Returns the function for one file after \p before bytes of other files. \p knownTotal is the total of all files,
    /// or -1.
    Progress forFile(qint64 before, qint64 knownTotal)
    {
        return [=](qint64 done, qint64 total) {
            if (!m_callback || before + done <= m_reported)
                return;
            m_reported = before + done;
            m_callback(m_context, m_reported, knownTotal >= 0 ? knownTotal : total);
        };
    }

private:
    Skein_ProgressCb m_callback;
    void *m_context;
    qint64 m_reported = -1;
};

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

int uploadAll(EndPoint &endPoint, const QString &folder, const QStringList &paths, const QStringList &names,
              Meter &meter)
{
    qint64 total = 0;
    for (const QString &path : paths)
        total += QFileInfo(path).size();
    qint64 before = 0;
    for (int at = 0; at < paths.size(); ++at) {
        const QString id = DavPath::child(folder, names[at]);
        const Outcome stored = uploadNew(endPoint, id, paths[at], meter.forFile(before, total));
        traceFailure(withName("Upload of ", id), stored);
        if (!stored.isSuccess())
            return at > 0 ? at : stored.result;
        before += QFileInfo(paths[at]).size();
    }
    return paths.size();
}

} // namespace

const char *Skein_Storage_getServerAddress(Skein_Service_Deployment deployment)
{
    static QByteArray texts[3];
    return addressText(deployment, &Deployment::storage, texts);
}

int64_t Skein_Storage_createEndPoint(int64_t session, const char *storageAddress, int options, const char *space,
                                     int firstReserved, int secondReserved)
{
    return guarded([&]() -> int64_t {
        const std::shared_ptr<Session> found = sessions().find(session);
        if (!found)
            return Skein_Result_UnknownHandle;
        const QUrl storage = folderAddress(text(storageAddress));
        const bool isSupported = options == 0 && firstReserved == 0 && secondReserved == 0;
        if (!isSupported || !space || std::strcmp(space, "my") != 0 || !found->mayUse(storage))
            return traced(withName("Use of the storage ", text(storageAddress)), failure(Skein_Result_BadArgument));
        return endPoints().add(std::make_shared<EndPoint>(found, storage));
    });
}

void Skein_Storage_destroyEndPoint(int64_t handle)
{
    closeHandle(endPoints, handle);
}

int Skein_Storage_listContents(int64_t handle, const char *folderId, Skein_ContentCb contentCb, void *context)
{
    return withObject(endPoints, handle, [&](EndPoint &endPoint) -> int {
        const QString folder = text(folderId);
        return traced(withName("List of ", folder), DavPath::isIdentifier(folder)
                                                        ? listFolder(endPoint, folder, contentCb, context)
                                                        : failure(Skein_Result_BadArgument));
    });
}

int Skein_Storage_downloadFile(int64_t handle, const char *folderId, const char *fileName, const char *localFolder,
                               const char *localName, Skein_ProgressCb progressCb, Skein_TransferCb downloadCb,
                               void *progressContext, void *downloadContext)
{
    return transfer(handle, downloadCb, downloadContext, [&](EndPoint &endPoint) -> int {
        const QString folder = text(folderId);
        const QString name = text(fileName);
        const QString target = text(localName);
        const QString id = DavPath::child(folder, name);
        const QString what = withName("Download of ", id);
        const bool hasValidNames = DavPath::isIdentifier(folder) && DavPath::isName(name) && DavPath::isName(target);
        if (!hasValidNames || text(localFolder).isEmpty())
            return traced(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return traced(what, downloadFile(endPoint, id, QDir(text(localFolder)).filePath(target), meter.forFile(0, -1)));
    });
}

int Skein_Storage_uploadFiles(int64_t handle, const char *folderId, const char *const *localPaths,
                              const char *const *fileNames, int count, Skein_ProgressCb progressCb,
                              Skein_TransferCb uploadCb, void *progressContext, void *uploadContext)
{
    return transfer(handle, uploadCb, uploadContext, [&](EndPoint &endPoint) -> int {
        const QString folder = text(folderId);
        const QString what = withName("Upload into ", folder);
        if (!DavPath::isIdentifier(folder) || !localPaths || !fileNames || count < 1)
            return traced(what, failure(Skein_Result_BadArgument));
        QStringList paths;
        QStringList names;
        for (int at = 0; at < count; ++at) {
            paths.append(text(localPaths[at]));
            names.append(text(fileNames[at]));
        }
        if (!std::all_of(names.begin(), names.end(), DavPath::isName))
            return traced(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return uploadAll(endPoint, folder, paths, names, meter);
    });
}

int Skein_Storage_updateFile(int64_t handle, const char *folderId, const char *itemId, int mode, const char *localPath,
                             Skein_ProgressCb progressCb, Skein_TransferCb uploadCb, void *progressContext,
                             void *uploadContext)
{
    return transfer(handle, uploadCb, uploadContext, [&](EndPoint &endPoint) -> int {
        const QString item = text(itemId);
        const QString what = withName("Replacement of ", item);
        const bool isValid = !item.isEmpty() && DavPath::isIdentifier(item);
        if (!isValid || DavPath::parent(item) != text(folderId) || mode != kReplaceMode)
            return traced(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return traced(what, uploadReplacing(endPoint, item, text(localPath), meter.forFile(0, -1)));
    });
}
