#include "EndPoint.h"
#include "Storage.h"

#include <pelago/pelago.h>

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace pelago {

namespace {

constexpr int kLockedRetryMs = 300;

/// Returns \p tag without the prefix of a weak tag.
QByteArray opaque(const QByteArray &tag)
{
    return tag.startsWith("W/") ? tag.mid(2) : tag;
}

/// The state of one name on the server.
struct State
{
    enum class Kind { Unknown, Absent, Present };

    Kind kind = Kind::Unknown;
    DavEntry entry;

    bool isPresent() const { return kind == Kind::Present; }
    bool isAbsent() const { return kind == Kind::Absent; }
    /// Compares weakly, because some servers mark a tag as weak during the first second after a change.
    bool hasTag(const QByteArray &tag) const { return isPresent() && opaque(entry.etag) == opaque(tag); }
    /// Returns the tag for a condition; empty if the server did not send a strong tag.
    QByteArray strongTag() const
    {
        const QByteArray &tag = entry.etag;
        const bool strong = tag.startsWith('"') && tag.endsWith('"') && tag.size() > 1;
        return isPresent() && strong && !tag.contains('\n') && !tag.contains('\r') ? tag : QByteArray();
    }
};

/// Returns true if the server may have performed the request: the reply is missing, comes from a gateway, or has a
/// status that is not defined for the request.
bool isUnknown(const Outcome &outcome)
{
    if (outcome.status == 0)
        return outcome.result == Skein_Result_Network || outcome.result == Skein_Result_TimedOut;
    const bool isDefinite = outcome.status == 501 || outcome.status == 507;
    return outcome.status == 408 || outcome.status < 300 || (outcome.status >= 500 && !isDefinite);
}

/// Returns true if MOVE may succeed with another form of Destination after this status.
bool mayDependOnDestination(int status)
{
    return status == 400 || status == 403 || status == 405 || status == 409 || status == 501 || status == 502;
}

class Upload
{
public:
    Upload(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
        : m_endPoint(endPoint), m_id(id), m_file(localPath), m_progress(progress)
    {}

    /// Opens the local file. Returns false if it cannot be read.
    bool open() { return QFileInfo(m_file.fileName()).isFile() && m_file.open(QIODevice::ReadOnly); }
    Outcome storeNew();
    Outcome replace();

private:
    Outcome storeAndRename();
    Outcome storeInPlace(const QString &part);
    Outcome putPart(const QString &part);
    Outcome renamePart(const QString &part);
    Outcome put(const QString &id, const QPair<QByteArray, QByteArray> &condition);
    Outcome move(const QString &part, Destination form, bool conditional);
    Outcome unfinished(Outcome outcome, const QString &part);
    void removePart(const QString &part);
    Outcome query(const QString &id, State *state);
    State query(const QString &id);
    bool wasRenamed(const Outcome &moved, const State &part, const State &target) const;
    bool wasChanged(const State &target) const;
    Outcome truncated(const State &stored) const;

    EndPoint &m_endPoint;
    QString m_id;
    QFile m_file;
    const Progress &m_progress;
    State m_target; ///< before the upload; Unknown for a name that must not exist yet
};

Outcome Upload::storeNew()
{
    const Outcome known = m_endPoint.queryCapabilities();
    if (!known.isSuccess())
        return known;
    return m_endPoint.destinations().isEmpty() ? storeInPlace(QString()) : storeAndRename();
}

Outcome Upload::replace()
{
    const Outcome found = query(m_id, &m_target);
    if (m_target.kind == State::Kind::Unknown)
        return found;
    if (m_target.isPresent() && m_target.entry.folder)
        return failure(Skein_Result_Conflict);
    const Outcome known = m_endPoint.queryCapabilities();
    if (!known.isSuccess())
        return known;
    const bool inPlace = m_endPoint.destinations().isEmpty() || (m_target.isPresent() && m_endPoint.replacesInPlace());
    return inPlace ? storeInPlace(QString()) : storeAndRename();
}

/// Stores the file under a temporary name, then renames it.
Outcome Upload::storeAndRename()
{
    const QString part = DavPath::child(DavPath::parent(m_id), DavPath::temporaryName());
    const Outcome stored = putPart(part);
    if (stored.isSuccess())
        return renamePart(part);
    removePart(part);
    return stored;
}

/// Stores the file under the name \p part. Succeeds only if the server has all bytes.
Outcome Upload::putPart(const QString &part)
{
    const Outcome stored = put(part, {"If-None-Match", "*"});
    // The name is unique, so 412 means that Qt has sent the file twice.
    if (!stored.isSuccess() && !isUnknown(stored) && stored.status != 412)
        return stored;
    State state;
    const Outcome found = query(part, &state);
    if (state.isPresent() && state.entry.size == m_file.size())
        return found;
    if (!stored.isSuccess())
        return stored;
    if (state.kind == State::Kind::Unknown || (state.isPresent() && state.entry.size < 0))
        return found;
    return truncated(state);
}

/// Renames \p part to the target. If the server may have refused the form of the address, tries the other forms, then
/// stores the file in place. Removes \p part only if the server has definitely not renamed it.
Outcome Upload::renamePart(const QString &part)
{
    bool conditional = !m_target.strongTag().isEmpty();
    QVector<Destination> forms = m_endPoint.destinations();
    while (!forms.isEmpty()) {
        Outcome moved = move(part, forms.first(), conditional);
        if (moved.result == Skein_Result_Closed)
            return moved;
        if (!moved.isSuccess()) {
            const State left = query(part);
            const State target = query(m_id);
            if (wasRenamed(moved, left, target))
                moved.result = 1;
            else if (!left.isPresent() || target.kind == State::Kind::Unknown)
                return left.isAbsent() ? moved : unfinished(moved, part);
            else if (moved.status == 412 && std::exchange(conditional, false) && !wasChanged(target))
                continue; // some servers support the condition for locks only
            else if (isUnknown(moved) && (moved.status != 502 || (m_target.isPresent() && wasChanged(target))))
                return unfinished(moved, part);
            else if (wasChanged(target) || !mayDependOnDestination(moved.status)) {
                removePart(part);
                return wasChanged(target) ? failure(Skein_Result_Conflict) : moved;
            } else {
                m_target = target;
                conditional = conditional && target.isPresent();
                forms.removeFirst();
            }
        }
        if (moved.isSuccess()) {
            m_endPoint.preferDestination(forms.first());
            return moved;
        }
    }
    return storeInPlace(part);
}

/// Stores the file under its own name. \p part, if not empty, is a complete copy; it is removed unless it may be the
/// only complete copy.
Outcome Upload::storeInPlace(const QString &part)
{
    if (m_target.kind == State::Kind::Unknown) {
        const Outcome found = query(m_id, &m_target);
        if (!m_target.isAbsent())
            return m_target.isPresent() ? failure(Skein_Result_Conflict) : found;
    }
    const QByteArray tag = m_target.strongTag();
    Outcome stored = put(m_id, m_target.isAbsent() ? qMakePair(QByteArray("If-None-Match"), QByteArray("*"))
                                                   : qMakePair(QByteArray("If-Match"), tag));
    const bool unknown = !stored.isSuccess() && isUnknown(stored);
    if (stored.isSuccess() || unknown) {
        const State now = query(m_id);
        const bool fits = now.isPresent() && (now.entry.size == m_file.size() || now.entry.size < 0);
        if (unknown && fits && (m_target.isAbsent() || !now.hasTag(m_target.entry.etag)))
            stored.result = 1;
        else if (stored.isSuccess() && now.kind != State::Kind::Unknown && !fits)
            stored = truncated(now);
    }
    if (part.isEmpty())
        return stored;
    if (stored.isSuccess())
        m_endPoint.disableRenaming();
    else if (unknown || stored.cause == "truncated" || stored.result == Skein_Result_Closed)
        return unfinished(stored, part);
    removePart(part);
    return stored;
}

Outcome Upload::put(const QString &id, const QPair<QByteArray, QByteArray> &condition)
{
    const qint64 total = m_file.size();
    if (!m_file.seek(0))
        return failure(Skein_Result_LocalFile);
    DavCall call;
    call.verb = "PUT";
    call.url = m_endPoint.address(id, DavPath::Form::File);
    call.kind = DavCall::Kind::Change;
    call.headers = {{"Content-Type", "application/octet-stream"}};
    if (!condition.second.isEmpty())
        call.headers.append(condition);
    call.file = &m_file;
    call.sent = [this, total](qint64 bytes) { m_progress(bytes, total); };
    return m_endPoint.send(call);
}

Outcome Upload::move(const QString &part, Destination form, bool conditional)
{
    const QByteArray target = m_endPoint.destination(m_id, form);
    DavCall call;
    call.verb = "MOVE";
    call.url = m_endPoint.address(part, DavPath::Form::File);
    call.kind = DavCall::Kind::Change;
    call.headers = {{"Destination", target}, {"Overwrite", m_target.isPresent() ? "T" : "F"}};
    if (conditional)
        call.headers.append({"If", '<' + target + "> ([" + m_target.strongTag() + "])"});
    return m_endPoint.send(call);
}

/// Returns \p outcome with the cause of an upload whose complete copy \p part stays on the server.
Outcome Upload::unfinished(Outcome outcome, const QString &part)
{
    outcome.cause = "unfinished";
    outcome.detail = part;
    return outcome;
}

/// Tries again once if \p part is locked, because servers lock a file briefly after an interrupted PUT.
void Upload::removePart(const QString &part)
{
    DavCall call;
    call.verb = "DELETE";
    call.url = m_endPoint.address(part, DavPath::Form::File);
    call.kind = DavCall::Kind::CleanUp;
    if (m_endPoint.send(call).status != 423)
        return;
    QEventLoop wait;
    QTimer::singleShot(kLockedRetryMs, &wait, &QEventLoop::quit);
    wait.exec(QEventLoop::ExcludeUserInputEvents);
    m_endPoint.send(call);
}

Outcome Upload::query(const QString &id, State *state)
{
    const Outcome found = findEntry(m_endPoint, id, &state->entry);
    if (found.isSuccess())
        state->kind = State::Kind::Present;
    else if (found.result == Skein_Result_NotFound)
        state->kind = State::Kind::Absent;
    return found;
}

State Upload::query(const QString &id)
{
    State state;
    query(id, &state);
    return state;
}

/// Returns true if the file was renamed although the server reported a failure.
bool Upload::wasRenamed(const Outcome &moved, const State &part, const State &target) const
{
    if (!target.isPresent() || (target.entry.size >= 0 && target.entry.size != m_file.size()))
        return false;
    const bool hasNewTag = m_target.isPresent() && !target.hasTag(m_target.entry.etag);
    return part.isAbsent() || (isUnknown(moved) && hasNewTag);
}

/// Returns true if another client has stored a file under the name. A missing file returns false, because the refused
/// request may have deleted it.
bool Upload::wasChanged(const State &target) const
{
    return target.isPresent() && !(m_target.isPresent() && target.hasTag(m_target.entry.etag));
}

Outcome Upload::truncated(const State &stored) const
{
    const qint64 size = stored.isPresent() ? stored.entry.size : 0;
    return failure(Skein_Result_BadReply, "truncated", QStringLiteral("%1 of %2").arg(size).arg(m_file.size()));
}

} // namespace

Outcome uploadNew(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
{
    Upload upload(endPoint, id, localPath, progress);
    return upload.open() ? upload.storeNew() : failure(Skein_Result_LocalFile);
}

Outcome uploadReplacing(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
{
    Upload upload(endPoint, id, localPath, progress);
    return upload.open() ? upload.replace() : failure(Skein_Result_LocalFile);
}

} // namespace pelago
