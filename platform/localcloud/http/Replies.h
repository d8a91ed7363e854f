// localcloud/http/Replies.h
//
// The kinds of answers that the services have in common.

#pragma once

#include <QJsonObject>

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

/// Answers 200 with \p object.
void setJson(HttpResponse &response, const QJsonObject &object);

/// Answers with a JSON object that holds \p message as "error".
void setJsonError(HttpResponse &response, int status, const QByteArray &message);

/// Answers with \p message as plain text.
void setText(HttpResponse &response, int status, const QByteArray &message);

/// Makes \p response carry \p file, or the part of it that a Range header asks for: 206, or 416 for one beyond its end.
/// Several ranges and malformed ones are ignored.
void setFile(HttpResponse &response, const QString &file, qint64 size, const QByteArray &range);

} // namespace localcloud
