// The option box procedures, on a real dialog of the kind that a plug-in makes.

#include "kelda/SceneHost.h"
#include "kelda/Steps.h"

#include "scene/Translators.h"
#include "ui/OptionBox.h"

#include <QtWidgets>

namespace {

/// A dialog with a named layout that holds an OK button.
struct PlugInDialog : QDialog
{
    PlugInDialog()
    {
        setLayout(new QVBoxLayout);
        layout()->setObjectName("PlugInOptionsLayout");
        layout()->addWidget(ok);
        connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    }

    template <typename W>
    W *option(const char *key) const
    {
        return findChild<W *>(QStringLiteral("KeldaOption_") + key);
    }
    QDoubleSpinBox *scale() const { return option<QDoubleSpinBox>("scale"); }
    static void click(QAbstractButton *button) { QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, 8)); }

    QPushButton *ok = new QPushButton("OK");
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host.reset();
        m_host = std::make_unique<SceneHost>(KGlobal::kInteractive);
        registerOptionBoxCommands(m_host->host, m_host->options);
    }

    void acceptedOptionsChangeTheImport()
    {
        const QString file = ModelFiles::write(m_host->path("<b>box.obj"), ModelFiles::box());
        PlugInDialog dialog;
        setUp("Import", "OBJ", file);
        const auto *label = dialog.findChild<QLabel *>("KeldaOptionFile");
        QVERIFY(label->text() == "<b>box.obj" && label->textFormat() == Qt::PlainText);

        QString answer = "not called";
        // At this moment the dialog is closed already.
        connect(&dialog, &QDialog::finished, this, [&] { answer = accept("Import"); });
        QTimer::singleShot(0, &dialog, [&] {
            dialog.click(dialog.option<QCheckBox>("triangulate"));
            dialog.click(dialog.option<QCheckBox>("joinVertices"));
            dialog.scale()->setValue(3);
            // Nothing is stored before the dialog is accepted.
            m_host->import(file);
            QCOMPARE(m_host->measured(), QString("12 12 8 0 0 0 1 2 3"));
            dialog.click(dialog.ok);
        });
        QVERIFY(dialog.exec() == QDialog::Accepted && answer.isEmpty());

        run("file -force -new");
        m_host->import(file);
        QCOMPARE(m_host->measured(), QString("0 6 24 0 0 0 3 6 9"));
        QCOMPARE(run("fileOption Import \"STL\" -q \"scale\""), QString("1"));
    }

    /// OK changes the file that is written next and the next dialog, Escape neither.
    void exportDialogKeepsWhatOkAccepts()
    {
        for (int round = 0; round < 2 * static_cast<int>(Translators::all().size()); ++round) {
            const Translator &translator = Translators::all()[static_cast<size_t>(round / 2)];
            if (!translator.writes())
                continue;
            const bool kept = round % 2 == 1;
            run("file -new");
            m_host->importBox();
            PlugInDialog dialog;
            setUp("ExportAll", translator.name, ".");
            QVERIFY(dialog.findChild<QLabel *>("KeldaOptionFile")->isHidden());
            connect(&dialog, &QDialog::accepted, this, [this] { QCOMPARE(accept("ExportAll"), QString()); });
            QTimer::singleShot(0, &dialog, [&] {
                dialog.scale()->setValue(2);
                dialog.option<QComboBox>("upAxis")->setCurrentText("Z");
                kept ? dialog.click(dialog.ok) : QTest::keyClick(&dialog, Qt::Key_Escape);
            });
            dialog.exec();
            run("file -force -options \"\" -type \"" + translator.name + "\" -pr -ea \"" + m_host->path("out") +
                "\"; file -new");
            m_host->import(m_host->path("out." + translator.extension()));
            QVERIFY2(m_host->measured().endsWith(kept ? " 0 -6 0 2 0 4" : " 0 0 0 1 2 3"), qPrintable(translator.name));
            const PlugInDialog next;
            setUp("ExportAll", translator.name, ".");
            QCOMPARE(next.scale()->value(), kept ? 2.0 : 1.0);
        }
        // Both exports share their options.
        QCOMPARE(run("fileOption ExportActive \"COLLADA\" -q \"upAxis\""), QString("Z"));
    }

    void dialogShowsItsTranslator()
    {
        run("fileOption Import \"FBX\" -set \"triangulate\" 0; fileOption Import \"FBX\" -set \"scale\" 0.01");
        {
            // An earlier dialog that is still there must not get the options of the newer one.
            PlugInDialog closing;
            setUp("Import", "OBJ", "x.obj");
            closing.show();
            const PlugInDialog dialog;
            setUp("Import", "FBX", "x.fbx");
            QCOMPARE(dialog.scale()->value(), 0.01);
            const auto checked = [&dialog](const char *key) { return dialog.option<QCheckBox>(key)->isChecked(); };
            QVERIFY(!checked("triangulate") && checked("joinVertices"));
        }

        const PlugInDialog dialog;
        setUp("ExportAll", "OBJ", ".");
        QVERIFY(dialog.option<QCheckBox>("materials"));
        setUp("ExportAll", "STL", ".");
        QVERIFY(!dialog.option<QCheckBox>("materials") && dialog.option<QComboBox>("format"));
        QCOMPARE(dialog.findChildren<QComboBox *>("KeldaOption_upAxis").size(), 1);
    }

    void failures()
    {
        const PlugInDialog dialog;
        run("fileOperationsOptionsUISetup Import PlugInOptionsLayout");
        playSteps([this](const QString &command) { return run(command); }, R"(
initCurrentFileTypeOption Paint "" "" => failed: unknown file action "Paint"
initCurrentFileTypeOption => failed: initCurrentFileTypeOption takes 3 arguments, not 0
fileOperationsOptionsUISetup Import Nowhere => failed: there is no layout named "Nowhere"
fileOperationsOptionsUICallback Import Nowhere => failed: no options were set up in a layout named "Nowhere"
setCurrentFileTypeOption Import PlugInOptionsLayout "Clay" => failed: unknown file translator "Clay"
fileOperationsOptionsUIInitValues Import PlugInOptionsLayout "" => failed: unknown file translator ""
fileOperationsSelectionChangedCallback Import Nowhere "x" => failed: no options were set up in a layout named "Nowhere"
fileOperationsOptionsUICallback Import PlugInOptionsLayout => failed: no translator's options are shown
fileOperationsOptionsUICallback ExportAll PlugInOptionsLayout => failed: the options in "PlugInOptionsLayout" belong to another action
fileOperationsOptionsUISetup ExportAll PlugInOptionsLayout; setCurrentFileTypeOption ExportAll PlugInOptionsLayout "3DS" => failed: 3DS files are not written
)");
    }

private:
    QString run(const QString &command) { return m_host->run(command); }
    /// The five commands that fill a dialog, in the order in which plug-ins send them.
    void setUp(const QString &action, const QString &translator, const QString &path)
    {
        const QString target = action + " PlugInOptionsLayout";
        for (const QString &command :
             {"initCurrentFileTypeOption " + action + " \"\" \"\"", "fileOperationsOptionsUISetup " + target,
              "fileOperationsOptionsUIInitValues " + target + " \"" + translator + '"',
              "setCurrentFileTypeOption " + target + " \"" + translator + '"',
              "fileOperationsSelectionChangedCallback " + target + " \"" + path + '"'})
            QCOMPARE(run(command), QString());
    }

    QString accept(const QString &action)
    {
        return run("fileOperationsOptionsUICallback " + action + " PlugInOptionsLayout");
    }

    std::unique_ptr<SceneHost> m_host;
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
