#include "localcloud/http/RequestParser.h"

#include <algorithm>
#include <cstring>

namespace localcloud {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetterOrDigit(char c)
{
    return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isToken(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return isLetterOrDigit(c) || (c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
    });
}

/// Splits at line ends and removes carriage returns before them. Returns false if another control character remains.
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
        return true;
    }
    QByteArray rest = target;
    if (target.left(7).toLower() == "http://") {
        int end = 7;
        while (end < target.size() && target[end] != '/' && target[end] != '?')
            ++end;
        head.authority = target.mid(7, end - 7);
        rest = target.mid(end);
        if (!rest.startsWith('/'))
            rest.prepend('/');
    }
    const int mark = rest.indexOf('?');
    head.path = rest.mid(0, mark);
    if (mark >= 0)
        head.query = QByteArray("") + rest.mid(mark + 1);
    return rest.startsWith('/');
}

/// Returns 0 if the announced body is valid, otherwise the status of the refusal.
int readBodyLength(RequestHead &head)
{
    QByteArray length;
    for (const auto &[name, value] : head.headers) {
        if (qstricmp(name.constData(), "Transfer-Encoding") == 0)
            return 501;
        if (qstricmp(name.constData(), "Content-Length") != 0)
            continue;
        bool ok = false;
        head.contentLength = value.toLongLong(&ok);
        if (!ok || !std::all_of(value.begin(), value.end(), isDigit) || (head.hasLength && length != value))
            return 400;
        length = value;
        head.hasLength = true;
    }
    return 0;
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
        if (buffer.mid(end + 1, 1) == "\n")
            return end + 2;
        if (buffer.mid(end + 1, 2) == "\r\n")
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
    if (words[2] != "HTTP/1.1")
        return refused(505);
    head.method = words[0];
    if (!readHeaders(lines, head.headers) || !readTarget(words[1], head))
        return refused(400);
    if (head.authority.isEmpty())
        head.authority = headerValue(head.headers, "Host");
    if (hostOf(head.authority).isEmpty())
        return refused(400);
    if (const int status = readBodyLength(head))
        return refused(status);
    head.keepAlive = !headerHasToken(head.headers, "Connection", "close") &&
                     !headerHasToken(head.headers, "Proxy-Connection", "close");
    head.expectContinue = headerHasToken(head.headers, "Expect", "100-continue");
    return head;
}

QString hostOf(const QByteArray &authority)
{
    const int colon = authority.indexOf(':');
    const QByteArray name = authority.mid(0, colon);
    if (colon >= 0 && authority.mid(colon + 1).toUShort() == 0)
        return {};
    const bool valid = !name.isEmpty() && name.size() <= 253 && std::all_of(name.begin(), name.end(), [](char c) {
        return isLetterOrDigit(c) || c == '.' || c == '-';
    });
    return valid ? QString::fromLatin1(name.toLower()) : QString();
}

} // namespace localcloud
