// localcloud/http/Rules.h
//
// Misbehaviour on request: which requests are answered differently, and how.

#pragma once

#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <localcloud/http/HttpTypes.h>

namespace localcloud {

/// What a rule does. \a number is a status, milliseconds or bytes; \a text an address or a file.
struct RuleAction
{
    enum class Kind { Status, Delay, Hang, Cut, Redirect, Body, Garbage, SignedRedirect, NoLength };
    Kind kind = Kind::Status;
    qint64 number = 0;
    QString text;
};

class Rules
{
public:
    /// Host and path are globs ("*" also matches "/"); the path is compared without its query, as it came and decoded.
    /// Actions are `status=N`, `delay=MS`, `hang`, `cut=BYTES`, `redirect=URL`, `body=FILE`, `garbage` and
    /// `signed-redirect`, `no-length`; false for any other. The rule ends after \p times requests, 0 means never.
    bool add(const QString &host, const QString &pathGlob, const QString &action, int times = 0);

    /// Adds "HOST PATH-GLOB ACTION"; false when a word is missing or the action is unknown.
    bool add(const QString &line);
    void clear() { m_rules.clear(); }

    /// Whether any rule names \p host.
    bool mentions(const QString &host) const;

    /// Applies every matching delay, cut, signed-redirect and no-length, and the first matching other action. True when
    /// the response is complete and no service is to be asked.
    bool apply(HttpRequest &request, HttpResponse &response);

private:
    struct Rule
    {
        QRegularExpression host;
        QRegularExpression path;
        RuleAction action;
        int left = 0; ///< requests that remain; 0 is unlimited, -1 used up
    };

    QVector<Rule> m_rules;
};

} // namespace localcloud
