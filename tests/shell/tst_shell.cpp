// shell/tst_shell.cpp
//
// Texts, settings, status and helpers: what every layer of the plug-in stands on.

#include "ReturnStatus.h"
#include "support/RecordingHost.h"
#include "TavrinHelper.h"
#include "TavrinSettings.h"
#include "TavrinStrings.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QtTest>

#include <memory>

namespace {

const char fileName[] = "TavrinSettings_DropBoxAppBrowser_Kelda";

QString settingsPath()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", fileName).fileName();
}

void writeSettings(const QByteArray &content)
{
    QDir().mkpath(QFileInfo(settingsPath()).path());
    QFile file(settingsPath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

bool othersMayRead()
{
    return QFileInfo(settingsPath()).permissions() & (QFile::ReadGroup | QFile::ReadOther);
}

/// Keeps the identifiers in the order in which they are registered.
class OrderedHost : public RecordingHost
{
public:
    KStatus registerString(const KStringResourceId &id) override
    {
        ids.push_back(id);
        return RecordingHost::registerString(id);
    }
    std::vector<KStringResourceId> ids;
};

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void init() { QFile::remove(settingsPath()); }

    void textsAreRegisteredInOrder()
    {
        const OrderedHost host;
        QVERIFY(TavrinStrings::registerKStringResources());
        QVERIFY(host.ids.size() > 42);
        QCOMPARE(host.ids[7].key().utf8(), "KHttpServerErrorGeneric");
        QCOMPARE(host.ids[41].key().utf8(), "kCloudPortalParentDirectory");
        std::set<std::string> keys;
        for (const KStringResourceId &id : host.ids) {
            QCOMPARE(id.plugin().utf8(), "Tavrin");
            QVERIFY2(!id.defaultText().isEmpty() && keys.insert(id.key().utf8()).second, id.key().utf8());
        }
    }

    void existingFileKeepsItsValues_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<int>("width");
        const QByteArray key("\nplyx_session_id=kept\n");
        QTest::newRow("new user") << QByteArray() << QByteArray() << 450;
        QTest::newRow("added key") << "[General]\nversion=1" + key << QByteArray("kept") << 450;
        QTest::newRow("own values") << QByteArray("[General]\nversion=3\npreview_window_size_width=7\n") << QByteArray()
                                    << 7;
        QTest::newRow("version 0") << "[General]\nversion=0\npreview_window_size_width=7" + key << QByteArray() << 450;
        QTest::newRow("below 0") << "[General]\nversion=-1" + key << QByteArray() << 450;
        QTest::newRow("garbage") << QByteArray("\0\x01garbage", 9) << QByteArray() << 450;
    }

    void existingFileKeepsItsValues()
    {
        QFETCH(QByteArray, content);
        if (!content.isEmpty())
            writeSettings(content);
        int width = 0;
        int height = 0;
        {
            const Tavrin::Settings settings(fileName);
            QVERIFY(settings.getWindowSize(width, height));
            QTEST(QByteArray(settings.getSessionID().utf8()), "session");
            QTEST(width, "width");
            QVERIFY(settings.getWindowFloating() && !settings.getValue("no such key").isValid());
        }
        QVERIFY(QSettings(settingsPath(), QSettings::IniFormat).contains("plyx_secure_session_id"));
    }

    void pairNeedsTwoNumbers()
    {
        Tavrin::Settings settings(fileName);
        int x = 9;
        int y = 9;
        settings.setValue("preview_window_position_x", "wide");
        QVERIFY(!settings.getWindowPosition(x, y) && x == 0 && y == 9);
        settings.setValue("preview_window_position_x", "-12");
        QVERIFY(settings.getWindowPosition(x, y) && x == -12 && y == 300);
    }

    void sessionIsForItsUserOnly()
    {
        writeSettings("[General]\nversion=1\n");
        QVERIFY(othersMayRead());
        Tavrin::Settings(fileName).setSessionID("tok/+=; \"en\"");
        QVERIFY(!othersMayRead());
        QCOMPARE(Tavrin::Settings(fileName).getSessionID().utf8(), "tok/+=; \"en\"");

        writeSettings("[General]\nversion=1\nplyx_session_id=of an older version\n");
        QVERIFY(othersMayRead());
        const Tavrin::Settings opened(fileName);
        QVERIFY(!othersMayRead());
    }

    void codesDecideSuccess()
    {
        for (const int code : {200, 299})
            QVERIFY2(ReturnStatus(code).IsSuccess(), qPrintable(QString::number(code)));
        for (const int code : {199, 300, 0, -1, -56, INT_MIN, INT_MAX})
            QVERIFY2(!ReturnStatus(code).IsSuccess(), qPrintable(QString::number(code)));
        const RecordingHost host;
        QCOMPARE(ReturnStatus(200).GetFormattedResultMessage().utf8(), "Http code: 200");
        QCOMPARE(ReturnStatus(-4, "Gone").GetFormattedResultMessage().utf8(), "Http code: -4 \nGone");
    }

    void boxesNeedAUserInterface_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("title");
        QTest::newRow("interactive") << int(KGlobal::kInteractive) << 404 << "Http Error Message";
        QTest::newRow("base") << int(KGlobal::kBaseUI) << 204 << "Http Success Message";
        QTest::newRow("batch") << int(KGlobal::kBatch) << 404 << QString();
        QTest::newRow("library") << int(KGlobal::kLibraryApp) << 404 << QString();
    }

    void boxesNeedAUserInterface()
    {
        QFETCH(int, state);
        QFETCH(int, code);
        RecordingHost host(static_cast<KGlobal::KeldaState>(state));
        auto window = std::make_unique<QMainWindow>();
        host.setMainWindow(window.get());
        QString title;
        QTimer looker;
        connect(&looker, &QTimer::timeout, this, [&] {
            const auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            title = box->windowTitle();
            QCOMPARE(box->textFormat(), Qt::PlainText);
            QVERIFY(box->text().endsWith(" \n<b>not bold</b>"));
            window.reset(); // and with it the box
        });
        looker.start(0);
        ReturnStatus(code, "<b>not bold</b>").DisplayUserMessageBox();
        QTEST(title, "title");
    }

    void waitCursorEndsWithItsScope()
    {
        const RecordingHost host;
        try {
            const Tavrin::WaitCursorAuto cursor;
            QCOMPARE(host.commands(), QStringList("waitCursor -state on;"));
            throw 1;
        } catch (int) {
        }
        QCOMPARE(host.commands().mid(1), QStringList("if (`waitCursor -q -state`) { waitCursor -state off; }"));
    }

    void hostDirectoriesHaveFallbacks()
    {
        RecordingHost host;
        QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "./temp_cloud");
        QVERIFY(TavrinHelper::portalIcon("no such icon.png").isNull());
        host.answer("internalVar -userAppDir", KCommandResult(KString("/home/robin/kelda/")));
        QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "/home/robin/kelda/temp_cloud");
    }

    void namesAreMadeSafe()
    {
        const QString zero = QStringLiteral("/a") + QChar(QChar::Null) + "b/c";
        const QList<std::pair<QString, QString>> paths{
            {"/Work/My models/Häuser.obj", "/Work/My models/Häuser.obj"},
            {"/..a/b../.c/a..b", "/..a/b../.c/a..b"},
            {"/a/../../etc/./passwd", "/a/_/_/etc/_/passwd"},
            {"/a\\..\\b/c", "/_/c"},
            {"C:/d:evil/ab:c", "_/_/ab:c"},
            {zero, "/_/c"},
            {"//a///b//", "/a/b"},
            {"///", ""},
            {"", ""},
        };
        for (const auto &[path, safe] : paths)
            QCOMPARE(TavrinHelper::safeLocalPath(path), safe);
        for (const QString &name : {QString(), QString("."), QString(".."), QString("a/b"), QString("a\\b")})
            QCOMPARE(TavrinHelper::safeLocalName(name), QString("_"));
    }
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
