// The host's window and its dialogs, driven by mouse and keyboard.

#include "kelda/ModelFiles.h"

#include "host/KeldaHost.h"
#include "host/MenuModel.h"
#include "ui/BrowserWindow.h"
#include "ui/KeldaProgram.h"
#include "ui/MainWindow.h"
#include "ui/Viewport.h"

#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <QtWebKitWidgets/QWebView>

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_program.reset(); }

    void listAndSceneShareTheSelection();
    void viewportShowsColours_data();
    void viewportShowsColours();
    void viewportHidesWhatIsBehind();
    void mouseMovesTheCamera();
    void largeSceneStaysUsable();
    void menuEntryRunsItsCommand();
    void commandLineRunsAndRemembers();
    void messagesHaveTheirColours();
    void confirmDialogAnswersTheButton_data();
    void confirmDialogAnswersTheButton();
    void waitCursorShows();
    void browserOpensWebAddresses();
    void windowMayGoFirst();

private:
    void import(const QString &path) { QVERIFY(m_program->runCommand("file -i \"" + path + "\"")); }
    template <typename W>
    W *child(const char *name) const
    {
        return m_program->window()->findChild<W *>(QString::fromLatin1(name));
    }
    QImage picture() const { return m_program->window()->viewport()->render(QSize(300, 300)); }
    void lookAlongZ();

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KeldaProgram> m_program;
};

void TestWindow::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    KeldaOptions options;
    options.userDir = m_dir->filePath("user");
    options.internalBrowser = true;
    options.echo = false;
    m_program = std::make_unique<KeldaProgram>(options);
    QVERIFY(m_program->start());
    QVERIFY(QTest::qWaitForWindowExposed(m_program->window()));
}

void TestWindow::lookAlongZ()
{
    Camera camera = m_program->window()->viewport()->camera();
    camera.yaw = 0;
    camera.pitch = 0;
    m_program->window()->viewport()->setCamera(camera);
}

void TestWindow::listAndSceneShareTheSelection()
{
    const QString file = ModelFiles::write(m_dir->filePath("box.obj"), ModelFiles::box());
    import(file);
    import(file);
    auto *list = child<QListWidget>("KeldaObjectList");
    QCOMPARE(list->count(), 2);

    m_program->scene().setSelection({"box1"});
    QCOMPARE(list->selectedItems().size(), 1);
    QCOMPARE(list->selectedItems().first()->text(), QString("box1"));

    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, list->visualItemRect(list->item(0)).center());
    QCOMPARE(m_program->scene().selection(), QStringList("box"));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::ControlModifier,
                      list->visualItemRect(list->item(1)).center());
    QCOMPARE(m_program->scene().selection(), QStringList({"box", "box1"}));

    m_program->scene().remove({"box"});
    QCOMPARE(list->count(), 1);
    QCOMPARE(list->item(0)->isSelected(), true);
}

void TestWindow::viewportShowsColours_data()
{
    QTest::addColumn<bool>("smooth");
    QTest::newRow("smooth") << true;
    QTest::newRow("flat") << false;
}

void TestWindow::viewportShowsColours()
{
    QFETCH(bool, smooth);
    const QImage empty = picture();
    ModelFiles::writeImage(m_dir->filePath("paint.png"), Qt::red, Qt::blue);
    import(ModelFiles::writeTexturedSquare(m_dir->path(), "paint.png"));
    m_program->window()->viewport()->setShading(smooth ? Rasterizer::Shading::Smooth : Rasterizer::Shading::Flat);
    lookAlongZ();
    const QImage full = picture();

    const QColor left = full.pixelColor(110, 130);
    const QColor right = full.pixelColor(190, 130);
    QVERIFY2(left.red() > 120 && left.blue() < 20, qPrintable(left.name()));
    QVERIFY2(right.blue() > 120 && right.red() < 20, qPrintable(right.name()));
    QCOMPARE(full.pixelColor(2, 2), empty.pixelColor(2, 2));
    QVERIFY(empty.pixelColor(2, 2) != empty.pixelColor(2, 297));

    m_program->scene().setVisible("square", false);
    const QColor hidden = picture().pixelColor(110, 130);
    QVERIFY(hidden.red() < 120);
}

void TestWindow::viewportHidesWhatIsBehind()
{
    const QByteArray materials = "newmtl near\nKd 0 1 0\nnewmtl far\nKd 1 0 0\n";
    ModelFiles::write(m_dir->filePath("two.mtl"), materials);
    // The far square is drawn last, and one corner of the near one lies behind the eye when that comes close.
    import(ModelFiles::write(m_dir->filePath("two.obj"),
                             "mtllib two.mtl\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\nv -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\n"
                             "v -1 1 -1\no near\nusemtl near\nf 1 2 3 4\no far\nusemtl far\nf 5 6 7 8\n"));
    lookAlongZ();
    const QColor front = picture().pixelColor(150, 140);
    QVERIFY2(front.green() > 100 && front.red() < 60, qPrintable(front.name()));

    Camera camera = m_program->window()->viewport()->camera();
    camera.yaw = 180;
    m_program->window()->viewport()->setCamera(camera);
    const QColor back = picture().pixelColor(150, 140);
    QVERIFY2(back.red() > 100 && back.green() < 60, qPrintable(back.name()));

    camera.distance = 0.5F;
    camera.yaw = 80;
    m_program->window()->viewport()->setCamera(camera);
    QVERIFY(!picture().isNull());
}

void TestWindow::mouseMovesTheCamera()
{
    import(ModelFiles::write(m_dir->filePath("box.obj"), ModelFiles::box()));
    Viewport *view = m_program->window()->viewport();
    const Camera framed = view->camera();
    QCOMPARE(framed.target, QVector3D(0.5F, 1, 1.5F));

    QTest::mousePress(view, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    QMouseEvent move(QEvent::MouseMove, QPointF(150, 80), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view, &move);
    QTest::mouseRelease(view, Qt::LeftButton, Qt::NoModifier, QPoint(150, 80));
    QVERIFY(view->camera().yaw < framed.yaw);
    QVERIFY(view->camera().pitch < framed.pitch);

    QWheelEvent wheel(QPointF(50, 50), QPointF(50, 50), QPoint(), QPoint(0, 240), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(view, &wheel);
    QVERIFY(view->camera().distance < framed.distance * 0.9F);
    QTest::keyClick(view, Qt::Key_F);
    QCOMPARE(view->camera().distance, framed.distance);
}

void TestWindow::largeSceneStaysUsable()
{
    auto mesh = std::make_shared<Mesh>();
    constexpr int side = 317;
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column)
            mesh->positions.emplace_back(float(column), float(((row * 31 + column * 17) % 7)), float(row));
    }
    for (quint32 row = 0; row + 1 < side; ++row) {
        for (quint32 column = 0; column + 1 < side; ++column) {
            const quint32 at = row * side + column;
            mesh->addFace({at, at + 1, at + side});
            mesh->addFace({at + 1, at + side + 1, at + side});
        }
    }
    mesh->updateBounds();
    QVERIFY(mesh->triangleCount() > 199000);
    m_program->scene().add({{"terrain", mesh, std::make_shared<Material>()}});
    QElapsedTimer timer;
    timer.start();
    m_program->window()->viewport()->render(QSize(900, 600));
    // Measured 20 to 40 ms; the limit leaves room for sanitizers and a busy machine, not for one draw per pixel.
    QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
}

void TestWindow::menuEntryRunsItsCommand()
{
    m_program->runCommand(
        "menuItem -parent \"FileMenu\" -label \"Say & tell...\" -command \"print \\\"said\\\"\" \"sayItem\"");
    auto *menu = child<QMenu>("KeldaFileMenu");
    QAction *action = menu->findChild<QAction *>("sayItem");
    QVERIFY(action);
    QCOMPARE(action->text(), QString("Say && tell..."));
    QSignalSpy messages(&m_program->host(), &KeldaHost::messagePosted);
    action->trigger();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.first().at(1).toString(), QString("said"));

    const int before = menu->actions().size();
    m_program->runCommand("deleteUI \"sayItem\"");
    QCOMPARE(menu->actions().size(), before - 1);

    import(ModelFiles::write(m_dir->filePath("box.obj"), ModelFiles::box()));
    menu->findChild<QAction *>("KeldaNew")->trigger();
    QVERIFY(m_program->scene().objects().empty());
}

void TestWindow::commandLineRunsAndRemembers()
{
    auto *line = child<QLineEdit>("KeldaCommandLine");
    QTest::keyClicks(line, "sceneInfo -q -objects");
    QTest::keyClick(line, Qt::Key_Return);
    QTest::keyClicks(line, "frobnicate");
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(line->text(), QString());
    const QString log = child<QPlainTextEdit>("KeldaMessages")->toPlainText();
    QVERIFY2(log.contains("sceneInfo -q -objects\nResult: 0"), qPrintable(log));
    QCOMPARE(log.count("unknown command"), 1);

    QTest::keyClick(line, Qt::Key_Up);
    QTest::keyClick(line, Qt::Key_Up);
    QCOMPARE(line->text(), QString("sceneInfo -q -objects"));
    QTest::keyClick(line, Qt::Key_Down);
    QTest::keyClick(line, Qt::Key_Down);
    QCOMPARE(line->text(), QString());
}

void TestWindow::messagesHaveTheirColours()
{
    auto *line = child<QLineEdit>("KeldaMessageLine");
    QSet<QRgb> colours;
    const QStringList texts{"plain <b>text</b>", "careful", "broken"};
    KGlobal::displayInfo("plain <b>text</b>");
    colours.insert(line->palette().color(QPalette::Text).rgb());
    QCOMPARE(line->text(), texts[0]);
    KGlobal::displayWarning("careful");
    colours.insert(line->palette().color(QPalette::Text).rgb());
    KGlobal::displayError("broken");
    colours.insert(line->palette().color(QPalette::Text).rgb());
    QCOMPARE(colours.size(), 3);
    QVERIFY(child<QPlainTextEdit>("KeldaMessages")->toPlainText().endsWith(texts.join('\n')));
}

void TestWindow::confirmDialogAnswersTheButton_data()
{
    QTest::addColumn<QString>("flags");
    QTest::addColumn<QString>("press");
    QTest::addColumn<QString>("answer");
    QTest::newRow("as plug-ins ask") << "-title \"T\" -m \"<b>x</b>\"  -messageAlign \"left\" -button \"OK\""
                                     << "OK"
                                     << "OK";
    QTest::newRow("second") << "-title \"T\" -message \"<b>x</b>\" -button \"Yes\" -button \"No & never\""
                            << "No & never"
                            << "No & never";
    QTest::newRow("closed") << "-title \"T\" -m \"<b>x</b>\" -button \"Yes\" -button \"No\" -cancelButton \"No\""
                            << ""
                            << "No";
    QTest::newRow("closed without a cancel button") << "-title \"T\" -m \"<b>x</b>\" -button \"Yes\" -button \"No\""
                                                    << ""
                                                    << "dismiss";
    QTest::newRow("closed with one button") << "-title \"T\" -m \"<b>x</b>\" -button \"OK\""
                                            << ""
                                            << "dismiss";
    QTest::newRow("no buttons named") << "-title \"T\" -m \"<b>x</b>\""
                                      << "Confirm"
                                      << "Confirm";
}

void TestWindow::confirmDialogAnswersTheButton()
{
    QFETCH(QString, flags);
    QFETCH(QString, press);
    QFETCH(QString, answer);
    bool seen = false;
    QTimer::singleShot(0, this, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        seen = box->textFormat() == Qt::PlainText && box->text() == "<b>x</b>" && box->windowTitle() == "T";
        for (QAbstractButton *button : box->buttons()) {
            if (!press.isEmpty() && button->text().replace("&&", "&") == press)
                QTest::mouseClick(button, Qt::LeftButton);
        }
        if (press.isEmpty())
            QTest::keyClick(box, Qt::Key_Escape);
    });
    const QString command = "confirmDialog " + flags;
    const KString result = KGlobal::executeCommandStringResult(KQtUtil::toKString(command));
    QVERIFY(seen);
    QCOMPARE(KQtUtil::toQString(result), answer);
}

void TestWindow::waitCursorShows()
{
    m_program->runCommand("waitCursor -state on");
    QVERIFY(QApplication::overrideCursor());
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    m_program->runCommand("if (`waitCursor -q -state`) { waitCursor -state off; }");
    QVERIFY(!QApplication::overrideCursor());
}

void TestWindow::browserOpensWebAddresses()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    connect(&server, &QTcpServer::newConnection, this, [&server] {
        QTcpSocket *socket = server.nextPendingConnection();
        connect(socket, &QTcpSocket::readyRead, socket, [socket] {
            socket->write("HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n\r\n<title>Allow?</title><p>page");
            socket->disconnectFromHost();
        });
    });
    const QUrl address(QStringLiteral("http://127.0.0.1:%1/sign-in").arg(server.serverPort()));
    QVERIFY(QDesktopServices::openUrl(address));
    QPointer<BrowserWindow> window = m_program->browser()->window();
    QVERIFY(window && window->isVisible());
    QTRY_COMPARE(window->view()->title(), QString("Allow?"));
    QCOMPARE(window->findChild<QLineEdit *>("KeldaBrowserAddress")->text(), address.toString());

    QVERIFY(QDesktopServices::openUrl(address));
    QCOMPARE(m_program->browser()->window(), window.data());
    window->close();
    QTRY_VERIFY(!window);
    QVERIFY(m_program->window()->isVisible());
}

void TestWindow::windowMayGoFirst()
{
    import(ModelFiles::write(m_dir->filePath("box.obj"), ModelFiles::box()));
    delete m_program->window();
    QVERIFY(!m_program->window());
    QVERIFY(!KQtUtil::mainWindow());
    QVERIFY(m_program->runCommand("select -all; delete"));
    KGlobal::displayInfo("still here");
}

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
