#include "portals/Portal_DropBox_Requests.h"

#include "TavrinHelper.h"

namespace {

QString escaped(const QString &text)
{
    return TavrinHelper::percentEncoded(text, "%#?");
}

} // namespace

namespace DropBoxRequests {

QString token(const QString &code, const QString &appKey, const QString &appSecret, const QString &redirectUri)
{
    return QStringLiteral("/1/oauth2/token?code=") + code +
           QStringLiteral("&grant_type=authorization_code&client_id=") + appKey + QStringLiteral("&client_secret=") +
           appSecret + QStringLiteral("&redirect_uri=") + redirectUri;
}

QString accountInfo()
{
    return QStringLiteral("/1/account/info/");
}

QString listing(const std::wstring &folder)
{
    return QStringLiteral("/1/metadata/dropbox/") + escaped(QString::fromStdWString(folder)) +
           QStringLiteral("?file_limit=10000&list=true");
}

QString download(const QString &root, const QString &path)
{
    return QStringLiteral("/1/files/") + escaped(root) + escaped(path);
}

QString upload(const QString &root, const QString &folderPath, const QString &fileName)
{
    return QStringLiteral("/1/files_put/") + escaped(root) + escaped(folderPath) + QLatin1Char('/') +
           escaped(fileName) + QStringLiteral("?overwrite=true");
}

} // namespace DropBoxRequests
