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

const char sessionFile[] = "TavrinSettings_DropBoxAppBrowser_Kelda";

QString settingsPath(const char *name)
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", name).fileName();
}

void writeSettings(const char *name, const QByteArray &content)
{
    const QString path = settingsPath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

bool othersMayRead(const char *name)
{
    return QFileInfo(settingsPath(name)).permissions() & (QFile::ReadGroup | QFile::ReadOther);
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
    void init();

    void textsAreRegisteredInOrder();
    void replacedTextIsReturned();

    void newFileHoldsEveryDefault();
    void existingFileKeepsItsValues_data();
    void existingFileKeepsItsValues();
    void pairNeedsTwoNumbers_data();
    void pairNeedsTwoNumbers();
    void sessionIsForItsUserOnly();

    void codesDecideSuccess_data();
    void codesDecideSuccess();
    void messageFollowsTheCode();
    void boxShowsPlainText();
    void boxSurvivesTheLossOfItsParent();
    void nothingIsShownWithoutUserInterface_data();
    void nothingIsShownWithoutUserInterface();

    void waitCursorEndsWithItsScope();
    void hostDirectoriesHaveFallbacks();
    void namesAreMadeSafe_data();
    void namesAreMadeSafe();
    void missingIconIsEmpty();
};

void TestShell::init()
{
    QDir(QFileInfo(settingsPath(sessionFile)).path()).removeRecursively();
}

void TestShell::textsAreRegisteredInOrder()
{
    OrderedHost host;
    QVERIFY(TavrinStrings::registerKStringResources());

    QVERIFY(host.ids.size() > 42);
    QCOMPARE(host.ids[0].key().utf8(), "kOk");
    QCOMPARE(host.ids[7].key().utf8(), "KHttpServerErrorGeneric");
    QCOMPARE(host.ids[41].key().utf8(), "kCloudPortalParentDirectory");
    std::set<std::string> keys;
    int capitals = 0;
    for (const KStringResourceId &id : host.ids) {
        QCOMPARE(id.plugin().utf8(), "Tavrin");
        QVERIFY(!id.defaultText().isEmpty());
        QVERIFY2(keys.insert(id.key().utf8()).second, id.key().utf8());
        capitals += id.key().utf8()[0] == 'K';
    }
    QCOMPARE(capitals, 4);
}

void TestShell::replacedTextIsReturned()
{
    RecordingHost host;
    QCOMPARE(TavrinStrings::getString(TavrinStrings::kHttpCode).utf8(), "Http code: ");
    host.setText("kHttpCode", "Antwort: ");
    TavrinStrings::registerKStringResources();
    QCOMPARE(TavrinStrings::getString(TavrinStrings::kHttpCode).utf8(), "Antwort: ");
    QCOMPARE(TavrinStrings::getString(TavrinStrings::kCloudPortalFileName).utf8(), "File name: ");
}

void TestShell::newFileHoldsEveryDefault()
{
    {
        const Tavrin::Settings settings("CloudBrowser_Dock_Widget");
        QVERIFY(!settings.getWindowActive());
        QVERIFY(settings.getWindowFloating());
        QCOMPARE(settings.getWindowDock(), Qt::NoDockWidgetArea);
        QVERIFY(!settings.getValue("no_such_key").isValid());
    }
    const QSettings stored(settingsPath("CloudBrowser_Dock_Widget"), QSettings::IniFormat);
    QCOMPARE(stored.allKeys().size(), 11);
    QCOMPARE(stored.value("version").toInt(), 1);
    QCOMPARE(stored.value("preview_window_size_width").toInt(), 450);
}

void TestShell::existingFileKeepsItsValues_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("session");
    QTest::addColumn<int>("width");
    QTest::newRow("key added by a newer version")
        << QByteArray("[General]\nversion=1\nplyx_session_id=kept\n") << QByteArray("kept") << 450;
    QTest::newRow("values of the user") << QByteArray("[General]\nversion=3\npreview_window_size_width=700\n")
                                        << QByteArray() << 700;
    QTest::newRow("version 0") << QByteArray("[General]\nversion=0\nplyx_session_id=old\npreview_window_size_width=7\n")
                               << QByteArray() << 450;
    QTest::newRow("negative version") << QByteArray("[General]\nversion=-1\nplyx_session_id=old\n") << QByteArray()
                                      << 450;
    QTest::newRow("no settings file at all") << QByteArray("\0\x01garbage") << QByteArray() << 450;
}

void TestShell::existingFileKeepsItsValues()
{
    QFETCH(QByteArray, content);
    writeSettings(sessionFile, content);
    const Tavrin::Settings settings(sessionFile);
    int width = 0;
    int height = 0;
    QVERIFY(settings.getWindowSize(width, height));
    QTEST(width, "width");
    QCOMPARE(height, 300);
    QTEST(QByteArray(settings.getSessionID().utf8()), "session");
}

void TestShell::pairNeedsTwoNumbers_data()
{
    QTest::addColumn<QString>("x");
    QTest::addColumn<QString>("y");
    QTest::addColumn<bool>("read");
    QTest::addColumn<int>("expectedX");
    QTest::addColumn<int>("expectedY");
    QTest::newRow("both") << "-12"
                          << "34" << true << -12 << 34;
    QTest::newRow("first is none") << "wide"
                                   << "34" << false << 0 << 99;
    QTest::newRow("second is none") << "12"
                                    << "high" << false << 12 << 0;
}

void TestShell::pairNeedsTwoNumbers()
{
    QFETCH(QString, x);
    QFETCH(QString, y);
    Tavrin::Settings settings("CloudBrowser_Dock_Widget");
    settings.setValue("preview_window_position_x", x);
    settings.setValue("preview_window_position_y", y);
    int readX = 99;
    int readY = 99;
    QTEST(settings.getWindowPosition(readX, readY), "read");
    QTEST(readX, "expectedX");
    QTEST(readY, "expectedY");
}

void TestShell::sessionIsForItsUserOnly()
{
    writeSettings(sessionFile, "[General]\nversion=1\n");
    QVERIFY(othersMayRead(sessionFile));
    {
        Tavrin::Settings settings(sessionFile);
        settings.setSessionID("tok/+=; \"en\"");
        settings.setSecureSessionID("7");
    }
    QVERIFY(!othersMayRead(sessionFile));
    QCOMPARE(Tavrin::Settings(sessionFile).getSessionID().utf8(), "tok/+=; \"en\"");

    writeSettings(sessionFile, "[General]\nversion=1\nplyx_session_id=of an older version\n");
    QVERIFY(othersMayRead(sessionFile));
    const Tavrin::Settings opened(sessionFile);
    QVERIFY(!othersMayRead(sessionFile));
}

void TestShell::codesDecideSuccess_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("success");
    const QList<std::pair<int, bool>> rows{{200, true}, {299, true},   {199, false},     {300, false},    {0, false},
                                           {-1, false}, {-200, false}, {INT_MIN, false}, {INT_MAX, false}};
    for (const auto &[code, success] : rows)
        QTest::addRow("%d", code) << code << success;
}

void TestShell::codesDecideSuccess()
{
    QFETCH(int, code);
    QTEST(ReturnStatus(code).IsSuccess(), "success");
}

void TestShell::messageFollowsTheCode()
{
    const RecordingHost host;
    QCOMPARE(ReturnStatus(200).GetFormattedResultMessage().utf8(), "Http code: 200");
    QCOMPARE(ReturnStatus(-4, "Gone").GetFormattedResultMessage().utf8(), "Http code: -4 \nGone");
}

void TestShell::boxShowsPlainText()
{
    RecordingHost host;
    QMainWindow window;
    host.setMainWindow(&window);
    for (const int code : {404, 204}) {
        QString title;
        QTimer::singleShot(0, this, [&] {
            const auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            title = box->windowTitle();
            QCOMPARE(box->parentWidget(), &window);
            QCOMPARE(box->textFormat(), Qt::PlainText);
            QCOMPARE(box->text(), QStringLiteral("Http code: %1 \n<b>not bold</b>").arg(code));
            QApplication::activeModalWidget()->close();
        });
        ReturnStatus(code, "<b>not bold</b>").DisplayUserMessageBox();
        QCOMPARE(title, code == 404 ? QStringLiteral("Http Error Message") : QStringLiteral("Http Success Message"));
    }
    QVERIFY(window.findChildren<QMessageBox *>().isEmpty());
}

void TestShell::boxSurvivesTheLossOfItsParent()
{
    RecordingHost host;
    auto window = std::make_unique<QMainWindow>();
    host.setMainWindow(window.get());
    QTimer::singleShot(0, this, [&] { window.reset(); });
    ReturnStatus(500).DisplayUserMessageBox();
    QVERIFY(!window);

    bool shown = false;
    QTimer::singleShot(0, this, [&] {
        shown = QApplication::activeModalWidget() != nullptr;
        QApplication::activeModalWidget()->close();
    });
    ReturnStatus(500).DisplayUserMessageBox();
    QVERIFY(shown);
}

void TestShell::nothingIsShownWithoutUserInterface_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("canRunUI");
    QTest::newRow("interactive") << int(KGlobal::kInteractive) << true;
    QTest::newRow("batch") << int(KGlobal::kBatch) << false;
    QTest::newRow("library") << int(KGlobal::kLibraryApp) << false;
    QTest::newRow("base") << int(KGlobal::kBaseUI) << true;
}

void TestShell::nothingIsShownWithoutUserInterface()
{
    QFETCH(int, state);
    QFETCH(bool, canRunUI);
    const RecordingHost host(static_cast<KGlobal::KeldaState>(state));
    QCOMPARE(IsKeldaCanRunUI(), canRunUI);
    bool shown = false;
    QTimer closer;
    connect(&closer, &QTimer::timeout, this, [&] {
        if (QWidget *box = QApplication::activeModalWidget()) {
            shown = true;
            box->close();
        }
    });
    closer.start(0);
    ReturnStatus(500).DisplayUserMessageBox();
    QCOMPARE(shown, canRunUI);
}

void TestShell::waitCursorEndsWithItsScope()
{
    const RecordingHost host;
    const QString on = "waitCursor -state on;";
    const QString off = "if (`waitCursor -q -state`) { waitCursor -state off; }";
    try {
        const Tavrin::WaitCursorAuto cursor;
        QCOMPARE(host.commands(), QStringList(on));
        throw 1;
    } catch (int) {
    }
    QCOMPARE(host.commands(), (QStringList{on, off}));
    {
        const Tavrin::WaitCursorAuto cursor(Tavrin::WaitCursorAuto::Begin::ByCaller);
    }
    QCOMPARE(host.commands(), (QStringList{on, off, off}));
}

void TestShell::hostDirectoriesHaveFallbacks()
{
    RecordingHost host;
    QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "./temp_cloud");
    QCOMPARE(TavrinHelper::hostLocation().utf8(), ".");
    host.answer("internalVar -userAppDir", KCommandResult(KString("/home/robin/kelda/")));
    host.answer("getenv \"KELDA_LOCATION\";", KCommandResult(KString("/opt/kelda")));
    QCOMPARE(TavrinHelper::tempCloudDirectory().utf8(), "/home/robin/kelda/temp_cloud");
    QCOMPARE(TavrinHelper::hostLocation().utf8(), "/opt/kelda");
}

void TestShell::namesAreMadeSafe_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("safe");
    QTest::newRow("ordinary") << "/Work/My models/Häuser.obj"
                              << "/Work/My models/Häuser.obj";
    QTest::newRow("relative") << "a/b"
                              << "a/b";
    QTest::newRow("dots within names") << "/..a/b../.c/a..b"
                                       << "/..a/b../.c/a..b";
    QTest::newRow("parent") << "/a/../../etc/./passwd"
                            << "/a/_/_/etc/_/passwd";
    QTest::newRow("backslashes") << "/a\\..\\b/c"
                                 << "/_/c";
    QTest::newRow("drive letter") << "C:/d:evil/ab:c"
                                  << "_/_/ab:c";
    QTest::newRow("zero") << QStringLiteral("/a") + QChar(QChar::Null) + "b/c"
                          << "/_/c";
    QTest::newRow("empty components") << "//a///b//"
                                      << "/a/b";
    QTest::newRow("only separators") << "///"
                                     << "";
    QTest::newRow("empty") << ""
                           << "";
}

void TestShell::namesAreMadeSafe()
{
    QFETCH(QString, path);
    QTEST(TavrinHelper::safeLocalPath(path), "safe");
    const QString name = path.section('/', -1);
    const QString safeName = TavrinHelper::safeLocalName(path);
    QVERIFY(!safeName.isEmpty() && !safeName.contains('/') && safeName != "..");
    QVERIFY(name.isEmpty() || TavrinHelper::safeLocalName(name) == TavrinHelper::safeLocalPath(name));
}

void TestShell::missingIconIsEmpty()
{
    RecordingHost host;
    QTemporaryDir location;
    host.answer("getenv", KCommandResult(KQtUtil::toKString(location.path())));
    QDir(location.path()).mkpath("icons/CloudPortal");
    QPixmap pixmap(8, 8);
    pixmap.fill(Qt::red);
    QVERIFY(pixmap.save(location.filePath("icons/CloudPortal/there.png")));
    QVERIFY(TavrinHelper::portalIcon("not there.png").isNull());
    QCOMPARE(TavrinHelper::portalIcon("there.png").availableSizes().value(0), QSize(8, 8));
}

QTEST_MAIN(TestShell)
#include "tst_shell.moc"
