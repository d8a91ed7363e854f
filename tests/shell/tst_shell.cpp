// shell/tst_shell.cpp
//
// Texts, settings, status and helper functions.

#include "ReturnStatus.h"
#include "support/MessageBoxes.h"
#include "support/RecordingHost.h"
#include "support/TestFiles.h"
#include "TavrinHelper.h"
#include "TavrinSettings.h"
#include "TavrinStrings.h"

#include <QtTest>
#include <QtWidgets>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const char kFileName[] = "TavrinSettings_DropBoxAppBrowser_Kelda";
const uid_t kNobody = 65534;

QString settingsPath()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", kFileName).fileName();
}

bool othersMayRead()
{
    return QFileInfo(settingsPath()).permissions() & (QFile::ReadGroup | QFile::ReadOther);
}

/// Changes the effective user of a test that runs as root.
void setUser(uid_t user)
{
    if (getuid() == 0 && seteuid(user) != 0)
        qFatal("cannot change the user");
}

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QFile::remove(settingsPath());
        m_dir = std::make_unique<QTemporaryDir>();
        m_cache = m_dir->path() + "/temp_cloud";
        for (const char *file : {"/.hidden", "/Dropbox/Häuser und Gärten.obj", "/Dropbox/Work/.hidden folder/a"})
            writeFile(m_cache + file, "x");
    }

    void cleanup() { QDir::setCurrent(QDir::rootPath()); }

    void textsComeFromTheHostAndStatus2xxIsASuccess()
    {
        using namespace TavrinStrings;
        RecordingHost host;
        QVERIFY(registerKStringResources());
        QCOMPARE(getString(kHttpCode).utf8(), "Http code: ");
        host.setText("kHttpCode", "Kode: ");
        host.setText("KHttpServerErrorGeneric", "Pech");
        QCOMPARE(getString(KHttpServerErrorGeneric).utf8(), "Pech");
        QCOMPARE(ReturnStatus(-4, "Gone").GetFormattedResultMessage().utf8(), "Kode: -4 \nGone");
        for (const int code : {199, 200, 299, 300, 0, -1, -56, INT_MIN, INT_MAX})
            QVERIFY2(ReturnStatus(code).IsSuccess() == (code == 200 || code == 299), qPrintable(QString::number(code)));
    }

    void existingSettingsAreKeptAndOthersCannotReadASession()
    {
        const std::tuple<QByteArray, const char *, int> rows[] = {
            {"", "", 450},
            {"[General]\nversion=1\nplyx_session_id=kept\n", "kept", 450},
            {"[General]\nversion=3\npreview_window_size_width=7\n", "", 7},
            {"[General]\nversion=0\npreview_window_size_width=7\nplyx_session_id=kept\n", "", 450},
            {QByteArray("\0\x01garbage", 9), "", 450},
        };
        for (const auto &[content, session, expectedWidth] : rows) {
            writeFile(settingsPath(), content);
            int width = 0, height = 0;
            Tavrin::Settings settings(kFileName);
            QVERIFY(settings.getWindowSize(width, height));
            QCOMPARE(width, expectedWidth);
            QCOMPARE(settings.getSessionID().utf8(), session);
            QCOMPARE(othersMayRead(), settings.getSessionID().isEmpty());
            QVERIFY(settings.contains("plyx_secure_session_id"));
            settings.setSessionID("new");
            QVERIFY(!othersMayRead());
        }
    }

    void unusableFileIsReportedAndLeftAlone_data()
    {
        QTest::addColumn<QString>("obstacle");
        for (const char *obstacle : {"folder is a file", "folder is read-only", "file is read-only", "directory",
                                     "pipe", "link to a pipe", "dangling link"})
            QTest::newRow(obstacle) << obstacle;
    }

    void unusableFileIsReportedAndLeftAlone()
    {
        QFETCH(QString, obstacle);
        const QString path = settingsPath();
        const QString folder = QFileInfo(path).path();
        QVERIFY(QDir(folder).removeRecursively());
        const bool isReadOnly = obstacle.endsWith("read-only");
        if (obstacle == "folder is a file")
            writeFile(folder, "x");
        else
            QVERIFY(QDir().mkpath(folder));
        const QString pipe = m_dir->filePath("pipe");
        const QString target = obstacle == "pipe" ? path : pipe;
        if (obstacle == "directory")
            QVERIFY(QDir().mkpath(path));
        if (obstacle.endsWith("pipe"))
            QCOMPARE(mkfifo(QFile::encodeName(target).constData(), 0644), 0);
        if (obstacle == "link to a pipe")
            QVERIFY(QFile::link(pipe, path));
        if (obstacle == "dangling link")
            QVERIFY(QFile::link(m_dir->filePath("no folder/no file"), path));
        if (isReadOnly) {
            writeFile(path, "[General]\nversion=1\n");
            const bool isFolder = obstacle == "folder is read-only";
            for (const QString &above : {QDir::homePath(), QFileInfo(folder).path()})
                chmod(QFile::encodeName(above).constData(), 0755);
            chmod(QFile::encodeName(folder).constData(), isFolder ? 0555 : 0777);
            chmod(QFile::encodeName(path).constData(), isFolder ? 0666 : 0444);
        }
        const QFile::Permissions before = QFile::permissions(path);

        const auto restore = qScopeGuard([&folder] {
            chmod(QFile::encodeName(folder).constData(), 0755);
            return QFile::remove(folder) || QDir(folder).removeRecursively();
        });
        setUser(isReadOnly ? kNobody : getuid());
        const bool isStored = [] {
            Tavrin::Settings settings(kFileName);
            settings.setSessionID("secret");
            return settings.store();
        }();
        QCOMPARE(Tavrin::Settings(kFileName).path(), path);
        setUser(0);
        QVERIFY(!isStored);
        QCOMPARE(QFile::permissions(path), before);
    }

    void sessionIsRestoredAndAPositionNeedsTwoNumbers()
    {
        Tavrin::Settings(kFileName).setSessionID("tok/+=; \"en\"");
        Tavrin::Settings settings(kFileName);
        QCOMPARE(settings.getSessionID().utf8(), "tok/+=; \"en\"");
        int x = 9, y = 9;
        settings.setValue("preview_window_position_x", "wide");
        QVERIFY(!settings.getWindowPosition(x, y));
        QCOMPARE(QPoint(x, y), QPoint(0, 9));
        settings.setValue("preview_window_position_x", "-12");
        QVERIFY(settings.getWindowPosition(x, y));
        QCOMPARE(QPoint(x, y), QPoint(-12, 300));
    }

    void boxesNeedAUserInterface()
    {
        const std::tuple<KGlobal::KeldaState, int, QString> rows[] = {
            {KGlobal::kInteractive, 404, "Http Error Message: Http code: 404 \n<b>not bold</b>"},
            {KGlobal::kBaseUI, 204, "Http Success Message: Http code: 204 \n<b>not bold</b>"},
            {KGlobal::kBatch, 404, ""},
        };
        for (const auto &[state, code, expected] : rows) {
            RecordingHost host(state);
            auto window = std::make_unique<QMainWindow>();
            host.setMainWindow(window.get());
            QString title;
            MessageBoxes boxes([&](QMessageBox &box) {
                title = box.windowTitle() + ": ";
                window.reset(); // and with it the box
            });
            ReturnStatus(code, "<b>not bold</b>").DisplayUserMessageBox();
            QCOMPARE(title + boxes.texts.join('|'), expected);
        }
    }

    void localPathsStayBelowTheirFolder()
    {
        RecordingHost host;
        QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "./temp_cloud");
        host.answer("internalVar -userAppDir", KCommandResult(KString("/home/robin/kelda/")));
        QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "/home/robin/kelda/temp_cloud");
        const QList<std::pair<QString, QString>> paths{
            {"/Work/My models/Häuser.obj", "/Work/My models/Häuser.obj"},
            {"/..a/b../.c/a..b", "/..a/b../.c/a..b"},
            {"/a/../../etc/./passwd", "/a/_/_/etc/_/passwd"},
            {"C:/d:evil/ab:c/a\\..\\b", "_/_/ab:c/_"},
            {QStringLiteral("/a") + QChar(QChar::Null) + "b/c", "/_/c"},
            {"//a///b//", "/a/b"},
            {"///", ""},
        };
        for (const auto &[path, safe] : paths)
            QCOMPARE(TavrinHelper::safeLocalPath(path), safe);
        const QString unpaired(1, QChar(0xd800));
        for (const QString &name :
             {QString(), QString("."), QString(".."), QString("a/b"), QString("a\\b"), ".." + unpaired, unpaired + "a"})
            QCOMPARE(TavrinHelper::safeLocalName(name), QString("_"));
    }

    void removalDeletesTheFolderAndFollowsNoLink()
    {
        const QString kept = m_dir->path() + "/kept";
        writeFile(kept + "/precious", "x");
        for (const QString &target : {kept, kept + "/precious", kept + "/no such file", m_cache})
            QVERIFY(QFile::link(target, m_cache + "/Dropbox/to " + QString(target).replace('/', '_')));
        QVERIFY(QDir::setCurrent(m_dir->path()));
        for (const char *path : {"./temp_cloud", "temp_cloud/", "temp_cloud/../temp_cloud"}) {
            QVERIFY2(qtHelper_removeDir(path), path);
            QVERIFY2(!QFileInfo::exists(m_cache), path);
            writeFile(m_cache + "/a/b", "x");
        }
        QVERIFY(qtHelper_removeDir(m_cache));
        QVERIFY(QFile::link(kept, m_cache));
        QVERIFY(qtHelper_removeDir(m_cache + '/'));
        QVERIFY(!QFileInfo(m_cache).isSymLink());
        for (const char *path : {"", "no such folder"})
            QVERIFY2(qtHelper_removeDir(path), path);
        QVERIFY(QFileInfo::exists(kept + "/precious"));
    }

    void failedRemovalIsReported()
    {
        const QString locked = m_cache + "/Dropbox/locked";
        writeFile(locked + "/file", "x");
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner);
        for (const QString &above : {QDir::homePath(), m_dir->path()})
            QFile::setPermissions(above, QFile::permissions(above) | QFile::ExeGroup | QFile::ExeOther);
        const auto everything = QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot;
        for (QDirIterator entry(m_dir->path(), everything, QDirIterator::Subdirectories); entry.hasNext();)
            QVERIFY(chown(QFile::encodeName(entry.next()).constData(), kNobody, kNobody) == 0 || getuid() != 0);

        setUser(kNobody);
        const bool removed = qtHelper_removeDir(m_cache);
        setUser(0);
        QVERIFY(!removed);
        QVERIFY(QFileInfo::exists(locked + "/file"));
        QVERIFY(QFileInfo::exists(m_cache + "/.hidden")); // files come after folders; the removal has ended before it
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY(qtHelper_removeDir(m_cache));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_cache;
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
