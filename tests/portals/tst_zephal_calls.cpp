// portals/tst_zephal_calls.cpp
//
// What Zephal's login asks of the cloud library, in which order and with which arguments: functions that record stand
// in for the library's. Then the call-back that takes the entries of a listing.

#include "http/Transfer.h"
#include "portals/Portal_Zephal.h"
#include "support/RecordingHost.h"

#include <pelago/pelago.h>
#include <QtTest>
#include <QtWidgets>

using namespace ICloudPortalApi;

namespace {

constexpr int64_t session = 0x700000001;
constexpr int64_t endPoint = 0x900000002;

QStringList calls;
int loggedIn = 0;
int result = 1;
int64_t made = endPoint;

void told(const char *call, int64_t handle, const QVariantList &arguments = {})
{
    QString text = QString("%1 %2").arg(call).arg(handle, 0, 16);
    for (const QVariant &argument : arguments)
        text += ' ' + argument.toString();
    calls << text;
}

} // namespace

int64_t Skein_Auth_openSession(const char *key, const char *secret, const char *file, const char *address)
{
    told("open", session, {qstrlen(key), qstrlen(secret), file, address});
    return session;
}
void Skein_Auth_closeSession(int64_t closed)
{
    told("close", closed);
}
int Skein_Auth_isUserLoggedIn(int64_t asked)
{
    return asked == session ? loggedIn : -1;
}
int Skein_Auth_logout(int64_t asked)
{
    told("logout", asked);
    loggedIn = result == 1 ? 0 : loggedIn;
    return result;
}
int64_t Skein_Storage_createEndPoint(int64_t of, const char *address, int options, const char *space, int a, int b)
{
    told("create", of, {address, options, space, a, b});
    return made;
}
void Skein_Storage_destroyEndPoint(int64_t destroyed)
{
    told("destroy", destroyed);
}

class TestZephalCalls : public QObject
{
    Q_OBJECT

private slots:
    void endPointKeepsInStep()
    {
        qunsetenv("PELAGO_CONFIG"); // the built-in addresses
        m_host.answer("internalVar -userPrefDir", KCommandResult(KString("/prefs/")));
        {
            Portal_Zephal_Login login;
            QVERIFY(login.GetStorageEndPoint() == -1 && !login.IsLogin());
            loggedIn = 1;
            for (const int64_t next : {int64_t{-3}, endPoint, int64_t{4}}) {
                made = next;
                login.InitializeStorage();
                QCOMPARE(login.GetStorageEndPoint(), next < 0 ? next : endPoint);
            }
            result = -5;
            QVERIFY(!login.Logout() && login.IsLogin() && login.GetStorageEndPoint() == endPoint);
            result = 1;
            QVERIFY(login.Logout() && !login.IsLogin() && login.GetStorageEndPoint() == -1);
        }
        loggedIn = 1;
        made = endPoint;
        m_host.answer("internalVar -userPrefDir", KCommandResult(KString()));
        {
            Portal_Zephal_Login remembered; // and nobody has asked for a sign-in
            QVERIFY(remembered.GetStorageEndPoint() == endPoint && remembered.LoginUIDoneCB(QUrl()));
        }
        const QString close = "close 700000001";
        const QString create = "create 700000001 https://cloud.zephal.example/dav/ 0 my 0 0";
        const QString destroy = "destroy 900000002";
        const QString logout = "logout 700000001";
        const QString open = "open 700000001 172 172 %1 https://cloud.zephal.example/signin";
        QCOMPARE(calls, (QStringList{open.arg("/prefs/session.skein"), create, create, logout, logout, destroy, close,
                                     open.arg(""), create, destroy, close}));
    }

    void credentialsAreExactAndHidden()
    {
        QVERIFY(getTestConsumerKey(Skein_Service_Deployment_Staging) == STAGING_KEY);
        QVERIFY(getTestConsumerSecret(Skein_Service_Deployment_Staging) == STAGING_SECRET);
        QFile module(PLUGIN_LIBRARY);
        QVERIFY2(module.open(QIODevice::ReadOnly), PLUGIN_LIBRARY);
        const QByteArray bytes = module.readAll();
        QVERIFY(bytes.contains("session.skein") && !bytes.contains(STAGING_KEY) && !bytes.contains(STAGING_SECRET));
    }

    void progressIsReported()
    {
        Transfer transfer(Transfer::Kind::Upload, "model.obj");
        progressCb(&transfer, 0x180000000, -1);
        progressCb(nullptr, 1, 2);
        QVERIFY(transfer.bytes() == 0x180000000 && transfer.totalBytes() == -1);
        progressCb(&transfer, 0x180000001, 0x180000002);
        QVERIFY(transfer.bytes() == 0x180000001 && transfer.totalBytes() == 0x180000002);
    }

    void entriesOfAListing()
    {
        ItemVector items;
        ZephalListing known{nullptr, L"key"};
        ZephalListing unknown{nullptr, L"?"};
        outSearchResults[known.key] = &items;
        for (ZephalListing *context : {&known, &unknown, static_cast<ZephalListing *>(nullptr)}) {
            contentCb(context, "d", "D", "Mon", "", 0);
            contentCb(context, nullptr, nullptr, nullptr, nullptr, 0);
            contentCb(context, "e", u8"\"ß\".obj", "", "model/obj", 0);
            contentCb(context, "l", "..", "", nullptr, -1);
            contentCb(context, "h", "h", "", "", 0x180000000);
        }
        outSearchResults.clear();
        QString text;
        for (ICloudItem *item : items) {
            text += QString(item->IsFolder() ? "+" : "") + (item->IsDownloadable() ? "-" : "");
            text += KQtUtil::toQString(item->GetTooltip()).replace('\n', '|') + ";";
            delete item;
        }
        QCOMPARE(text, QString("+bytes: 0|is_dir: true|mime_type: |modified: Mon|name: D|uniqueID: d;"
                               "+bytes: 0|is_dir: true|mime_type: |modified: |name: |uniqueID: ;"
                               u8"-bytes: 0|mime_type: model/obj|modified: |name: \"ß\".obj|uniqueID: e;"
                               "-bytes: -1|mime_type: |modified: |name: ..|uniqueID: l;"
                               "-bytes: 6442450944|mime_type: |modified: |name: h|uniqueID: h;"));
    }

private:
    RecordingHost m_host;
};

QTEST_MAIN(TestZephalCalls)
#include "tst_zephal_calls.moc"
