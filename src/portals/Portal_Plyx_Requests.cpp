#include "portals/Portal_Plyx_Requests.h"

#include "TavrinHelper.h"

namespace {

QString escapedValue(const QString &text)
{
    return TavrinHelper::percentEncoded(text, "&#%");
}

/// Returns the start of a search path; empty if \p criteria select neither a gallery nor the user's models.
QString searchPlace(const HeaderMap &criteria)
{
    const auto gallery = criteria.find(L"Public");
    if (gallery != criteria.end()) {
        return QStringLiteral("/API/v1/Search?file_type_ids=119&media_type_id=") +
               QString::fromStdWString(gallery->second) + QStringLiteral("&content=free");
    }
    if (criteria.count(L"Home") != 0)
        return QStringLiteral("/API/v1/Member/Assets?file_type_ids=119");
    return QString();
}

} // namespace

namespace PlyxRequests {

QString member()
{
    return QStringLiteral("/API/v1/Member");
}

QString search(const HeaderMap &criteria, int pageNumber, int pageSize)
{
    QString path = searchPlace(criteria) + QStringLiteral("&page_num=") + QString::number(pageNumber) +
                   QStringLiteral("&page_size=") + QString::number(pageSize) +
                   QStringLiteral("&sort_by=date&sort_order=desc");
    const auto keywords = criteria.find(L"SearchString");
    if (keywords != criteria.end()) {
        path += QStringLiteral("&keyword=") + escapedValue(QString::fromStdWString(keywords->second)) +
                QStringLiteral("&is_all_keywords=all");
    }
    return path;
}

QString asset(const QString &assetId)
{
    return QStringLiteral("/API/v1/Asset/") + TavrinHelper::percentEncoded(assetId, "%#?/");
}

QString downloadServer()
{
    return QStringLiteral("/API/v1/Server/Download");
}

QString download(const QString &assetId, const QString &fileId)
{
    return QStringLiteral("/v1/Download?id=") + escapedValue(assetId) + QLatin1Char('_') + escapedValue(fileId);
}

} // namespace PlyxRequests
