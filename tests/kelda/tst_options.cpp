// The option box procedures, on a real dialog of the kind that a plug-in makes.

#include "kelda/TestHost.h"
#include "scene/Translators.h"
#include "ui/OptionBox.h"

#include <QtWidgets>

namespace {

/// A dialog with a named layout.
struct PlugInDialog : QDialog
{
    PlugInDialog() { (new QVBoxLayout(this))->setObjectName("PlugInOptionsLayout"); }

    template <typename W>
    W *option(const char *key) const
    {
        return findChild<W *>(QStringLiteral("KeldaOption_") + key);
    }
    QDoubleSpinBox *scale() const { return option<QDoubleSpinBox>("scale"); }
};

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_host = std::make_unique<TestHost>();
        registerOptionBoxCommands(m_host->host, m_host->options);
    }

    void storedOptionsChangeTheImport()
    {
        const PlugInDialog dialog;
        setUp("Import", "OBJ", "FOLDER/<b>box.obj");
        const auto *label = dialog.findChild<QLabel *>("KeldaOptionFile");
        QVERIFY(label->text() == "<b>box.obj" && label->textFormat() == Qt::PlainText);
        for (const char *key : {"triangulate", "joinVertices"}) {
            QVERIFY(dialog.option<QCheckBox>(key)->isChecked());
            dialog.option<QCheckBox>(key)->click();
        }
        dialog.scale()->setValue(3);
        QCOMPARE(run("fileOperationsOptionsUICallback Import PlugInOptionsLayout"), QString());
        m_host->import("box.obj");
        QCOMPARE(m_host->measured(), QString("0 6 24 0 0 0 3 6 9"));
        QCOMPARE(run("fileOption Import \"STL\" -q \"scale\""), QString("1"));
        const PlugInDialog next;
        setUp("Import", "OBJ", "");
        QVERIFY(!next.option<QCheckBox>("triangulate")->isChecked());
    }

    void storedOptionsChangeTheExportAndTheNextDialog()
    {
        for (const Translator &translator : Translators::all()) {
            if (!translator.writes())
                continue;
            PlugInDialog dialog;
            setUp("ExportAll", translator.name, ".");
            dialog.show();
            QVERIFY(dialog.findChild<QLabel *>("KeldaOptionFile")->isHidden());
            dialog.scale()->setValue(2);
            dialog.option<QComboBox>("upAxis")->setCurrentText("Z");
            for (const QString box : {" 0 0 0 1 2 3", " 0 -6 0 2 0 4"}) {
                run("file -new; file -i \"FOLDER/box.obj\"");
                run("file -force -options \"\" -type \"" + translator.name + "\" -pr -ea \"FOLDER/out\"; file -new");
                m_host->import("out." + translator.extension());
                QVERIFY2(m_host->measured().endsWith(box), qPrintable(translator.name));
                QCOMPARE(run("fileOperationsOptionsUICallback ExportAll PlugInOptionsLayout"), QString());
            }
            // The earlier dialog, which is still there, must not get the options of the newer one.
            const PlugInDialog next;
            setUp("ExportAll", translator.name, ".");
            QCOMPARE(next.scale()->value(), 2.0);
        }
        // Both exports share their options.
        QCOMPARE(run("fileOption ExportActive \"COLLADA\" -q \"upAxis\""), QString("Z"));
    }

    void dialogFollowsItsTranslator()
    {
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
        m_host->play(R"(
initCurrentFileTypeOption Paint "" "" => failed: line 1: unknown file action "Paint"
initCurrentFileTypeOption => failed: line 1: initCurrentFileTypeOption takes 3 arguments, not 0
fileOperationsOptionsUISetup Import Nowhere => failed: line 1: there is no layout named "Nowhere"
fileOperationsOptionsUICallback Import Nowhere => failed: line 1: no options were set up in a layout named "Nowhere"
fileOperationsOptionsUICallback Import PlugInOptionsLayout => failed: line 1: no translator's options are shown
fileOperationsOptionsUICallback ExportAll PlugInOptionsLayout => failed: line 1: the options in "PlugInOptionsLayout" belong to another action
fileOperationsOptionsUISetup ExportAll PlugInOptionsLayout; setCurrentFileTypeOption ExportAll PlugInOptionsLayout "3DS" => failed: line 1: 3DS files are not written
)");
    }

private:
    QString run(const QString &command) { return m_host->run(command); }
    /// The five commands that fill a dialog, in the order in which plug-ins send them.
    void setUp(const QString &action, const QString &translator, const QString &path)
    {
        QString commands("initCurrentFileTypeOption ACTION \"\" \"\"; fileOperationsOptionsUISetup ACTION LAYOUT;"
                         "fileOperationsOptionsUIInitValues ACTION LAYOUT \"KIND\";"
                         "setCurrentFileTypeOption ACTION LAYOUT \"KIND\";"
                         "fileOperationsSelectionChangedCallback ACTION LAYOUT \"PATH\"");
        commands.replace("ACTION", action).replace("LAYOUT", "PlugInOptionsLayout").replace("KIND", translator);
        QCOMPARE(run(commands.replace("PATH", path)), QString());
    }

    std::unique_ptr<TestHost> m_host;
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
