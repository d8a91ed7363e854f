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
    }

    void viewportShowsColoursAndHidesWhatIsBehind()
    {
        constexpr int kRed = 0, kGreen = 120, kBlue = 240;
        import("square.obj");
        QCOMPARE(hueAt(110, 130), kRed);
        QCOMPARE(hueAt(190, 130), kBlue);
        m_program->runCommand("file -force -new");
        import("two.obj");
        QCOMPARE(hueAt(150, 140), kGreen);
        QCOMPARE(hueAt(150, 140, 180), kRed);
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
    /// The hue of a pixel of the scene, seen along the z axis for a \p yaw of 0.
    int hueAt(int x, int y, float yaw = 0) const
    {
        Viewport *view = m_program->window()->viewport();
        Camera camera = view->camera();
        camera.yaw = yaw;
        camera.pitch = 0;
        view->setCamera(camera);
        return view->render(QSize(300, 300)).pixelColor(x, y).hue();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KeldaProgram> m_program;
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
