// The host's window and its dialogs, driven by mouse and keyboard.

#include "host/KeldaHost.h"
#include "kelda/Steps.h"
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
        copyModels(m_dir->path());
        KeldaOptions options;
        options.userDir = m_dir->filePath("user");
        options.echo = false;
        m_program = std::make_unique<KeldaProgram>(options);
        QVERIFY(m_program->start());
        QVERIFY(QTest::qWaitForWindowExposed(m_program->window()));
    }

    void cleanup() { m_program.reset(); }

    void listAndSceneShareTheSelection()
    {
        import("box.obj");
        import("box.obj");
        Scene &scene = m_program->scene();
        auto *list = child<QListWidget>("KeldaObjectList");
        const auto clicked = [&](int row, Qt::KeyboardModifiers keys) {
            QTest::mouseClick(list->viewport(), Qt::LeftButton, keys, list->visualItemRect(list->item(row)).center());
            return scene.selection();
        };

        scene.setSelection({"box1"});
        QCOMPARE(list->selectedItems(), QList<QListWidgetItem *>{list->item(1)});
        QCOMPARE(clicked(0, Qt::NoModifier), QStringList("box"));
        QCOMPARE(clicked(1, Qt::ControlModifier), QStringList({"box", "box1"}));
        scene.remove({"box"});
        QCOMPARE(list->count(), 1);
        QVERIFY(list->item(0)->isSelected());
    }

    void viewportShowsColoursAndHidesWhatIsBehind()
    {
        const QImage empty = picture();
        import("square.obj");
        QCOMPARE(colourAt(110, 130), QString("red"));
        QCOMPARE(colourAt(190, 130), QString("blue"));
        QCOMPARE(picture().pixelColor(2, 2), empty.pixelColor(2, 2));
        m_program->runCommand("file -force -new");
        import("two.obj");
        QCOMPARE(colourAt(150, 140), QString("green"));
        QCOMPARE(colourAt(150, 140, 180), QString("red"));
    }

    void mouseMovesTheCamera()
    {
        import("box.obj");
        const Camera framed = view()->camera();
        QCOMPARE(framed.target, QVector3D(0.5F, 1, 1.5F));

        QTest::mousePress(view(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QMouseEvent move(QEvent::MouseMove, QPointF(150, 80), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view(), &move);
        QVERIFY(view()->camera().yaw < framed.yaw);
        QVERIFY(view()->camera().pitch < framed.pitch);

        QWheelEvent wheel({50, 50}, {50, 50}, {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(view(), &wheel);
        QVERIFY(view()->camera().distance < framed.distance * 0.9F);
        QTest::keyClick(view(), Qt::Key_F);
        QCOMPARE(view()->camera().distance, framed.distance);
    }

    void menuEntryRunsItsCommand()
    {
        m_program->runCommand("menuItem -parent FileMenu -label \"Say & wait\" -command \"print said\" say");
        auto *menu = child<QMenu>("KeldaFileMenu");
        QAction *entry = menu->findChild<QAction *>("say");
        QCOMPARE(entry->text(), QString("Say && wait"));
        entry->trigger();
        QVERIFY(child<QPlainTextEdit>("KeldaMessages")->toPlainText().endsWith("\nsaid\nprint said"));
        m_program->runCommand("deleteUI \"say\"");
        QVERIFY(!menu->actions().contains(entry));
    }

    void commandLineHasAHistoryAndPostsResultsAndErrors()
    {
        auto *line = child<QLineEdit>("KeldaCommandLine");
        const auto pressed = [line](Qt::Key key) {
            QTest::keyClick(line, key);
            return line->text();
        };
        for (const char *command : {"sceneInfo -q -objects", "<b>frob"}) {
            QTest::keyClicks(line, command);
            QCOMPARE(pressed(Qt::Key_Return), QString());
        }
        QCOMPARE(child<QPlainTextEdit>("KeldaMessages")->toPlainText(),
                 QString("sceneInfo -q -objects\nResult: 0\n<b>frob\nline 1: unexpected '<'"));
        QCOMPARE(pressed(Qt::Key_Up), QString("<b>frob"));
        QCOMPARE(pressed(Qt::Key_Up), QString("sceneInfo -q -objects"));
        QCOMPARE(pressed(Qt::Key_Down), QString("<b>frob"));
        QCOMPARE(pressed(Qt::Key_Down), QString());
    }

    /// "flags|button to press", or Escape without one.
    void confirmDialogReturnsTheButton()
    {
        const auto answer = [this](const QString &step) {
            const QString press = step.section('|', 1);
            QTimer::singleShot(0, this, [&] {
                auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
                QCOMPARE(box->textFormat(), Qt::PlainText);
                QCOMPARE(box->text(), QString("<b>x</b>"));
                QCOMPARE(box->windowTitle(), QString("T"));
                for (QAbstractButton *button : box->buttons()) {
                    if (button->text() == press)
                        button->click();
                }
                QTest::keyClick(box, Qt::Key_Escape);
            });
            const QString command = "confirmDialog -title \"T\" -m \"<b>x</b>\" " + step.section('|', 0, 0);
            return KQtUtil::toQString(KGlobal::executeCommandStringResult(KQtUtil::toKString(command)));
        };
        playSteps(answer, R"(
-messageAlign "left" -button "OK"|OK => OK
-button "Yes" -button "No & never"|No && never => No & never
-button "Yes" -button "No" -cancelButton "No"| => No
-button "Yes" -button "No"| => dismiss
|Confirm => Confirm
)");
    }

    void qtTextsAreInTheHostsLanguage()
    {
        QStringList buttons;
        for (const char *language : {"de", "en"}) {
            cleanup();
            qputenv("KELDA_UI_LANGUAGE", language);
            init();
            buttons << QMessageBox(QMessageBox::Question, "T", "x", QMessageBox::No).button(QMessageBox::No)->text();
        }
        qunsetenv("KELDA_UI_LANGUAGE");
        QCOMPARE(buttons, QStringList({"&Nein", "&No"}));
    }

    void windowMayBeDeletedFirst()
    {
        import("box.obj");
        delete m_program->window();
        QCOMPARE(m_program->window(), nullptr);
        QCOMPARE(KQtUtil::mainWindow(), nullptr);
        QVERIFY(m_program->runCommand("select -all; delete"));
    }

private:
    void import(const QString &file) { QVERIFY(m_program->runCommand("file -i \"" + m_dir->filePath(file) + "\"")); }
    template <typename W>
    W *child(const char *name) const
    {
        return m_program->window()->findChild<W *>(QString::fromLatin1(name));
    }
    Viewport *view() const { return m_program->window()->viewport(); }
    /// Along the z axis for a \p yaw of 0.
    QImage picture(float yaw = 0) const
    {
        Camera camera = view()->camera();
        camera.yaw = yaw;
        camera.pitch = 0;
        view()->setCamera(camera);
        return view()->render(QSize(300, 300));
    }
    /// The one bright channel of the pixel, or the colour's name.
    QString colourAt(int x, int y, float yaw = 0) const
    {
        const QColor colour = picture(yaw).pixelColor(x, y);
        const auto only = [](int one, int other, int third) { return one > 100 && other < 60 && third < 60; };
        return only(colour.red(), colour.green(), colour.blue())   ? "red"
               : only(colour.green(), colour.red(), colour.blue()) ? "green"
               : only(colour.blue(), colour.red(), colour.green()) ? "blue"
                                                                   : colour.name();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KeldaProgram> m_program;
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
