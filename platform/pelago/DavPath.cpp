#include "DavPath.h"

#include <QTextCodec>
#include <QUuid>

#include <algorithm>

namespace pelago::DavPath {

namespace {

/// Decodes escapes once. Keeps a "%" without two hexadecimal digits.
QByteArray decoded(const QByteArray &text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (int at = 0; at < text.size(); ++at) {
        const QByteArray digits = text[at] == '%' ? text.mid(at + 1, 2).toLower() : QByteArray();
        const QByteArray byte = QByteArray::fromHex(digits);
        const bool isEscape = byte.size() == 1 && byte.toHex() == digits;
        bytes += isEscape ? byte[0] : text[at];
        at += isEscape ? 2 : 0;
    }
    return bytes;
}

/// Returns the decoded names of an escaped path. Splits the path before decoding, because a name may contain an escaped
/// slash.
QByteArrayList namesOf(const QByteArray &path)
{
    QByteArrayList names;
    for (const QByteArray &part : path.split('/')) {
        if (!part.isEmpty())
            names.append(decoded(part));
    }
    return names;
}

/// Converts UTF-8 to \p text. Returns false for other bytes, because an identifier could not address them.
bool readUtf8(const QByteArray &bytes, QString *text)
{
    QTextCodec::ConverterState state;
    *text = QTextCodec::codecForMib(106)->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

} // namespace

bool isName(const QString &name)
{
    const bool dots = name == QLatin1String(".") || name == QLatin1String("..");
    return !name.isEmpty() && !dots && !name.contains(QLatin1Char('/')) && !name.contains(QChar(0));
}

bool isIdentifier(const QString &id)
{
    const QStringList names = id.split(QLatin1Char('/'));
    return id.isEmpty() || std::all_of(names.begin(), names.end(), isName);
}

QString child(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
}

QString parent(const QString &id)
{
    return id.left(std::max(0, id.lastIndexOf(QLatin1Char('/'))));
}

QString temporaryName()
{
    return QStringLiteral("pelago-") + QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".tmp");
}

QUrl address(const QUrl &root, const QString &id, Form form)
{
    QByteArray text = root.toEncoded(QUrl::RemoveQuery | QUrl::RemoveFragment);
    text += QUrl::toPercentEncoding(id, "/");
    if (form == Form::Folder && !text.endsWith('/'))
        text += '/';
    return QUrl::fromEncoded(text, QUrl::StrictMode);
}

Folder::Folder(const QUrl &address)
    : m_host(address.host(QUrl::FullyEncoded).toLatin1().toLower()),
      m_names(namesOf(address.path(QUrl::FullyEncoded).toLatin1()))
{}

Folder::Member Folder::find(const QByteArray &href, QString *name) const
{
    QByteArray path = href;
    const int authority = href.startsWith('/') ? -1 : href.indexOf("://");
    if (authority >= 0) {
        const int pathStart = href.indexOf('/', authority + 3);
        const QUrl server = QUrl::fromEncoded(href.left(pathStart));
        // Ignore the scheme and the port, because servers behind a gateway often send their internal ones.
        if (server.host(QUrl::FullyEncoded).toLatin1().toLower() != m_host)
            return Member::Other;
        path = pathStart < 0 ? QByteArray("/") : href.mid(pathStart);
    } else if (!href.startsWith('/')) {
        return Member::Other;
    }
    const auto pathEnd = std::find_if(path.cbegin(), path.cend(), [](char c) { return c == '?' || c == '#'; });
    path.truncate(static_cast<int>(pathEnd - path.cbegin()));

    const QByteArrayList names = namesOf(path);
    if (names.size() < m_names.size() || names.size() > m_names.size() + 1)
        return Member::Other;
    if (!std::equal(m_names.begin(), m_names.end(), names.begin()))
        return Member::Other;
    if (names.size() == m_names.size())
        return Member::Itself;
    return readUtf8(names.last(), name) && isName(*name) ? Member::Child : Member::Other;
}

} // namespace pelago::DavPath
