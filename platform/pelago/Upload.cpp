#include "EndPoint.h"
#include "Listing.h"
#include "Transfer.h"

#include <pelago/pelago.h>

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace pelago {

namespace {

constexpr int lockedRetryMs = 300;

/// \p tag without the mark of a weak one.
QByteArray opaque(const QByteArray &tag)
{
    return tag.startsWith("W/") ? tag.mid(2) : tag;
}

/// What is under a name on the server.
struct State
{
    enum class Kind { Unknown, Absent, Present };

    Kind kind = Kind::Unknown;
    DavEntry entry;

    bool isPresent() const { return kind == Kind::Present; }
    bool isAbsent() const { return kind == Kind::Absent; }
    /// Some servers call a tag weak during the second after a change.
    bool hasTag(const QByteArray &tag) const { return isPresent() && opaque(entry.etag) == opaque(tag); }
    /// Empty if the server gave none that may be used in a condition.
    QByteArray strongTag() const
    {
        const QByteArray &tag = entry.etag;
        const bool strong = tag.startsWith('"') && tag.endsWith('"') && tag.size() > 1;
        return isPresent() && strong && !tag.contains('\n') && !tag.contains('\r') ? tag : QByteArray();
    }
};

/// Whether the server may have carried out the request: it did not answer, a gateway answered, or the status is not
/// defined for the request.
bool isUnknown(const Outcome &outcome)
{
    if (outcome.status == 0)
        return outcome.result == Skein_Result_Network || outcome.result == Skein_Result_TimedOut;
    const bool isServersOwn = outcome.status == 501 || outcome.status == 507;
    return outcome.status == 408 || outcome.status < 300 || (outcome.status >= 500 && !isServersOwn);
}

/// Whether another form of Destination may help after this answer to MOVE.
bool mayDependOnDestination(int status)
{
    return status == 400 || status == 403 || status == 405 || status == 409 || status == 501 || status == 502;
}

/// One file on its way to one name.
class Upload
{
public:
    Upload(EndPoint &endPoint, const QString &id, const QString &localPath, const Progress &progress)
        : m_endPoint(endPoint), m_id(id), m_file(localPath), m_progress(progress)
    {}

    /// Whether the local file can be read.
    bool open() { return QFileInfo(m_file.fileName()).isFile() && m_file.open(QIODevice::ReadOnly); }
    Outcome storeNew();
    Outcome replace();

private:
    Outcome storeBeside();
    Outcome storeInPlace(const QString &part);
    Outcome putPart(const QString &part);
    Outcome renamePart(const QString &part);
    Outcome put(const QString &id, const QPair<QByteArray, QByteArray> &condition);
    Outcome move(const QString &part, Destination form, bool conditional);
    Outcome keepPart(Outcome outcome, const QString &part);
    void remove(const QString &part);
    Outcome look(const QString &id, State *state);
    State look(const QString &id);
    bool hasArrived(const Outcome &moved, const State &part, const State &target) const;
    bool wasChanged(const State &target) const;
    Outcome truncated(const State &stored) const;

    EndPoint &m_endPoint;
    QString m_id;
    QFile m_file;
    const Progress &m_progress;
    State m_target; ///< before the upload; Unknown for a name that should be free
};

Outcome Upload::storeNew()
{
    const Outcome known = m_endPoint.learn();
    if (!known.isSuccess())
        return known;
    return m_endPoint.destinations().isEmpty() ? storeInPlace(QString()) : storeBeside();
}

Outcome Upload::replace()
{
    const Outcome found = look(m_id, &m_target);
    if (m_target.kind == State::Kind::Unknown)
        return found;
    if (m_target.isPresent() && m_target.entry.folder)
        return failure(Skein_Result_Conflict);
    const Outcome known = m_endPoint.learn();
    if (!known.isSuccess())
        return known;
    const bool inPlace = m_endPoint.destinations().isEmpty() || (m_target.isPresent() && m_endPoint.replacesInPlace());
    return inPlace ? storeInPlace(QString()) : storeBeside();
}

/// Stores the file under a temporary name, then renames it.
Outcome Upload::storeBeside()
{
    const QString part = DavPath::child(DavPath::parent(m_id), DavPath::unusedName());
    const Outcome stored = putPart(part);
    if (stored.isSuccess())
        return renamePart(part);
    remove(part);
    return stored;
}

/// 1 once the server has all bytes under the name \p part.
Outcome Upload::putPart(const QString &part)
{
    const Outcome stored = put(part, {"If-None-Match", "*"});
    // A refused condition means that the toolkit has sent the file twice: the name is used once.
    if (!stored.isSuccess() && !isUnknown(stored) && stored.status != 412)
        return stored;
    State state;
    const Outcome found = look(part, &state);
    if (state.isPresent() && state.entry.size == m_file.size())
        return found;
    if (!stored.isSuccess())
        return stored;
    if (state.kind == State::Kind::Unknown || (state.isPresent() && state.entry.size < 0))
        return found;
    return truncated(state);
}

/// Gives \p part its name. After a refusal that may be due to the form of the address, tries the other forms and then
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
            const State left = look(part);
            const State target = look(m_id);
            if (hasArrived(moved, left, target))
                moved.result = 1;
            else if (!left.isPresent() || target.kind == State::Kind::Unknown)
                return left.isAbsent() ? moved : keepPart(moved, part);
            else if (moved.status == 412 && std::exchange(conditional, false) && !wasChanged(target))
                continue; // some servers know the condition for locks only
            else if (isUnknown(moved) && (moved.status != 502 || (m_target.isPresent() && wasChanged(target))))
                return keepPart(moved, part);
            else if (wasChanged(target) || !mayDependOnDestination(moved.status)) {
                remove(part);
                return wasChanged(target) ? failure(Skein_Result_Conflict) : moved;
            } else {
                m_target = target;
                conditional = conditional && target.isPresent();
                forms.removeFirst();
            }
        }
        if (moved.isSuccess()) {
            m_endPoint.renamedWith(forms.first());
            return moved;
        }
    }
    return storeInPlace(part);
}

/// Stores the file under its own name at once. \p part, if not empty, holds its bytes already; it is removed unless it
/// may be the only whole copy.
Outcome Upload::storeInPlace(const QString &part)
{
    if (m_target.kind == State::Kind::Unknown) {
        const Outcome found = look(m_id, &m_target);
        if (!m_target.isAbsent())
            return m_target.isPresent() ? failure(Skein_Result_Conflict) : found;
    }
    const QByteArray tag = m_target.strongTag();
    Outcome stored = put(m_id, m_target.isAbsent() ? qMakePair(QByteArray("If-None-Match"), QByteArray("*"))
                                                   : qMakePair(QByteArray("If-Match"), tag));
    const bool unknown = !stored.isSuccess() && isUnknown(stored);
    if (stored.isSuccess() || unknown) {
        const State now = look(m_id);
        const bool fits = now.isPresent() && (now.entry.size == m_file.size() || now.entry.size < 0);
        if (unknown && fits && (m_target.isAbsent() || !now.hasTag(m_target.entry.etag)))
            stored.result = 1;
        else if (stored.isSuccess() && now.kind != State::Kind::Unknown && !fits)
            stored = truncated(now);
    }
    if (part.isEmpty())
        return stored;
    if (stored.isSuccess())
        m_endPoint.cannotRename();
    else if (unknown || stored.cause == "truncated" || stored.result == Skein_Result_Closed)
        return keepPart(stored, part);
    remove(part);
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

/// \p outcome, for an upload whose bytes stay on the server under the name \p part.
Outcome Upload::keepPart(Outcome outcome, const QString &part)
{
    outcome.cause = "unfinished";
    outcome.detail = part;
    return outcome;
}

/// Asks once more if the name is locked, which it is for a moment after a PUT that was cut.
void Upload::remove(const QString &part)
{
    DavCall call;
    call.verb = "DELETE";
    call.url = m_endPoint.address(part, DavPath::Form::File);
    call.kind = DavCall::Kind::CleanUp;
    if (m_endPoint.send(call).status != 423)
        return;
    QEventLoop wait;
    QTimer::singleShot(lockedRetryMs, &wait, &QEventLoop::quit);
    wait.exec(QEventLoop::ExcludeUserInputEvents);
    m_endPoint.send(call);
}

Outcome Upload::look(const QString &id, State *state)
{
    const Outcome found = findEntry(m_endPoint, id, &state->entry);
    if (found.isSuccess())
        state->kind = State::Kind::Present;
    else if (found.result == Skein_Result_NotFound)
        state->kind = State::Kind::Absent;
    return found;
}

State Upload::look(const QString &id)
{
    State state;
    look(id, &state);
    return state;
}

/// Whether the file was renamed, whatever the server answered.
bool Upload::hasArrived(const Outcome &moved, const State &part, const State &target) const
{
    if (!target.isPresent() || (target.entry.size >= 0 && target.entry.size != m_file.size()))
        return false;
    const bool hasNewTag = m_target.isPresent() && !target.hasTag(m_target.entry.etag);
    return part.isAbsent() || (isUnknown(moved) && hasNewTag);
}

/// Whether somebody else stored something under the name meanwhile. A file that is gone may have been deleted by the
/// refused request itself.
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
