// portals/CloudFixture.h
//
// The local cloud as this process's network, a host that records, and a stand-in for the user's browser.

#pragma once

#include "support/RecordingHost.h"

#include <localcloud/LocalCloud.h>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QUrl>

/// Made anew for each test, before the portal, and gone after it.
class CloudFixture : public QObject
{
    Q_OBJECT
public:
    CloudFixture();
    ~CloudFixture() override;

    /// Puts \p token into the portal's settings file.
    static void storeToken(const QString &token);
    static QString storedToken();
    /// Writes \p content to \p path below the folder that the service shows.
    void putFile(const QString &path, const QByteArray &content);
    QByteArray fileContent(const QString &path) const;

    /// The targets of the requests served so far, in order, as "METHOD target".
    QStringList requests() const;
    /// The addresses that were opened in the browser.
    const QList<QUrl> &opened() const { return m_opened; }
    /// The texts of the message boxes shown so far; each was closed at once.
    const QStringList &boxes() const { return m_boxes; }
    /// Everything that the user could have seen: messages and boxes.
    QString everythingShown() const;

    /// Presses Allow on the page opened last and follows its redirect: returns what the redirect server answered.
    QByteArray allow();
    /// GET of \p target from the redirect server on \p port; empty when it does not answer.
    static QByteArray visit(quint16 port, const QByteArray &target);
    static quint16 redirectPort(const QUrl &page);

    RecordingHost host;
    LocalCloud cloud;

private slots:
    void open(const QUrl &url) { m_opened << url; }

private:
    QList<QUrl> m_opened;
    QStringList m_boxes;
    QTimer m_closer;
};

extern const char redirectPath[];
