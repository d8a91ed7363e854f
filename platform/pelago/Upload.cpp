#include "EndPoint.h"
#include "Listing.h"
#include "Transfer.h"

#include <pelago/pelago.h>

#include <optional>
#include <QFile>
#include <QFileInfo>

namespace pelago {

namespace {

/// What is under the name before the upload.
struct Present
{
    bool exists = false;
    QByteArray strongETag; ///< empty when the server gave none
};

Present presentOf(const DavEntry &entry)
{
    const bool strong = entry.etag.startsWith('"') && entry.etag.endsWith('"') && entry.etag.size() > 1;
    return {true, strong && !entry.etag.contains('\n') && !entry.etag.contains('\r') ? entry.etag : QByteArray()};
}

/// One file on its way to one name.
class Upload
{
public:
    Upload(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
        : m_endPoint(endPoint), m_id(id), m_file(localPath), m_progress(progress)
    {}

    int run(const Present &present);
    /// Whether the local file can be read.
    bool open() { return QFileInfo(m_file.fileName()).isFile() && m_file.open(QIODevice::ReadOnly); }

private:
    std::optional<int> putBeside(const Present &present);
    DavResult put(const QString &id, const QPair<QByteArray, QByteArray> &condition);
    DavResult move(const QString &from, const Present &present);
    void remove(const QString &id);
    bool isUnchanged(const Present &present);

    EndPoint &m_endPoint;
    QString m_id;
    QFile m_file;
    const Progress &m_progress;
};

int Upload::run(const Present &present)
{
    int failure = 0;
    if (m_endPoint.canMove(DavPath::parent(m_id), &failure)) {
        if (const std::optional<int> result = putBeside(present))
            return *result;
    }
    if (failure < 0)
        return failure;
    if (!present.exists)
        return put(m_id, {"If-None-Match", "*"}).result;
    const QByteArray etag = present.strongETag;
    return put(m_id, {etag.isEmpty() ? QByteArray() : QByteArray("If-Match"), etag}).result;
}

/// Puts the file under a name of its own and renames it then. Nothing when the server cannot rename after all.
std::optional<int> Upload::putBeside(const Present &present)
{
    const QString part = DavPath::child(DavPath::parent(m_id), DavPath::unusedName());
    DavResult result = put(part, {"If-None-Match", "*"});
    const bool stored = result.isSuccess();
    if (stored) {
        result = move(part, present);
        // Some servers know the header for locks only and refuse every state that they are shown.
        if (result.status == 412 && !present.strongETag.isEmpty() && isUnchanged(present))
            result = move(part, {true, QByteArray()});
    }
    if (!result.isSuccess() && result.status != 401)
        remove(part);
    const bool cannotMove = stored && (result.status == 405 || result.status == 501);
    if (!cannotMove)
        return result.result;
    m_endPoint.cannotMove();
    return std::nullopt;
}

DavResult Upload::put(const QString &id, const QPair<QByteArray, QByteArray> &condition)
{
    const qint64 total = m_file.size();
    DavResult result;
    result.result = Skein_Result_LocalFile;
    if (!m_file.seek(0))
        return result;
    DavCall call;
    call.verb = "PUT";
    call.url = m_endPoint.address(id, DavPath::Form::File);
    call.kind = DavCall::Kind::Change;
    call.headers = {{"Content-Type", "application/octet-stream"}};
    if (!condition.first.isEmpty())
        call.headers.append(condition);
    call.file = &m_file;
    call.sent = [this, total](qint64 bytes) { m_progress(bytes, total); };
    return m_endPoint.send(call);
}

DavResult Upload::move(const QString &from, const Present &present)
{
    const QByteArray target = m_endPoint.address(m_id, DavPath::Form::File).toEncoded();
    DavCall call;
    call.verb = "MOVE";
    call.url = m_endPoint.address(from, DavPath::Form::File);
    call.kind = DavCall::Kind::Change;
    call.headers = {{"Destination", target}, {"Overwrite", present.exists ? "T" : "F"}};
    if (!present.strongETag.isEmpty())
        call.headers.append({"If", '<' + target + "> ([" + present.strongETag + "])"});
    return m_endPoint.send(call);
}

/// Without looking at the outcome: there is nothing better to do.
void Upload::remove(const QString &id)
{
    DavCall call;
    call.verb = "DELETE";
    call.url = m_endPoint.address(id, DavPath::Form::File);
    call.kind = DavCall::Kind::CleanUp;
    m_endPoint.send(call);
}

bool Upload::isUnchanged(const Present &present)
{
    DavEntry entry;
    return findEntry(m_endPoint, m_id, &entry) > 0 && presentOf(entry).strongETag == present.strongETag;
}

} // namespace

int uploadNew(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
{
    Upload upload(endPoint, id, localPath, progress);
    return upload.open() ? upload.run(Present()) : Skein_Result_LocalFile;
}

int uploadReplacing(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
{
    Upload upload(endPoint, id, localPath, progress);
    if (!upload.open())
        return Skein_Result_LocalFile;
    DavEntry entry;
    const int found = findEntry(endPoint, id, &entry);
    if (found == Skein_Result_NotFound)
        return upload.run(Present());
    if (found < 0)
        return found;
    return entry.folder ? Skein_Result_Conflict : upload.run(presentOf(entry));
}

} // namespace pelago
