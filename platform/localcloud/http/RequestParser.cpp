#include <algorithm>
#include <cctype>
#include <cstring>
#include <localcloud/http/RequestParser.h>

namespace localcloud {

namespace {

constexpr int kMaxChunkLine = 4096;
constexpr int kMaxTrailer = 8192;

bool isToken(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
    });
}

/// Splits at line ends and drops the carriage returns before them; false when a control character remains.
bool splitLines(const QByteArray &bytes, QList<QByteArray> &lines)
{
    for (QByteArray &line : (lines = bytes.split('\n'))) {
        if (line.endsWith('\r'))
            line.chop(1);
        const bool clean = std::none_of(line.begin(), line.end(), [](char c) {
            return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
        });
        if (!clean)
            return false;
    }
    return true;
}

bool readHeaders(const QList<QByteArray> &lines, HeaderList &headers)
{
    for (int i = 1; i < lines.size() && !lines[i].isEmpty(); ++i) {
        const int colon = lines[i].indexOf(':');
        if (colon <= 0 || !isToken(lines[i].left(colon)))
            return false;
        headers.append({lines[i].left(colon), lines[i].mid(colon + 1).trimmed()});
    }
    return true;
}

bool readTarget(const QByteArray &target, RequestHead &head)
{
    if (head.isConnect()) {
        head.authority = target;
        return !hostOf(target).isEmpty();
    }
    QByteArray rest = target;
    if (target.left(7).toLower() == "http://") {
        head.absolute = true;
        const int end = [&] {
            for (int i = 7; i < target.size(); ++i) {
                if (target[i] == '/' || target[i] == '?')
                    return i;
            }
            return target.size();
        }();
        head.authority = target.mid(7, end - 7);
        rest = target.mid(end);
        if (!rest.startsWith('/'))
            rest.prepend('/');
    }
    if (!rest.startsWith('/') && !(rest == "*" && head.method == "OPTIONS"))
        return false;
    const int mark = rest.indexOf('?');
    head.path = rest.mid(0, mark);
    if (mark >= 0)
        head.query = rest.mid(mark + 1).isNull() ? QByteArray("") : rest.mid(mark + 1);
    return true;
}

/// The status that refuses the announced body, 0 when it is in order.
int readBodyLength(RequestHead &head)
{
    QByteArray length;
    for (const auto &entry : head.headers) {
        if (qstricmp(entry.first.constData(), "Content-Length") != 0)
            continue;
        if (!length.isEmpty() && length != entry.second)
            return 400;
        length = entry.second;
        const bool digits = std::all_of(length.begin(), length.end(), [](char c) { return c >= '0' && c <= '9'; });
        bool ok = false;
        head.contentLength = length.toLongLong(&ok);
        if (!ok || !digits)
            return 400;
        head.hasLength = true;
    }
    const QByteArray coding = headerValue(head.headers, "Transfer-Encoding").toLower();
    if (coding.isEmpty())
        return 0;
    if (head.hasLength)
        return 400;
    head.chunked = head.hasLength = true;
    return coding == "chunked" ? 0 : 501;
}

bool isKeptAlive(const HeaderList &headers, bool oldVersion)
{
    if (headerHasToken(headers, "Connection", "close") || headerHasToken(headers, "Proxy-Connection", "close"))
        return false;
    return !oldVersion || headerHasToken(headers, "Connection", "keep-alive") ||
           headerHasToken(headers, "Proxy-Connection", "keep-alive");
}

RequestHead refused(int status)
{
    RequestHead head;
    head.status = status;
    return head;
}

} // namespace

int headLength(const QByteArray &buffer)
{
    for (int end = buffer.indexOf('\n'); end >= 0; end = buffer.indexOf('\n', end + 1)) {
        if (buffer.size() > end + 1 && buffer[end + 1] == '\n')
            return end + 2;
        if (buffer.size() > end + 2 && buffer[end + 1] == '\r' && buffer[end + 2] == '\n')
            return end + 3;
    }
    return -1;
}

RequestHead parseHead(const QByteArray &bytes)
{
    QList<QByteArray> lines;
    RequestHead head;
    if (!splitLines(bytes, lines))
        return refused(400);
    const QList<QByteArray> words = lines.first().split(' ');
    if (words.size() != 3 || !isToken(words[0]) || !words[2].startsWith("HTTP/"))
        return refused(400);
    head.oldVersion = words[2] == "HTTP/1.0";
    if (!head.oldVersion && words[2] != "HTTP/1.1")
        return refused(505);
    head.method = words[0];
    if (!readHeaders(lines, head.headers) || !readTarget(words[1], head))
        return refused(400);
    if (head.authority.isEmpty())
        head.authority = headerValue(head.headers, "Host");
    if (head.authority.isEmpty() && !head.oldVersion)
        return refused(400);
    if (!head.authority.isEmpty() && hostOf(head.authority).isEmpty())
        return refused(400);
    if (const int status = readBodyLength(head))
        return refused(status);
    head.keepAlive = isKeptAlive(head.headers, head.oldVersion);
    head.expectContinue = !head.oldVersion && headerHasToken(head.headers, "Expect", "100-continue");
    return head;
}

QString hostOf(const QByteArray &authority)
{
    QByteArray name = authority;
    const int colon = authority.lastIndexOf(':');
    if (colon > authority.lastIndexOf(']')) {
        name = authority.left(colon);
        bool ok = false;
        if (authority.mid(colon + 1).toUShort(&ok) == 0 || !ok)
            return {};
    }
    const bool bracketed = name.startsWith('[') && name.endsWith(']');
    const QByteArray inner = bracketed ? name.mid(1, name.size() - 2) : name;
    const bool valid = !inner.isEmpty() && inner.size() <= 253 && std::all_of(inner.begin(), inner.end(), [&](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '-' ||
               (bracketed && c == ':');
    });
    return valid ? QString::fromLatin1(inner.toLower()) : QString();
}

bool ChunkedDecoder::feed(QByteArray &input, QByteArray &output)
{
    int used = 0;
    while (m_state != State::Done && used < input.size()) {
        if (m_state == State::Data) {
            const int count = static_cast<int>(std::min<qint64>(m_left, input.size() - used));
            output.append(input.constData() + used, count);
            used += count;
            m_left -= count;
            if (m_left == 0)
                m_state = State::DataEnd;
            continue;
        }
        const int end = input.indexOf('\n', used);
        if (end < 0) {
            if (input.size() - used > kMaxChunkLine)
                return false;
            break;
        }
        QByteArray line = input.mid(used, end - used);
        used = end + 1;
        if (line.endsWith('\r'))
            line.chop(1);
        if (m_state == State::Size) {
            if (!readSize(line))
                return false;
        } else if (m_state == State::DataEnd) {
            if (!line.isEmpty())
                return false;
            m_state = State::Size;
        } else if (line.isEmpty()) {
            m_state = State::Done;
        } else if ((m_trailerBytes += line.size()) > kMaxTrailer) {
            return false;
        }
    }
    input.remove(0, used);
    return true;
}

bool ChunkedDecoder::readSize(const QByteArray &line)
{
    const QByteArray digits = line.mid(0, line.indexOf(';')).trimmed();
    const bool hex = !digits.isEmpty() && digits.size() <= 15 && std::all_of(digits.begin(), digits.end(), [](char c) {
        return std::isxdigit(static_cast<unsigned char>(c));
    });
    if (!hex)
        return false;
    m_left = digits.toLongLong(nullptr, 16);
    m_state = m_left == 0 ? State::Trailer : State::Data;
    return true;
}

} // namespace localcloud
