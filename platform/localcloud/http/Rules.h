// localcloud/http/Rules.h
//
// Rules that make the local cloud answer matching requests differently, for tests of failures.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QRegularExpression>
#include <QString>
#include <QVector>

namespace localcloud {

/// What a rule does. \a number is a status, milliseconds or bytes; \a text is an address or a file.
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
    /// Adds a rule. \p host and \p pathGlob are globs ("*" also matches "/"). The path is compared without its query,
    /// both as received and decoded. \p action is `status=N` (200 to 599), `delay=MS`, `hang`, `cut=BYTES`,
    /// `redirect=URL`, `body=FILE`, `garbage`, `signed-redirect` or `no-length`. The rule ends after \p times requests,
    /// 0 means never. Returns false for another action.
    bool add(const QString &host, const QString &pathGlob, const QString &action, int times = 0);

    /// Adds the rule "HOST PATH-GLOB ACTION". Returns false if a word is missing or the action is unknown.
    bool add(const QString &line);
    void clear() { m_rules.clear(); }

    /// Returns whether a rule matches \p host.
    bool matchesHost(const QString &host) const;

    /// Applies every matching delay, cut, signed-redirect and no-length, and the first matching other action. Returns
    /// true if \p response is complete, so that the service must not serve the request.
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
