#include "Listing.h"
#include "SkeinCall.h"
#include "Transfer.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

using namespace pelago;

namespace {

constexpr int replaceMode = 2;

HandleTable<EndPoint> &endPoints()
{
    // For as long as the process lives: network objects must not go after the application object.
    static auto *const table = new HandleTable<EndPoint>(int64_t{1} << 33);
    return *table;
}

/// \p what and the name \p id, for a line about a failure.
QString nameOf(const char *what, const QString &id)
{
    return QLatin1String(what) +
           (id.isEmpty() ? QStringLiteral("the top folder") : QLatin1Char('"') + id + QLatin1Char('"'));
}

/// The result of \p outcome, whose failure is reported.
int reported(const QString &what, const Outcome &outcome)
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

/// Passes on what has been moved, \p before included, as long as it grows.
class Meter
{
public:
    Meter(Skein_ProgressCb callback, void *context) : m_callback(callback), m_context(context) {}

    Progress from(qint64 before, qint64 knownTotal)
    {
        return [=](qint64 done, qint64 total) {
            if (!m_callback || before + done <= m_told)
                return;
            m_told = before + done;
            m_callback(m_context, m_told, knownTotal >= 0 ? knownTotal : total);
        };
    }

private:
    Skein_ProgressCb m_callback;
    void *m_context;
    qint64 m_told = -1;
};

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

int storeAll(EndPoint &endPoint, const QString &folder, const QStringList &paths, const QStringList &names,
             Meter &meter)
{
    qint64 total = 0;
    for (const QString &path : paths)
        total += QFileInfo(path).size();
    qint64 before = 0;
    for (int at = 0; at < paths.size(); ++at) {
        const QString id = DavPath::child(folder, names[at]);
        const Outcome stored = uploadNew(endPoint, id, paths[at], meter.from(before, total));
        traceFailure(nameOf("Upload of ", id), stored);
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
        const bool usual = options == 0 && firstReserved == 0 && secondReserved == 0;
        if (!usual || !space || std::strcmp(space, "my") != 0 || !found->mayUse(storage))
            return reported(nameOf("Use of the storage ", text(storageAddress)), failure(Skein_Result_BadArgument));
        return endPoints().add(std::make_shared<EndPoint>(found, storage));
    });
}

void Skein_Storage_destroyEndPoint(int64_t handle)
{
    giveUp(endPoints, handle);
}

int Skein_Storage_listContents(int64_t handle, const char *folderId, Skein_ContentCb contentCb, void *context)
{
    return withObject(endPoints, handle, [&](EndPoint &endPoint) -> int {
        const QString folder = text(folderId);
        return reported(nameOf("List of ", folder), DavPath::isIdentifier(folder)
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
        const QString what = nameOf("Download of ", id);
        const bool named = DavPath::isIdentifier(folder) && DavPath::isName(name) && DavPath::isName(target);
        if (!named || text(localFolder).isEmpty())
            return reported(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return reported(what, downloadFile(endPoint, id, QDir(text(localFolder)).filePath(target), meter.from(0, -1)));
    });
}

int Skein_Storage_uploadFiles(int64_t handle, const char *folderId, const char *const *localPaths,
                              const char *const *fileNames, int count, Skein_ProgressCb progressCb,
                              Skein_TransferCb uploadCb, void *progressContext, void *uploadContext)
{
    return transfer(handle, uploadCb, uploadContext, [&](EndPoint &endPoint) -> int {
        const QString folder = text(folderId);
        const QString what = nameOf("Upload into ", folder);
        if (!DavPath::isIdentifier(folder) || !localPaths || !fileNames || count < 1)
            return reported(what, failure(Skein_Result_BadArgument));
        QStringList paths;
        QStringList names;
        for (int at = 0; at < count; ++at) {
            paths.append(text(localPaths[at]));
            names.append(text(fileNames[at]));
        }
        if (!std::all_of(names.begin(), names.end(), DavPath::isName))
            return reported(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return storeAll(endPoint, folder, paths, names, meter);
    });
}

int Skein_Storage_updateFile(int64_t handle, const char *folderId, const char *itemId, int mode, const char *localPath,
                             Skein_ProgressCb progressCb, Skein_TransferCb uploadCb, void *progressContext,
                             void *uploadContext)
{
    return transfer(handle, uploadCb, uploadContext, [&](EndPoint &endPoint) -> int {
        const QString item = text(itemId);
        const QString what = nameOf("Replacement of ", item);
        const bool known = !item.isEmpty() && DavPath::isIdentifier(item);
        if (!known || DavPath::parent(item) != text(folderId) || mode != replaceMode)
            return reported(what, failure(Skein_Result_BadArgument));
        Meter meter(progressCb, progressContext);
        return reported(what, uploadReplacing(endPoint, item, text(localPath), meter.from(0, -1)));
    });
}
