// Texts, settings, status and helper functions.

#include "ReturnStatus.h"
#include "support/MessageBoxes.h"
#include "support/RecordingHost.h"
#include "support/Table.h"
#include "support/TestFiles.h"
#include "TavrinHelper.h"
#include "TavrinSettings.h"
#include "TavrinStrings.h"

#include <QtWidgets>

#include <sys/stat.h>

namespace {

const char kFileName[] = "TavrinSettings_DropBoxAppBrowser_Kelda";

QString settingsPath()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", kFileName).fileName();
}

bool othersMayRead()
{
    return QFileInfo(settingsPath()).permissions() & (QFile::ReadGroup | QFile::ReadOther);
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

    void status2xxIsASuccess()
    {
        QString successes;
        for (const int code : {199, 200, 299, 300, 0, INT_MIN})
            successes += ReturnStatus(code).IsSuccess() ? QString::number(code) + ' ' : QString();
        QCOMPARE(successes, QString("200 299 "));
    }

    void existingSettingsAreKeptAndOthersCannotReadASession_data()
    {
        addRows({{"width", "[General]\nversion=3\npreview_window_size_width=7\n", "7"},
                 {"garbage", QStringLiteral("\0\x01garbage"), "450"}});
    }
    void existingSettingsAreKeptAndOthersCannotReadASession()
    {
        const auto [title, content, expectedWidth] = currentRow<3>();
        writeFile(settingsPath(), content.toUtf8());
        int width = 0, height = 0;
        Tavrin::Settings settings(kFileName);
        QVERIFY(settings.getWindowSize(width, height));
        QCOMPARE(QString::number(width), expectedWidth);
        QVERIFY(othersMayRead());
        settings.setSessionID("new");
        QVERIFY(!othersMayRead());
    }

    void unusableFileIsReportedAndLeftAlone_data()
    {
        addRows({{"folder is a file"}, {"directory"}, {"link to a pipe"}});
    }
    void unusableFileIsReportedAndLeftAlone()
    {
        const QString obstacle = currentRow<1>()[0];
        const QString path = settingsPath();
        const QString folder = QFileInfo(path).path();
        const auto remove = [folder] { return QFile::remove(folder) || QDir(folder).removeRecursively(); };
        QVERIFY(remove());
        const auto restore = qScopeGuard(remove);
        if (obstacle == "folder is a file")
            writeFile(folder, "x");
        else
            QVERIFY(QDir().mkpath(obstacle == "directory" ? path : folder));
        if (obstacle == "link to a pipe") {
            const QString pipe = m_dir->filePath("pipe");
            QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0644), 0);
            QVERIFY(QFile::link(pipe, path));
        }

        Tavrin::Settings settings(kFileName);
        settings.setSessionID("secret");
        QVERIFY(!settings.store());
        QCOMPARE(settings.path(), path);
        QCOMPARE(QFileInfo(path).isDir(), obstacle == "directory");
        QVERIFY(!QFileInfo(path).isFile());
    }

    void boxesNeedAUserInterface_data()
    {
        // The state of the host, the status and the box.
        addRows({{"interactive", "0", "404", "Http Error Message: Http code: 404 \n<b>not bold</b>"},
                 {"base", "3", "204", "Http Success Message: Http code: 204 \n<b>not bold</b>"},
                 {"batch", "1", "404", ""}});
    }
    void boxesNeedAUserInterface()
    {
        const auto [title, state, code, expected] = currentRow<4>();
        RecordingHost host(static_cast<KGlobal::KeldaState>(state.toInt()));
        auto window = std::make_unique<QMainWindow>();
        host.setMainWindow(window.get());
        QString boxTitle;
        MessageBoxes boxes([&](QMessageBox &box) {
            boxTitle = box.windowTitle() + ": ";
            window.reset(); // and with it the box
        });
        ReturnStatus(code.toInt(), "<b>not bold</b>").DisplayUserMessageBox();
        QCOMPARE(boxTitle + boxes.texts.join('|'), expected);
    }

    void localPathsStayBelowTheirFolder_data()
    {
        addRows({{"/..ä/b../.c/a..b", "/..ä/b../.c/a..b"},
                 {"/a/../../etc/./passwd", "/a/_/_/etc/_/passwd"},
                 {"C:/d:evil/ab:c/a\\..\\b", "_/_/ab:c/_"},
                 {QStringLiteral("/a\0b/c"), "/_/c"},
                 {QString("/a/..") + QChar(0xd800), "/a/_"},
                 {"//a///b//", "/a/b"}});
    }
    void localPathsStayBelowTheirFolder()
    {
        const auto [path, safe] = currentRow<2>();
        QCOMPARE(TavrinHelper::safeLocalPath(path), safe);
    }

    void removalDeletesTheFolderAndFollowsNoLink()
    {
        const QString kept = m_dir->path() + "/kept";
        writeFile(kept + "/precious", "x");
        for (const QString &target : {kept, kept + "/precious", kept + "/no such file", m_cache})
            QVERIFY(QFile::link(target, m_cache + "/Dropbox/to " + QString(target).replace('/', '_')));
        QVERIFY(QDir::setCurrent(m_dir->path()));
        const auto restore = qScopeGuard([] { QDir::setCurrent(QDir::rootPath()); });
        const QString path = "temp_cloud/../temp_cloud/";
        QVERIFY(qtHelper_removeDir(path));
        QVERIFY(!QFileInfo::exists(m_cache));
        QVERIFY(QFile::link(kept, m_cache));
        QVERIFY(qtHelper_removeDir(path));
        QVERIFY(!QFileInfo(m_cache).isSymLink());
        QVERIFY(QFileInfo::exists(kept + "/precious"));
        QVERIFY(qtHelper_removeDir("no such folder"));
        QVERIFY(qtHelper_removeDir(""));
        QVERIFY(QFileInfo::exists(kept));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_cache;
};

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
