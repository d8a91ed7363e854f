// The option box procedures, on a real dialog of the kind that a plug-in makes.

#include "kelda/ModelFiles.h"

#include "host/KeldaHost.h"
#include "scene/Scene.h"
#include "scene/SceneCommands.h"
#include "ui/OptionBox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <QVBoxLayout>

namespace {

const QString layoutName = QStringLiteral("PlugInOptionsLayout");

/// A dialog with an empty, named layout.
std::unique_ptr<QDialog> makeDialog()
{
    auto dialog = std::make_unique<QDialog>();
    auto *layout = new QVBoxLayout(dialog.get());
    layout->setObjectName(layoutName);
    return dialog;
}

template <typename W>
W *option(const QDialog &dialog, const char *key)
{
    return dialog.findChild<W *>(QStringLiteral("KeldaOption_") + key);
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void acceptedOptionsChangeTheImport();
    void dialogWithoutOkChangesNothing();
    void widgetsShowWhatIsStored();
    void bothExportsShareTheirOptions();
    void modalDialogOfAPlugin();
    void freshLayoutGoesBeforeAClosingOne();
    void anotherTranslatorReplacesTheWidgets();
    void fileIsNamed();
    void failures_data();
    void failures();

private:
    QString run(const QString &command);
    /// The five commands that fill a dialog, in the order in which plug-ins send them.
    void setUp(const QString &action, const QString &translator, const QString &path);
    QString accept(const QString &action)
    {
        return run("fileOperationsOptionsUICallback " + action + " " + layoutName);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<OptionStore> m_options;
    std::unique_ptr<Scene> m_scene;
    std::unique_ptr<KeldaHost> m_host;
};

void TestOptions::init()
{
    m_host.reset();
    m_dir = std::make_unique<QTemporaryDir>();
    m_options = std::make_unique<OptionStore>();
    m_scene = std::make_unique<Scene>();
    m_host = std::make_unique<KeldaHost>(
        KeldaHost::Setup{KGlobal::kInteractive, QString(), m_dir->filePath("user"), QString()});
    registerSceneCommands(*m_host, *m_scene, *m_options);
    registerOptionBoxCommands(*m_host, *m_options);
}

QString TestOptions::run(const QString &command)
{
    try {
        return m_host->interpreter().evaluate(command).toString();
    } catch (const ScriptError &problem) {
        return "failed: " + problem.message();
    }
}

void TestOptions::setUp(const QString &action, const QString &translator, const QString &path)
{
    const QString target = action + " " + layoutName;
    QCOMPARE(run("initCurrentFileTypeOption " + action + " \"\" \"\""), QString());
    QCOMPARE(run("fileOperationsOptionsUISetup " + target), QString());
    QCOMPARE(run("fileOperationsOptionsUIInitValues " + target + " \"" + translator + "\""), QString());
    QCOMPARE(run("setCurrentFileTypeOption " + target + " \"" + translator + "\""), QString());
    QCOMPARE(run("fileOperationsSelectionChangedCallback " + target + " \"" + path + "\""), QString());
}

void TestOptions::acceptedOptionsChangeTheImport()
{
    const QString file = ModelFiles::write(m_dir->filePath("box.obj"), ModelFiles::box());
    const auto dialog = makeDialog();
    setUp("Import", "OBJ", file);
    dialog->show();
    QTest::mouseClick(option<QCheckBox>(*dialog, "triangulate"), Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    QTest::mouseClick(option<QCheckBox>(*dialog, "joinVertices"), Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    option<QDoubleSpinBox>(*dialog, "scale")->setValue(3);

    // Nothing is stored before the dialog is accepted.
    run("file -force -pr -i \"" + file + "\"");
    QCOMPARE(run("sceneInfo -q -triangles"), QString("12"));
    run("file -force -new");
    QCOMPARE(accept("Import"), QString());
    run("file -force -pr -i \"" + file + "\"");

    QCOMPARE(run("sceneInfo -q -triangles"), QString("0"));
    QCOMPARE(run("sceneInfo -q -faces"), QString("6"));
    QCOMPARE(run("sceneInfo -q -vertices"), QString("24"));
    QCOMPARE(run("sceneInfo -q -boundingBox"), QString("0 0 0 3 6 9"));
    QCOMPARE(run("fileOption Import \"STL\" -q \"scale\""), QString("1"));
}

void TestOptions::dialogWithoutOkChangesNothing()
{
    {
        const auto dialog = makeDialog();
        setUp("Import", "OBJ", "x.obj");
        option<QDoubleSpinBox>(*dialog, "scale")->setValue(7);
    }
    QCOMPARE(run("fileOption Import \"OBJ\" -q \"scale\""), QString("1"));
    QVERIFY(accept("Import").startsWith("failed: "));
}

void TestOptions::widgetsShowWhatIsStored()
{
    run("fileOption Import \"FBX\" -set \"triangulate\" 0; fileOption Import \"FBX\" -set \"scale\" 0.01");
    const auto dialog = makeDialog();
    setUp("Import", "FBX", "x.fbx");
    QCOMPARE(option<QCheckBox>(*dialog, "triangulate")->isChecked(), false);
    QCOMPARE(option<QCheckBox>(*dialog, "joinVertices")->isChecked(), true);
    QCOMPARE(option<QDoubleSpinBox>(*dialog, "scale")->value(), 0.01);
}

void TestOptions::bothExportsShareTheirOptions()
{
    const auto dialog = makeDialog();
    setUp("ExportAll", "COLLADA", ".");
    option<QComboBox>(*dialog, "upAxis")->setCurrentText("Z");
    QCOMPARE(accept("ExportAll"), QString());
    QCOMPARE(run("fileOption ExportActive \"COLLADA\" -q \"upAxis\""), QString("Z"));
    QVERIFY(!option<QCheckBox>(*dialog, "materials"));
}

void TestOptions::modalDialogOfAPlugin()
{
    auto dialog = makeDialog();
    setUp("Import", "OBJ", "x.obj");
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, dialog.get());
    dialog->layout()->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, dialog.get(), &QDialog::accept);
    QString answer = "not called";
    // At this moment the dialog is closed already, and asks to be deleted.
    connect(dialog.get(), &QDialog::finished, this, [&] { answer = accept("Import"); });
    QTimer::singleShot(0, dialog.get(), [&] {
        option<QDoubleSpinBox>(*dialog, "scale")->setValue(5);
        QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
    QCOMPARE(dialog->exec(), int(QDialog::Accepted));
    QCOMPARE(answer, QString());
    QCOMPARE(run("fileOption Import \"OBJ\" -q \"scale\""), QString("5"));
}

void TestOptions::freshLayoutGoesBeforeAClosingOne()
{
    const auto closing = makeDialog();
    setUp("Import", "OBJ", "x.obj");
    closing->show();
    const auto fresh = makeDialog();
    setUp("Import", "STL", "x.stl");
    QVERIFY(fresh->findChild<OptionPanel *>());
    option<QDoubleSpinBox>(*fresh, "scale")->setValue(9);
    QCOMPARE(accept("Import"), QString());
    QCOMPARE(run("fileOption Import \"STL\" -q \"scale\""), QString("9"));
    QCOMPARE(run("fileOption Import \"OBJ\" -q \"scale\""), QString("1"));
}

void TestOptions::anotherTranslatorReplacesTheWidgets()
{
    const auto dialog = makeDialog();
    setUp("ExportAll", "OBJ", ".");
    QVERIFY(option<QCheckBox>(*dialog, "materials"));
    QCOMPARE(run("setCurrentFileTypeOption ExportAll " + layoutName + " \"PLY\""), QString());
    QVERIFY(!option<QCheckBox>(*dialog, "materials"));
    QCOMPARE(dialog->findChildren<QDoubleSpinBox *>("KeldaOption_scale").size(), 1);
    // Setting up once more does not add a second panel either.
    setUp("Import", "PLY", "x.ply");
    QCOMPARE(dialog->findChildren<OptionPanel *>().size(), 1);
}

void TestOptions::fileIsNamed()
{
    const auto dialog = makeDialog();
    setUp("Import", "OBJ", "/models/<b>cup.obj");
    const auto *label = dialog->findChild<QLabel *>("KeldaOptionFile");
    QCOMPARE(label->text(), QString("<b>cup.obj"));
    QCOMPARE(label->textFormat(), Qt::PlainText);
    run("fileOperationsSelectionChangedCallback Import " + layoutName + " \".\"");
    QVERIFY(label->isHidden());
}

void TestOptions::failures_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("reason");
    QTest::newRow("action") << "initCurrentFileTypeOption Paint \"\" \"\""
                            << "unknown file action \"Paint\"";
    QTest::newRow("layout") << "fileOperationsOptionsUISetup Import Nowhere"
                            << "no layout named \"Nowhere\"";
    QTest::newRow("before set-up") << "fileOperationsOptionsUICallback Import Nowhere"
                                   << "no options were set up";
    QTest::newRow("translator") << "setCurrentFileTypeOption Import LAYOUT \"Clay\""
                                << "unknown file translator \"Clay\"";
    QTest::newRow("no translator") << "fileOperationsOptionsUICallback Import LAYOUT"
                                   << "no translator's options";
    QTest::newRow("other action") << "fileOperationsOptionsUICallback ExportAll LAYOUT"
                                  << "another action";
    QTest::newRow("arguments") << "fileOperationsOptionsUISetup Import"
                               << "takes 2 arguments";
    QTest::newRow("none") << "initCurrentFileTypeOption"
                          << "takes 3 arguments";
}

void TestOptions::failures()
{
    QFETCH(QString, command);
    QFETCH(QString, reason);
    const auto dialog = makeDialog();
    run("fileOperationsOptionsUISetup Import " + layoutName);
    const QString answer = run(command.replace("LAYOUT", layoutName));
    QVERIFY2(answer.startsWith("failed: ") && answer.contains(reason), qPrintable(answer));
}

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
