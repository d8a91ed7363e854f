// The host's window and its dialogs, driven by mouse and keyboard.

#include "kelda/ModelFiles.h"
#include "kelda/Steps.h"

#include "host/KeldaHost.h"
#include "ui/KeldaProgram.h"
#include "ui/MainWindow.h"
#include "ui/Viewport.h"

#include <QtWidgets>

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        KeldaOptions options;
        options.userDir = path("user");
        options.echo = false;
        m_program = std::make_unique<KeldaProgram>(options);
        QVERIFY(m_program->start());
        QVERIFY(QTest::qWaitForWindowExposed(m_program->window()));
    }

    void cleanup() { m_program.reset(); }

    void listAndSceneShareTheSelection()
    {
        importBox();
        importBox();
        Scene &scene = m_program->scene();
        auto *list = child<QListWidget>("KeldaObjectList");
        const auto click = [list](int row, Qt::KeyboardModifiers keys) {
            QTest::mouseClick(list->viewport(), Qt::LeftButton, keys, list->visualItemRect(list->item(row)).center());
        };

        scene.setSelection({"box1"});
        QCOMPARE(list->selectedItems(), QList<QListWidgetItem *>{list->item(1)});
        QCOMPARE(list->item(1)->text(), QString("box1"));

        click(0, Qt::NoModifier);
        QCOMPARE(scene.selection(), QStringList("box"));
        click(1, Qt::ControlModifier);
        QCOMPARE(scene.selection(), QStringList({"box", "box1"}));

        scene.remove({"box"});
        QCOMPARE(list->count(), 1);
        QVERIFY(list->item(0)->isSelected());
    }

    void viewportShowsColoursAndHidesWhatIsBehind()
    {
        const QImage empty = picture();
        ModelFiles::writePaint(m_dir->path());
        import(ModelFiles::writeTexturedSquare(m_dir->path(), "paint.png"));
        for (const auto shading : {Rasterizer::Shading::Smooth, Rasterizer::Shading::Flat}) {
            view()->setShading(shading);
            const QImage full = picture();
            const QColor left = full.pixelColor(110, 130);
            const QColor right = full.pixelColor(190, 130);
            QVERIFY2(left.red() > 120 && left.blue() < 20, qPrintable(left.name()));
            QVERIFY2(right.blue() > 120 && right.red() < 20, qPrintable(right.name()));
            QCOMPARE(full.pixelColor(2, 2), empty.pixelColor(2, 2));
        }
        m_program->runCommand("file -force -new");
        ModelFiles::write(path("two.mtl"), "newmtl near\nKd 0 1 0\nnewmtl far\nKd 1 0 0\n");
        // The far square is drawn last.
        import(ModelFiles::write(
            path("two.obj"), "mtllib two.mtl\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\nv -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\n"
                             "v -1 1 -1\no near\nusemtl near\nf 1 2 3 4\no far\nusemtl far\nf 5 6 7 8\n"));
        const QColor front = picture().pixelColor(150, 140);
        QVERIFY2(front.green() > 100 && front.red() < 60, qPrintable(front.name()));
        const QColor back = picture(180).pixelColor(150, 140);
        QVERIFY2(back.red() > 100 && back.green() < 60, qPrintable(back.name()));
    }

    void mouseMovesTheCamera()
    {
        importBox();
        const Camera framed = view()->camera();
        QCOMPARE(framed.target, QVector3D(0.5F, 1, 1.5F));

        QTest::mousePress(view(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QMouseEvent move(QEvent::MouseMove, QPointF(150, 80), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view(), &move);
        QVERIFY(view()->camera().yaw < framed.yaw && view()->camera().pitch < framed.pitch);

        QWheelEvent wheel({50, 50}, {50, 50}, {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(view(), &wheel);
        QVERIFY(view()->camera().distance < framed.distance * 0.9F);
        QTest::keyClick(view(), Qt::Key_F);
        QCOMPARE(view()->camera().distance, framed.distance);
    }

    void menuEntryRunsItsCommand()
    {
        m_program->runCommand("menuItem -parent FileMenu -label \"Say & wait\" -command \"waitCursor -state on\" say");
        auto *menu = child<QMenu>("KeldaFileMenu");
        const int entries = menu->actions().size();
        QCOMPARE(menu->findChild<QAction *>("say")->text(), QString("Say && wait"));
        menu->findChild<QAction *>("say")->trigger();
        QVERIFY(QApplication::overrideCursor() && QApplication::overrideCursor()->shape() == Qt::WaitCursor);
        m_program->runCommand("deleteUI \"say\"; waitCursor -state off");
        QCOMPARE(menu->actions().size(), entries - 1);
        QVERIFY(!QApplication::overrideCursor());

        importBox();
        menu->findChild<QAction *>("KeldaNew")->trigger();
        QVERIFY(m_program->scene().objects().empty());
    }

    void commandLineRemembersAndMessagesHaveTheirColours()
    {
        auto *line = child<QLineEdit>("KeldaCommandLine");
        for (const char *command : {"sceneInfo -q -objects", "frobnicate"}) {
            QTest::keyClicks(line, command);
            QTest::keyClick(line, Qt::Key_Return);
            QCOMPARE(line->text(), QString());
        }
        const auto *messages = child<QPlainTextEdit>("KeldaMessages");
        const QString log = messages->toPlainText();
        QVERIFY2(log.contains("sceneInfo -q -objects\nResult: 0"), qPrintable(log));
        QCOMPARE(log.count("unknown command"), 1);
        for (const char *earlier : {"frobnicate", "sceneInfo -q -objects"}) {
            QTest::keyClick(line, Qt::Key_Up);
            QCOMPARE(line->text(), QString(earlier));
        }
        QTest::keyClick(line, Qt::Key_Down);
        QTest::keyClick(line, Qt::Key_Down);
        QCOMPARE(line->text(), QString());

        auto *shown = child<QLineEdit>("KeldaMessageLine");
        QSet<QRgb> colours;
        for (const auto show : {&KGlobal::displayInfo, &KGlobal::displayWarning, &KGlobal::displayError}) {
            show("plain <b>text</b>");
            QCOMPARE(shown->text(), QString("plain <b>text</b>"));
            colours.insert(shown->palette().color(QPalette::Text).rgb());
        }
        QCOMPARE(colours.size(), 3);
        QCOMPARE(messages->toPlainText().count("plain <b>text</b>"), 3);
    }

    /// "flags|button pressed", or Escape for none.
    void confirmDialogAnswersTheButton()
    {
        const auto answer = [this](const QString &step) {
            const QString press = step.section('|', 1);
            bool seen = false;
            QTimer::singleShot(0, this, [&] {
                auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
                QVERIFY(box);
                seen = box->textFormat() == Qt::PlainText && box->text() == "<b>x</b>" && box->windowTitle() == "T";
                for (QAbstractButton *button : box->buttons()) {
                    if (button->text() == press)
                        QTest::mouseClick(button, Qt::LeftButton);
                }
                if (press.isEmpty())
                    QTest::keyClick(box, Qt::Key_Escape);
            });
            const QString command = "confirmDialog -title \"T\" -m \"<b>x</b>\" " + step.section('|', 0, 0);
            const QString given = KQtUtil::toQString(KGlobal::executeCommandStringResult(KQtUtil::toKString(command)));
            return seen ? given : "not seen";
        };
        playSteps(answer, R"(
-messageAlign "left" -button "OK"|OK => OK
-button "Yes" -button "No & never"|No && never => No & never
-button "Yes" -button "No" -cancelButton "No"| => No
-button "Yes" -button "No"| => dismiss
|Confirm => Confirm
)");
    }

    void windowMayGoFirst()
    {
        importBox();
        delete m_program->window();
        QVERIFY(!m_program->window());
        QVERIFY(!KQtUtil::mainWindow());
        QVERIFY(m_program->runCommand("select -all; delete"));
        KGlobal::displayInfo("still here");
    }

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    void import(const QString &file) { QVERIFY(m_program->runCommand("file -i \"" + file + "\"")); }
    void importBox() { import(ModelFiles::write(path("box.obj"), ModelFiles::box())); }
    template <typename W>
    W *child(const char *name) const
    {
        return m_program->window()->findChild<W *>(QString::fromLatin1(name));
    }
    Viewport *view() const { return m_program->window()->viewport(); }
    /// Seen along the z axis for a \p yaw of 0.
    QImage picture(float yaw = 0) const
    {
        Camera camera = view()->camera();
        camera.yaw = yaw;
        camera.pitch = 0;
        view()->setCamera(camera);
        return view()->render(QSize(300, 300));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KeldaProgram> m_program;
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
